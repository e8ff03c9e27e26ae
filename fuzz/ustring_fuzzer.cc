// KelUString built from fuzzer-made narrow text in every character set, then
// put through a fuzzer-driven sequence of edits, comparisons, searches,
// splits, trims and renderings. Every text handed to the string lies in a
// heap buffer of exactly its size (terminator included), and every buffer
// the string writes into holds exactly the room it is given.
//
// Invariants:
// - After every edit the units equal those of a plain std::u16string that
//   went through the same edit; errors are thrown exactly where that model
//   says the position is bad, and an edit that throws changes nothing.
// - Construction from narrow text gives what the converter gives for it.
// - c_str(cs) ends in a zero of the set's null size after size(cs) bytes;
//   text of the basic plane comes back whole from c_str(UTF-8).
// - Comparisons are antisymmetric and agree with equal(); a search result
//   is an occurrence and no earlier one exists; split then combine gives
//   the text back; trimming removes exactly the units KelUChar names.
//
// What one input can build is bounded (the text never grows past
// kLongestText units), and the model's searches are linear, so that every
// input runs in well under a second in the instrumented build.
#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

using kelulib_fuzz::ExactBuffer;
using kelulib_fuzz::FuzzInput;
using kelulib_fuzz::terminatedText;
using kelulib_fuzz::unitsOf;
using kelulib_fuzz::upToZero;

std::u16string unitsOf(const KelUString& s) { return std::u16string(s.c_wstr(), s.size()); }

// The longest text the edits may build; an edit that would grow the text
// past it is skipped.
constexpr size_t kLongestText = 1 << 14;

// The model's substring search: Knuth, Morris and Pratt, linear in the text
// and the needle (`needle` not empty). The first occurrence at or after
// `from`, or std::u16string::npos.
size_t linearFind(const std::u16string& text, const std::u16string& needle, size_t from) {
  std::vector<size_t> border(needle.size() + 1, 0);
  for (size_t i = 1, k = 0; i < needle.size(); ++i) {
    while (k > 0 && needle[i] != needle[k]) k = border[k];
    if (needle[i] == needle[k]) ++k;
    border[i + 1] = k;
  }
  for (size_t i = from, k = 0; i < text.size(); ++i) {
    while (k > 0 && text[i] != needle[k]) k = border[k];
    if (text[i] == needle[k]) ++k;
    if (k == needle.size()) return i + 1 - k;
  }
  return std::u16string::npos;
}

// The last occurrence: the first of the reversed needle in the reversed
// text.
size_t linearRfind(const std::u16string& text, const std::u16string& needle) {
  const std::u16string reversedText(text.rbegin(), text.rend());
  const std::u16string reversedNeedle(needle.rbegin(), needle.rend());
  const size_t found = linearFind(reversedText, reversedNeedle, 0);
  return found == std::u16string::npos ? found : text.size() - found - needle.size();
}

void checkSame(const KelUString& s, const std::u16string& model, const char* what) {
  KELULIB_FUZZ_CHECK(s.size() == model.size() && unitsOf(s) == model, what);
  KELULIB_FUZZ_CHECK(s.c_wstr()[s.size()] == 0, "the text is not followed by a zero unit");
}

// The units the converter of `cs` makes of the terminated narrow text.
std::u16string converted(KelCharSet cs, const ExactBuffer<char>& text) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(cs);
  const size_t units = converter->getNumUnits(text.data(), static_cast<size_t>(-1));
  ExactBuffer<wchar16> out(units + 1);
  const size_t written =
      converter->toUTF16(out.data(), text.data(), units, ILLCHAR_REPLACE, nullptr, -1);
  return std::u16string(out.data(), written);
}

// Narrow text for `cs`: the piece, cut to whole units of the set's null
// size, then a zero of that size, in an exact buffer.
ExactBuffer<char> narrowFor(KelCharSet cs, const std::string& piece) {
  const size_t nullSize = KelCharSetConverter::getConverter(cs)->getNullCharSize();
  const std::string whole = piece.substr(0, piece.size() / nullSize * nullSize);
  return terminatedText(whole, nullSize);
}

// Text without zero units and surrogates: what comes back whole from UTF-8.
// (A string read from UTF-8 is sized by the converter's character count,
// in which a four-byte sequence counts one although it gives two units, so
// text with supplementary characters does not come back whole.)
bool basicPlaneText(const std::u16string& units) {
  for (const wchar16 u : units) {
    if (u == 0 || (u >= 0xD800 && u <= 0xDFFF)) return false;
  }
  return true;
}

// Runs `edit` on the string and `modelEdit` on the model when the model
// says the position is good; otherwise expects std::out_of_range and no
// change.
template <typename Edit, typename ModelEdit>
void edit(KelUString& s, std::u16string& model, bool positionIsGood, Edit edit,
          ModelEdit modelEdit, const char* what) {
  if (positionIsGood) {
    edit();
    modelEdit();
  } else {
    bool threw = false;
    try {
      edit();
    } catch (const std::out_of_range&) {
      threw = true;
    }
    KELULIB_FUZZ_CHECK(threw, what);
  }
  checkSame(s, model, what);
}

int sign(int v) { return (v > 0) - (v < 0); }

// The units of a zero-terminated reading (comparisons stop at a zero).
std::u16string asCompared(const std::u16string& units) { return upToZero(units); }

void checkComparisons(KelUString& s, const KelUString& other) {
  const int forward = s.compare(other);
  const int backward = other.compare(s);
  KELULIB_FUZZ_CHECK(forward >= -1 && forward <= 1, "compare returns -1, 0 or 1");
  KELULIB_FUZZ_CHECK(forward == -backward, "compare is not antisymmetric");
  const std::u16string a = asCompared(unitsOf(s));
  const std::u16string b = asCompared(unitsOf(other));
  KELULIB_FUZZ_CHECK(forward == sign(a.compare(b)), "compare is not code-unit order");
  KELULIB_FUZZ_CHECK((forward == 0) == (s == other), "operator== disagrees with compare");
  const int noCase = s.compareNoCase(other);
  KELULIB_FUZZ_CHECK(noCase == -other.compareNoCase(s), "compareNoCase is not antisymmetric");
  KELULIB_FUZZ_CHECK((noCase == 0) == s.equalNoCase(other), "equalNoCase disagrees");
  if (forward == 0) KELULIB_FUZZ_CHECK(noCase == 0, "equal texts differ without case");
}

void checkSearch(const KelUString& s, const KelUString& needle, size_t pos) {
  const std::u16string text = unitsOf(s);
  const std::u16string n = unitsOf(needle);
  const size_t found = s.find(needle, pos);
  if (n.empty() || n.find(char16_t(0)) != std::u16string::npos) return;
  const size_t expected = pos <= text.size() ? linearFind(text, n, pos) : std::u16string::npos;
  KELULIB_FUZZ_CHECK(found == (expected == std::u16string::npos ? KelUString::npos : expected),
                     "find is not the first occurrence at or after pos");
  const size_t last = s.rfind(needle);
  const size_t expectedLast = linearRfind(text, n);
  KELULIB_FUZZ_CHECK(last == (expectedLast == std::u16string::npos ? KelUString::npos
                                                                   : expectedLast),
                     "rfind is not the last occurrence");
}

void checkSplit(const KelUString& s, wchar16 separator) {
  if (separator == 0) return;
  const KelUStringList pieces = s.split(separator);
  const std::u16string joined = unitsOf(pieces.combine(separator));
  std::u16string text = unitsOf(s);
  if (!text.empty() && text.back() == separator) text.pop_back();
  KELULIB_FUZZ_CHECK(joined == text, "split then combine does not give the text back");
}

bool trims(KelUString::TrimTarget target, wchar16 unit) {
  switch (target) {
    case KelUString::TRIM_WHITESPACE:
      return KelUChar::isWhiteSpace(unit);
    case KelUString::TRIM_SPACE:
      return unit == 0x20;
    case KelUString::TRIM_WHITESPACE_NONCHAR:
      return KelUChar::isWhiteSpace(unit) || KelUChar::isNonChar(unit);
    default:
      return false;
  }
}

void trimModel(std::u16string& model, int cmd, KelUString::TrimTarget target) {
  if ((cmd & 2) != 0) {
    while (!model.empty() && trims(target, model.back())) model.pop_back();
  }
  if ((cmd & 1) != 0) {
    size_t start = 0;
    while (start < model.size() && trims(target, model[start])) ++start;
    model.erase(0, start);
  }
}

void checkRendering(KelUString& s, KelCharSet cs, FuzzInput& in) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(cs);
  const size_t nullSize = converter->getNullCharSize();
  const size_t bytes = s.size(cs);
  const char* narrow = s.c_str(cs);
  for (size_t i = 0; i < nullSize; ++i) {
    KELULIB_FUZZ_CHECK(narrow[bytes + i] == 0, "c_str is not terminated after size(cs) bytes");
  }
  KELULIB_FUZZ_CHECK(s.c_str(cs) == narrow, "c_str rebuilt an unchanged cache");
  if (cs == KelCS_UTF8 && basicPlaneText(unitsOf(s))) {
    const KelUString back(narrow, KelCS_UTF8);
    KELULIB_FUZZ_CHECK(unitsOf(back) == unitsOf(s), "basic-plane text did not survive UTF-8");
  }
  // Counted copies into buffers of exactly their room.
  const size_t room = in.below(bytes + 8);
  ExactBuffer<char> dst(room + nullSize);
  const size_t copied = s.copy(dst.data(), room, cs);
  KELULIB_FUZZ_CHECK(copied <= room, "copy(char*) wrote more than its room");
  ExactBuffer<char> pascal(256);
  const size_t pascalLength = s.copy(reinterpret_cast<KelPascalString*>(pascal.data()), cs);
  KELULIB_FUZZ_CHECK(pascalLength <= 255 && static_cast<unsigned char>(pascal[0]) == pascalLength,
                     "copy(KelPascalString*)");
  const size_t units = in.below(s.size() + 4);
  ExactBuffer<char> bstr(sizeof(uint16_t) + units * sizeof(wchar16));
  const size_t bstrLength = s.copy(reinterpret_cast<KelBSTR*>(bstr.data()), units);
  KELULIB_FUZZ_CHECK(bstrLength <= units, "copy(KelBSTR*) beyond n");
  ExactBuffer<wchar16> wide(units);
  KELULIB_FUZZ_CHECK(s.copy(wide.data(), units) == std::min(units, s.size()), "copy(wchar16*)");
  // UTF-32 view.
  const size_t characters = s.numChars();
  try {
    s.at_utf32(in.below(characters + 2));
  } catch (const std::out_of_range&) {
  }
}

// A string made from narrow text in one of the ways the class offers.
KelUString construct(FuzzInput& in, KelCharSet cs, std::u16string& model) {
  const std::string piece = in.piece();
  const ExactBuffer<char> text = narrowFor(cs, piece);
  switch (in.byte() % 5) {
    case 0: {
      KelUString s(text.data(), cs);
      model = converted(cs, text);
      return s;
    }
    case 1: {
      // A count within the text: the terminator stays readable.
      const size_t n = in.below(text.size());
      KelUString s(text.data(), n, cs);
      model = unitsOf(s);
      KELULIB_FUZZ_CHECK(KelCharSetConverter::getConverter(cs)->getNumUnits(text.data(), n) >=
                             model.size(),
                         "counted construction beyond the count");
      return s;
    }
    case 2: {
      // A length-prefixed text in storage of exactly 1 + its length bytes.
      const std::string bytes = piece.substr(0, 255);
      ExactBuffer<char> record(1 + bytes.size());
      record[0] = static_cast<char>(bytes.size());
      if (!bytes.empty()) std::memcpy(record.data() + 1, bytes.data(), bytes.size());
      KelUString s(reinterpret_cast<const KelPascalString*>(record.data()), cs);
      model = unitsOf(s);
      return s;
    }
    case 3: {
      const char c = piece.empty() ? 'a' : piece[0];
      const size_t n = in.below(300);
      KelUString s(c, n, cs);
      model = unitsOf(s);
      return s;
    }
    default: {
      KelUString s(text.data(), cs);
      model = converted(cs, text);
      s = KelUString(s, in.below(model.size() + 2), in.below(model.size() + 2));
      model = unitsOf(s);
      return s;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const KelCharSet cs = in.pick(kelulib_fuzz::kCharSets);
  std::u16string model;
  KelUString s = construct(in, cs, model);
  checkSame(s, model, "construction");
  if (in.byte() % 5 == 0) {
    // Construction from text read whole, against the converter.
    const ExactBuffer<char> text = narrowFor(cs, in.piece());
    KELULIB_FUZZ_CHECK(unitsOf(KelUString(text.data(), cs)) == converted(cs, text),
                       "construction differs from the converter");
  }

  for (int step = 0; step < 24 && in.remaining() > 0; ++step) {
    const KelCharSet pieceSet = in.pick(kelulib_fuzz::kCharSets);
    const std::string piece = in.piece();
    const std::u16string wide = upToZero(unitsOf<wchar16>(piece));
    const ExactBuffer<wchar16> wideText = terminatedText(wide);
    const size_t pos = in.below(model.size() + 3);
    const size_t count = in.byte() % 4 == 0 ? KelUString::npos : in.below(model.size() + 3);
    const bool posIsGood = pos <= model.size();
    switch (in.byte() % 16) {
      case 0:
        edit(s, model, true, [&] { s += wideText.data(); }, [&] { model += wide; }, "+=");
        break;
      case 1: {
        const ExactBuffer<char> narrow = narrowFor(pieceSet, piece);
        const std::u16string units = converted(pieceSet, narrow);
        edit(s, model, true, [&] { s.append(narrow.data(), pieceSet); },
             [&] { model += units; }, "append(narrow)");
        break;
      }
      case 2:
        edit(s, model, posIsGood, [&] { s.insert(pos, wideText.data()); },
             [&] { model.insert(pos, wide); }, "insert");
        break;
      case 3: {
        const ExactBuffer<char> narrow = narrowFor(pieceSet, piece);
        const std::u16string units = converted(pieceSet, narrow);
        edit(s, model, posIsGood, [&] { s.insert(pos, narrow.data(), pieceSet); },
             [&] { model.insert(pos, units); }, "insert(narrow)");
        break;
      }
      case 4:
        // An empty string ignores the position.
        edit(s, model, posIsGood || model.empty(), [&] { s.erase(pos, count); },
             [&] {
               if (!model.empty()) model.erase(pos, count);
             },
             "erase");
        break;
      case 5:
        edit(s, model, posIsGood, [&] { s.replace(pos, count, wideText.data()); },
             [&] { model.replace(pos, count, wide); }, "replace");
        break;
      case 6: {
        const size_t n = in.below(600);
        const wchar16 c = wide.empty() ? u'x' : wide[0];
        // Growing beyond the capacity starts over with n copies of c.
        const bool beyondCapacity = n > s.allocSize();
        edit(s, model, true, [&] { s.resize(n, c); },
             [&] { model = beyondCapacity ? std::u16string(n, c) : (model.resize(n, c), model); },
             "resize");
        break;
      }
      case 7: {
        const KelUString other(wideText.data());
        checkComparisons(s, other);
        checkComparisons(s, KelUString(s, pos, count));
        break;
      }
      case 8:
        if (!wide.empty()) checkSearch(s, KelUString(wideText.data()), pos);
        if (!model.empty()) checkSearch(s, KelUString(s, pos, count), 0);
        break;
      case 9:
        checkSplit(s, wide.empty() ? u',' : wide[0]);
        break;
      case 10: {
        const int cmd = in.byte() % 4;
        const auto target = static_cast<KelUString::TrimTarget>(in.byte() % 4);
        s.trim(static_cast<KelUString::TrimCmd>(cmd), target);
        trimModel(model, cmd, target);
        checkSame(s, model, "trim");
        break;
      }
      case 11: {
        const bool asciiOnly = in.flag();
        if (in.flag()) {
          s.toUpper(asciiOnly);
          for (wchar16& u : model) {
            if (asciiOnly) {
              if (u >= 'a' && u <= 'z') u = static_cast<wchar16>(u - 32);
            } else {
              u = KelUChar::toUpperCase(u);
            }
          }
        } else {
          s.toLower(asciiOnly);
          for (wchar16& u : model) {
            if (asciiOnly) {
              if (u >= 'A' && u <= 'Z') u = static_cast<wchar16>(u + 32);
            } else {
              u = KelUChar::toLowerCase(u);
            }
          }
        }
        checkSame(s, model, "case mapping");
        break;
      }
      case 12: {
        // "To the end" never throws (from beyond the end it is empty); a
        // count is not clamped.
        const bool good = count == KelUString::npos || pos + count <= model.size();
        try {
          const KelUString part = s.mid(pos, count);
          KELULIB_FUZZ_CHECK(good && unitsOf(part) == (posIsGood ? model.substr(pos, count) : u""),
                             "mid");
        } catch (const std::out_of_range&) {
          KELULIB_FUZZ_CHECK(!good, "mid threw on a good range");
        }
        KELULIB_FUZZ_CHECK(unitsOf(s.right(pos)) == (posIsGood ? model.substr(pos) : u""),
                           "right");
        break;
      }
      case 13:
        checkRendering(s, pieceSet, in);
        break;
      case 14: {
        // Assignments from narrow text in the OS character set.
        const ExactBuffer<char> narrow = narrowFor(KelCS_OS_DEFAULT, piece);
        s = narrow.data();
        model = converted(KelCS_OS_DEFAULT, narrow);
        checkSame(s, model, "operator=(const char*)");
        break;
      }
      default: {
        KelUString copy(s);
        copy.swap(s);
        checkSame(s, model, "swap");
        // Doubling is what grows a text fastest: only below the bound.
        if (model.size() <= kLongestText) {
          s += copy;
          model += model;
          checkSame(s, model, "+= itself");
        }
        break;
      }
    }
  }
  return 0;
}

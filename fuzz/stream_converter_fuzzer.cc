// The library's stream converter (KelStreamConverter) fed fuzzer-made input
// in fuzzer-chosen pieces, each piece in a heap buffer of exactly its size,
// between fuzzer-chosen character sets under a fuzzer-chosen policy, with
// or without the substitution and invalid-input handlers; sometimes as two
// texts in a row (finish() between them).
//
// Invariants:
// - The output, the status, the failure (offset, bytes, character) and the
//   count of characters left out are the same however the input is cut:
//   the same as when each text is given in one piece.
// - Under KEL_STREAM_STOP the output is a prefix of the KEL_STREAM_REPLACE
//   output when the target set has every character (UTF-8 and UTF-16).
// - Under KEL_STREAM_REPLACE, to UTF-8 or UTF-16, a text without a zero
//   character (also none that the source's converter reads from other
//   bytes, such as UTF-8's C0 80) is what the two converters make of it in
//   one call each.
// - Under KEL_STREAM_STOP, from a single-byte set to UTF-8 or UTF-16, a text
//   without a zero byte converts up to its first byte that the source's
//   converter cannot read, whose offset the failure gives (no failure when
//   there is none), and that part as the two converters make of it.
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

using kelulib_fuzz::ExactBuffer;
using kelulib_fuzz::FuzzInput;

constexpr KelCharSet kStreamSets[] = {
    KelCS_UTF8,   KelCS_UTF16,      KelCS_UTF16ESC,   KelCS_UTF32,    KelCS_WCP1252,  KelCS_WCP1251,
    KelCS_WCP874, KelCS_ISO_8859_1, KelCS_ISO_8859_7, KelCS_KOI8R,    KelCS_WCP932,   KelCS_WCP936,
    KelCS_WCP949, KelCS_WCP950,     KelCS_BIG5,       KelCS_SHIFTJIS, KelCS_SJIS0213, KelCS_EUC_JP,
    KelCS_EUC_CN, KelCS_EUC_KR,     KelCS_GB18030};

class StringSink : public KelStreamSink {
 public:
  bool write(const void* bytes, size_t size) override {
    text.append(static_cast<const char*>(bytes), size);
    return true;
  }
  std::string text;
};

struct Settings {
  KelCharSet from;
  KelCharSet to;
  KelStreamPolicy policy;
  bool handlers;
};

struct Run {
  std::string output;
  KelStreamFailure failure;
  uint64_t skipped = 0;
};

// Writes "<>" for every character the target lacks (when it has "<" and
// ">"): a text of more units than the character.
size_t angleBrackets(void*, uint32_t, wchar16* units, size_t room) {
  if (room < 2) return 0;
  units[0] = '<';
  units[1] = '>';
  return 2;
}

// Reads a single invalid byte as U+2022, longer invalid sequences as
// nothing.
size_t bulletForAByte(void*, const unsigned char*, size_t count, wchar16* units, size_t room) {
  if (count != 1 || room < 1) return 0;
  units[0] = 0x2022;
  return 1;
}

// Converts the texts, each cut at the given lengths (the rest of a text
// after its last cut is one more piece).
Run convert(const Settings& settings, const std::vector<std::string>& texts,
            const std::vector<std::vector<size_t>>& cuts) {
  StringSink sink;
  KelStreamConverter converter(settings.from, settings.to, settings.policy, sink);
  if (settings.handlers) {
    converter.setSubstitution(angleBrackets, nullptr);
    converter.setInvalidInputHandler(bulletForAByte, nullptr);
  }
  for (size_t i = 0; i < texts.size() && converter.status() == KEL_STREAM_OK; ++i) {
    size_t at = 0;
    std::vector<size_t> lengths = cuts[i];
    lengths.push_back(texts[i].size());
    for (size_t length : lengths) {
      const size_t n = length < texts[i].size() - at ? length : texts[i].size() - at;
      ExactBuffer<char> piece(n);
      if (n > 0) std::memcpy(piece.data(), texts[i].data() + at, n);
      at += n;
      if (converter.convert(piece.data(), n) != KEL_STREAM_OK) break;
    }
    converter.finish();
  }
  return {sink.text, converter.failure(), converter.skippedCount()};
}

bool sameFailure(const KelStreamFailure& a, const KelStreamFailure& b) {
  return a.status == b.status && a.offset == b.offset && a.byteCount == b.byteCount &&
         std::memcmp(a.bytes, b.bytes, a.byteCount) == 0 && a.character == b.character;
}

size_t unitOf(KelCharSet id) { return id == KelCS_UTF16 ? 2 : id == KelCS_UTF32 ? 4 : 1; }

bool hasZeroCharacter(const std::string& text, size_t unit) {
  for (size_t at = 0; at + unit <= text.size(); at += unit) {
    if (text.compare(at, unit, std::string(unit, '\0')) == 0) return true;
  }
  return false;
}

// The text converted by the two converters in one call each; nullopt when
// the source's converter reads a zero unit in it, which ends the text for
// the target's converter.
std::optional<std::string> wholeConversion(KelCharSet from, KelCharSet to,
                                           const std::string& text) {
  const size_t unit = unitOf(from);
  ExactBuffer<char> input(text.size() + 4, 0);
  if (!text.empty()) std::memcpy(input.data(), text.data(), text.size());
  ExactBuffer<wchar16> units(text.size() + 1);
  const size_t count = KelCharSetConverter::getConverter(from)->toUTF16(
      units.data(), input.data(), text.size(), ILLCHAR_REPLACE, nullptr,
      static_cast<int>(text.size() / unit));
  for (size_t i = 0; i < count; ++i) {
    if (units[i] == 0) return std::nullopt;
  }
  KelCharSetConverter* encoder = KelCharSetConverter::getConverter(to);
  const size_t room = count * encoder->getMaxUnitSize();
  ExactBuffer<char> output(room + encoder->getNullCharSize());
  return std::string(output.data(), encoder->fromUTF16(output.data(), units.data(), room,
                                                       ILLCHAR_REPLACE, nullptr));
}

// The offset of the first byte of `text` that the single-byte converter of
// `from` cannot read alone; the size of `text` when it reads them all.
size_t firstUnreadableByte(KelCharSet from, const std::string& text) {
  KelCharSetConverter* decoder = KelCharSetConverter::getConverter(from);
  for (size_t at = 0; at < text.size(); ++at) {
    const char byte[2] = {text[at], 0};
    wchar16 units[4] = {};
    bool illegal = false;
    decoder->toUTF16(units, byte, 2, ILLCHAR_STOP, &illegal, 1);
    if (illegal) return at;
  }
  return text.size();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  Settings settings{};
  settings.from = in.pick(kStreamSets);
  settings.to = in.pick(kStreamSets);
  const uint8_t policy = in.byte();
  settings.policy = policy % 3 == 0 ? KEL_STREAM_REPLACE
                                    : (policy % 3 == 1 ? KEL_STREAM_ESCAPE : KEL_STREAM_STOP);
  // One in eight runs with the handlers, the stop policy then leaving out.
  settings.handlers = in.byte() % 8 == 0;
  if (settings.handlers && settings.policy == KEL_STREAM_STOP) settings.policy = KEL_STREAM_SKIP;
  const bool twoTexts = in.byte() % 4 == 0;
  FuzzInput cutChoices = in.split(16);
  std::vector<std::string> texts;
  if (twoTexts) texts.push_back(in.take(in.remaining() / 2));
  texts.push_back(in.rest());

  std::vector<std::vector<size_t>> whole(texts.size());
  std::vector<std::vector<size_t>> cut(texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    while (cutChoices.remaining() > 0 && cutChoices.byte() % 3 != 0) {
      cut[i].push_back(cutChoices.below(texts[i].size() + 2));
    }
  }
  const Run once = convert(settings, texts, whole);
  const Run pieces = convert(settings, texts, cut);
  KELULIB_FUZZ_CHECK(pieces.output == once.output, "the output depends on where input is cut");
  KELULIB_FUZZ_CHECK(sameFailure(pieces.failure, once.failure),
                     "the failure depends on where input is cut");
  KELULIB_FUZZ_CHECK(pieces.skipped == once.skipped,
                     "what is left out depends on where input is cut");

  const bool unicodeTarget = settings.to == KelCS_UTF8 || settings.to == KelCS_UTF16;
  if (settings.policy == KEL_STREAM_STOP && unicodeTarget && !settings.handlers) {
    Settings replacing = settings;
    replacing.policy = KEL_STREAM_REPLACE;
    const Run replaced = convert(replacing, texts, whole);
    KELULIB_FUZZ_CHECK(replaced.output.compare(0, once.output.size(), once.output) == 0,
                       "the output under STOP is no prefix of the output under REPLACE");
  }
  const std::string& text = texts.back();
  if (settings.policy == KEL_STREAM_REPLACE && !settings.handlers && unicodeTarget &&
      texts.size() == 1 && text.size() % unitOf(settings.from) == 0 &&
      !hasZeroCharacter(text, unitOf(settings.from))) {
    const std::optional<std::string> whole = wholeConversion(settings.from, settings.to, text);
    KELULIB_FUZZ_CHECK(!whole || once.output == *whole,
                       "the stream reads the text otherwise than the converters in one call");
  }
  if (settings.policy == KEL_STREAM_STOP && !settings.handlers && unicodeTarget &&
      texts.size() == 1 &&
      KelCharSetConverter::getConverter(settings.from)->getMaxUnitSize() == 1 &&
      !hasZeroCharacter(text, 1)) {
    const size_t unreadable = firstUnreadableByte(settings.from, text);
    KELULIB_FUZZ_CHECK(
        unreadable == text.size()
            ? once.failure.status == KEL_STREAM_OK
            : once.failure.status == KEL_STREAM_INVALID_INPUT && once.failure.offset == unreadable,
        "a single-byte text stops elsewhere than at its first unreadable byte");
    const std::optional<std::string> whole =
        wholeConversion(settings.from, settings.to, text.substr(0, unreadable));
    KELULIB_FUZZ_CHECK(whole && once.output == *whole,
                       "a single-byte text is converted otherwise than by the converters");
  }
  return 0;
}

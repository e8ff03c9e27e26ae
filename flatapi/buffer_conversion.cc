#include "flatapi/buffer_conversion.h"

#include <cstring>

#include "charset/converter.h"
#include "charset/registry.h"
#include "charset/scratch_buffer.h"
#include "charset/unmappable.h"

namespace {

// Inputs up to this many bytes keep their UTF-16 intermediate on the stack;
// longer ones take it from the heap (and give 0 if it cannot be had).
constexpr size_t kStackInputBytes = size_t{32} * 1024;

// The UTF-16 intermediate of a narrow input: room for the input length in
// units, then two units for zeros: the converter's terminator, and a second
// zero that utf8ToNarrow puts after it (see there).
class Utf16Intermediate {
 public:
  explicit Utf16Intermediate(const char* src) : m_room(std::strlen(src)), m_units(m_room + 2) {}
  wchar16* data() const { return m_units.data(); }
  size_t room() const { return m_room; }

 private:
  const size_t m_room;
  kelulib::KelScratchBuffer<wchar16, kStackInputBytes + 2> m_units;
};

// An `int` buffer size, widened with its sign and read without it: a
// negative size is a very large room.
size_t sizeOf(int dstSize) { return static_cast<size_t>(static_cast<ptrdiff_t>(dstSize)); }

KelCharSetConverter* latin1Converter() {
  return kelulib::charSetRegistry().lookUp(KelCS_ISO_8859_1);
}

bool hasUnpairedHighSurrogate(const wchar16* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (kelulib::isHighSurrogate(text[i]) &&
        (i + 1 == length || !kelulib::isLowSurrogate(text[i + 1]))) {
      return true;
    }
  }
  return false;
}

// fromUTF16 under ILLCHAR_ESCAPE of the `length` units of `text` (followed
// by two zero units) into `dst`, never past room + nullSize bytes.
//
// The UTF-8 converter writes the six bytes of an unpaired high surrogate's
// escape but counts five against its room, so its output may end up to one
// byte per escape past the room. The conversion is therefore made into
// scratch space; when its output fits the room it is copied as it is.
// Otherwise the text is converted again cut after as many units as give an
// output that fits (a surrogate pair is not cut), which ends the output
// after the last whole character that fits, as the room rule promises.
size_t escapeWithinRoom(KelCharSetConverter* converter, char* dst, wchar16* text, size_t length,
                        size_t room, size_t nullSize) {
  // No unit gives more than six bytes when the room does not run out.
  const size_t most = 6 * length;
  // The scratch space: the most, plus the one byte per escape (at most one
  // per unit) that the converter may put past its room, plus a terminator.
  kelulib::KelScratchBuffer<char, 1024> out(most + length + nullSize);
  if (out.data() == nullptr) return 0;
  // The output of the first `count` units, ended by two zero units for the
  // time of the call.
  const auto convertFirst = [&](size_t count) {
    const wchar16 kept[2] = {text[count], text[count + 1]};
    text[count] = 0;
    text[count + 1] = 0;
    const size_t written = converter->fromUTF16(out.data(), text, most, ILLCHAR_ESCAPE, nullptr);
    text[count] = kept[0];
    text[count + 1] = kept[1];
    return written;
  };
  size_t written = converter->fromUTF16(out.data(), text, room < most ? room : most,
                                        ILLCHAR_ESCAPE, nullptr);
  if (written > room) {
    // Units before `count`, moved back before a low surrogate that would be
    // cut from its high one.
    const auto whole = [&](size_t count) {
      return count > 0 && count < length && kelulib::isHighSurrogate(text[count - 1]) &&
                     kelulib::isLowSurrogate(text[count])
                 ? count - 1
                 : count;
    };
    // The output grows with the units converted: find the most that fit.
    size_t fits = 0;
    size_t tooMany = length;
    while (tooMany - fits > 1) {
      const size_t middle = fits + (tooMany - fits) / 2;
      if (convertFirst(whole(middle)) <= room) {
        fits = middle;
      } else {
        tooMany = middle;
      }
    }
    written = convertFirst(whole(fits));
  }
  std::memcpy(dst, out.data(), written + nullSize);
  return written;
}

// UTF-8 text to the set of `converter` under `op`: the shared body of
// UTF8ToLocal and UTF8ToLocalPath.
size_t utf8ToNarrow(KelCharSetConverter* converter, char* dst, const char* src, int dstSize,
                    ILLCHAR_OPTYPE op) {
  if (dst == nullptr || src == nullptr) return 0;
  const size_t nullSize = converter->getNullCharSize();
  if (nullSize > sizeOf(dstSize)) return 0;
  if (*src == '\0') {
    std::memset(dst, 0, nullSize);
    return 0;
  }
  Utf16Intermediate text(src);
  if (text.data() == nullptr) return 0;
  const size_t length = kelulib::cachedUtf8Converter()->toUTF16(
      text.data(), src, text.room(), ILLCHAR_REPLACE, nullptr, -1);
  if (length == 0) return 0;
  // Encoded surrogates decode to units as they are, so the text may end in
  // an unpaired high surrogate. The UTF-8 converter's escape of one drops
  // the unit after it, here the terminator: a second zero ends the text
  // there all the same.
  text.data()[length + 1] = 0;
  const size_t room = sizeOf(dstSize) - nullSize;
  if (op == ILLCHAR_ESCAPE && hasUnpairedHighSurrogate(text.data(), length)) {
    return escapeWithinRoom(converter, dst, text.data(), length, room, nullSize);
  }
  return converter->fromUTF16(dst, text.data(), room, op, nullptr);
}

// Replaces, left to right, every "U+XXXX" (upper-case hex) in the first
// `length` units of `text` by the unit it spells, closing up the text and
// its terminator. A produced unit is not examined again.
void decodeUnitEscapes(wchar16* text, size_t length) {
  size_t read = 0;
  size_t write = 0;
  while (read < length) {
    wchar16 unit = 0;
    if (length - read >= kelulib::kUnitEscapeLength && kelulib::parseUnitEscape(text + read, &unit)) {
      text[write++] = unit;
      read += kelulib::kUnitEscapeLength;
    } else {
      text[write++] = text[read++];
    }
  }
  text[write] = 0;
}

}  // namespace

extern "C" {

size_t LocalToUTF8(char* dst, char const* src, int dstSize, KelCharSet charSet) {
  if (dst == nullptr || src == nullptr || dstSize == 0) return 0;
  if (*src == '\0') {
    *dst = '\0';
    return 0;
  }
  Utf16Intermediate text(src);
  if (text.data() == nullptr) return 0;
  bool illegal = false;
  KelCharSetConverter::getConverter(charSet)->toUTF16(text.data(), src, text.room(),
                                                      ILLCHAR_REPLACE, &illegal, -1);
  if (illegal) {
    // Text that is not valid in its character set is read as ISO 8859-1.
    latin1Converter()->toUTF16(text.data(), src, text.room(), ILLCHAR_REPLACE, &illegal, -1);
    if (illegal) return 0;
  }
  return kelulib::cachedUtf8Converter()->fromUTF16(dst, text.data(), sizeOf(dstSize) - 1,
                                                   ILLCHAR_REPLACE, nullptr);
}

size_t UTF8ToLocal(char* dst, char const* src, int dstSize, KelCharSet charSet) {
  return utf8ToNarrow(KelCharSetConverter::getConverter(charSet), dst, src, dstSize,
                      ILLCHAR_REPLACE);
}

size_t LocalToUTF16(wchar16* dst, char const* src, int dstSize, KelCharSet charSet) {
  if (dst == nullptr || src == nullptr || dstSize < 1) return 0;
  const size_t room = static_cast<size_t>(dstSize) - 1;
  bool illegal = false;
  const size_t units = KelCharSetConverter::getConverter(charSet)->toUTF16(
      dst, src, room, ILLCHAR_REPLACE, &illegal, -1);
  if (!illegal) return units;
  return latin1Converter()->toUTF16(dst, src, room, ILLCHAR_REPLACE, nullptr, -1);
}

size_t UTF16ToLocal(char* dst, wchar16 const* src, int dstSize, KelCharSet charSet) {
  if (dst == nullptr || src == nullptr) return 0;
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(charSet);
  const size_t nullSize = converter->getNullCharSize();
  if (sizeOf(dstSize) < nullSize) return 0;
  return converter->fromUTF16(dst, src, sizeOf(dstSize) - nullSize, ILLCHAR_REPLACE, nullptr);
}

size_t UTF8ToUTF16(wchar16* dst, char const* src, size_t dstSize) {
  if (dst == nullptr || src == nullptr || dstSize == 0) return 0;
  return kelulib::cachedUtf8Converter()->toUTF16(dst, src, dstSize - 1, ILLCHAR_REPLACE, nullptr,
                                                 -1);
}

size_t UTF16ToUTF8(char* dst, wchar16 const* src, size_t dstSize) {
  if (dst == nullptr || src == nullptr || dstSize == 0) return 0;
  return kelulib::cachedUtf8Converter()->fromUTF16(dst, src, dstSize - 1, ILLCHAR_REPLACE,
                                                   nullptr);
}

size_t LocalPathToUTF8(char* dst, char const* src, int dstSize) {
  if (dst == nullptr || src == nullptr || dstSize == 0) return 0;
  if (*src == '\0') {
    *dst = '\0';
    return 0;
  }
  Utf16Intermediate text(src);
  if (text.data() == nullptr) return 0;
  const size_t units = kelulib::cachedOsConverter()->toUTF16(text.data(), src, text.room(),
                                                             ILLCHAR_REPLACE, nullptr, -1);
  if (units == 0) return 0;
  decodeUnitEscapes(text.data(), units);
  return kelulib::cachedUtf8Converter()->fromUTF16(dst, text.data(), sizeOf(dstSize) - 1,
                                                   ILLCHAR_REPLACE, nullptr);
}

size_t UTF8ToLocalPath(char* dst, char const* src, int dstSize) {
  return utf8ToNarrow(kelulib::cachedOsConverter(), dst, src, dstSize, ILLCHAR_ESCAPE);
}

size_t GetNumUnits(char const* src, KelCharSet charSet) {
  return KelCharSetConverter::getConverter(charSet)->getNumUnits(src, static_cast<size_t>(-1));
}

size_t GetNumBytes(wchar16 const* src, KelCharSet charSet) {
  return KelCharSetConverter::getConverter(charSet)->getNumBytes(src, static_cast<size_t>(-1));
}

size_t GetMinUnitSize(KelCharSet charSet) {
  return KelCharSetConverter::getConverter(charSet)->getMinUnitSize();
}

size_t GetMaxUnitSize(KelCharSet charSet) {
  return KelCharSetConverter::getConverter(charSet)->getMaxUnitSize();
}

size_t GetNullCharSize(KelCharSet charSet) {
  return KelCharSetConverter::getConverter(charSet)->getNullCharSize();
}

}  // extern "C"

// The thirteen flat functions on fuzzer-made text, with the function, the
// character set and the buffer size chosen by the fuzzer. Sources are
// terminated exactly (by a zero of the set's null size) and destinations
// hold exactly dstSize elements, so that AddressSanitizer sees any access
// outside them. Run under LC_ALL=C.UTF-8 and LC_ALL=en_US.CP1252: the path
// functions work in the OS character set, taken from the locale at load.
//
// Invariants:
// - No function writes outside dst; what it returns fits the room that
//   dstSize leaves after the terminator, and the terminator follows it.
// - GetNumBytes equals what UTF16ToLocal writes into exactly that room.
// - Valid UTF-8 survives UTF8ToUTF16 then UTF16ToUTF8, and UTF8ToLocalPath
//   then LocalPathToUTF8 (when it holds no text of the "U+XXXX" form).
// - The unit sizes are 1, 2 or 4 and the smallest is at most the largest.
#include <climits>
#include <string>

#include "fuzz/fuzz_input.h"

namespace {

using kelulib_fuzz::ExactBuffer;
using kelulib_fuzz::FuzzInput;
using kelulib_fuzz::terminatedText;
using kelulib_fuzz::unitsOf;
using kelulib_fuzz::upToZero;

// A destination size and the buffer that goes with it: exactly dstSize
// elements, or, for a negative dstSize (an unbounded room), the most the
// call can write.
struct Destination {
  int dstSize;
  size_t elements;
};

Destination chooseDestination(FuzzInput& in, size_t natural, size_t most) {
  switch (in.byte() % 5) {
    case 0:
      return {static_cast<int>(in.below(8)), 0};
    case 1:
      return {static_cast<int>(in.below(natural + 1)), 0};
    case 2:
      return {static_cast<int>(natural), 0};
    case 3:
      return {static_cast<int>(natural + in.below(16)), 0};
    default:
      return {in.flag() ? -1 : INT_MIN, most};
  }
}

size_t elementsFor(const Destination& destination) {
  return destination.dstSize < 0 ? destination.elements
                                 : static_cast<size_t>(destination.dstSize);
}

// What a narrow result must look like: within the room dstSize leaves
// after a terminator of `nullSize` bytes, and followed by it. A result of 0
// may leave dst untouched.
void checkNarrow(const ExactBuffer<char>& dst, const Destination& destination, size_t nullSize,
                 size_t written, const char* function) {
  if (destination.dstSize >= 0) {
    const size_t dstSize = static_cast<size_t>(destination.dstSize);
    KELULIB_FUZZ_CHECK(written == 0 || written + nullSize <= dstSize, function);
  }
  if (written == 0) return;
  for (size_t i = 0; i < nullSize; ++i) KELULIB_FUZZ_CHECK(dst[written + i] == 0, function);
}

void checkWide(const ExactBuffer<wchar16>& dst, const Destination& destination, size_t written,
               const char* function) {
  if (destination.dstSize >= 0) {
    KELULIB_FUZZ_CHECK(written == 0 || written + 1 <= static_cast<size_t>(destination.dstSize),
                       function);
  }
  if (written > 0) KELULIB_FUZZ_CHECK(dst[written] == 0, function);
}

// Local text in `charSet`: whole units of its null size, then a zero unit.
ExactBuffer<char> localText(const std::string& payload, size_t nullSize) {
  const std::string whole = payload.substr(0, payload.size() / nullSize * nullSize);
  return terminatedText(whole, nullSize);
}

// Strictly valid UTF-8: shortest forms, no surrogates, nothing above
// U+10FFFF, no zero byte.
bool isValidUtf8(const std::string& text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto b = static_cast<unsigned char>(text[i]);
    size_t length = 0;
    unsigned value = 0;
    if (b == 0) return false;
    if (b < 0x80) {
      ++i;
      continue;
    }
    if (b >= 0xC2 && b <= 0xDF) {
      length = 2;
      value = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
      length = 3;
      value = b & 0x0F;
    } else if (b >= 0xF0 && b <= 0xF4) {
      length = 4;
      value = b & 0x07;
    } else {
      return false;
    }
    if (i + length > text.size()) return false;
    for (size_t k = 1; k < length; ++k) {
      const auto c = static_cast<unsigned char>(text[i + k]);
      if ((c & 0xC0) != 0x80) return false;
      value = value << 6 | (c & 0x3F);
    }
    if ((length == 3 && value < 0x800) || (length == 4 && value < 0x10000) || value > 0x10FFFF ||
        (value >= 0xD800 && value <= 0xDFFF)) {
      return false;
    }
    i += length;
  }
  return true;
}

// Whether the text holds "U+" and four upper-case hexadecimal digits.
bool holdsUnitEscape(const std::string& text) {
  for (size_t i = 0; i + 6 <= text.size(); ++i) {
    if (text[i] != 'U' || text[i + 1] != '+') continue;
    bool digits = true;
    for (size_t k = 2; k < 6; ++k) {
      const char c = text[i + k];
      digits = digits && ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'));
    }
    if (digits) return true;
  }
  return false;
}

void checkUtf8RoundTrips(const std::string& utf8) {
  if (utf8.empty() || !isValidUtf8(utf8)) return;
  const ExactBuffer<char> source = terminatedText(utf8);
  ExactBuffer<wchar16> units(utf8.size() + 1);
  const size_t unitCount = UTF8ToUTF16(units.data(), source.data(), units.size());
  ExactBuffer<char> back(utf8.size() + 1);
  const size_t backSize = UTF16ToUTF8(back.data(), units.data(), back.size());
  KELULIB_FUZZ_CHECK(unitCount > 0 && std::string(back.data(), backSize) == utf8,
                     "valid UTF-8 did not survive UTF8ToUTF16 and UTF16ToUTF8");

  if (holdsUnitEscape(utf8)) return;
  ExactBuffer<char> local(utf8.size() * 6 + 1);
  const size_t localSize =
      UTF8ToLocalPath(local.data(), source.data(), static_cast<int>(local.size()));
  KELULIB_FUZZ_CHECK(localSize > 0 && localSize < local.size() && local[localSize] == 0,
                     "UTF8ToLocalPath of valid UTF-8");
  ExactBuffer<char> path(utf8.size() + 1);
  const size_t pathSize = LocalPathToUTF8(path.data(), local.data(), static_cast<int>(path.size()));
  KELULIB_FUZZ_CHECK(std::string(path.data(), pathSize) == utf8,
                     "a UTF-8 path did not survive UTF8ToLocalPath and LocalPathToUTF8");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const unsigned function = in.byte() % 13;
  const KelCharSet charSet = in.pick(kelulib_fuzz::kCharSets);
  FuzzInput choices = in.split(4);
  const std::string payload = in.rest();
  const size_t nullSize = GetNullCharSize(charSet);
  const std::string text = upToZero(payload);  // narrow text up to its first zero
  const ExactBuffer<char> utf8 = terminatedText(text);
  const std::u16string units = upToZero(unitsOf<wchar16>(payload));
  const ExactBuffer<wchar16> utf16 = terminatedText(units);
  const size_t most = payload.size() * 6 + 4;  // bytes any call can write here

  switch (function) {
    case 0: {  // local text to UTF-8
      const ExactBuffer<char> local = localText(payload, nullSize);
      const Destination d = chooseDestination(choices, payload.size() * 3 + 1, most);
      ExactBuffer<char> dst(elementsFor(d));
      checkNarrow(dst, d, 1, LocalToUTF8(dst.data(), local.data(), d.dstSize, charSet),
                  "LocalToUTF8");
      break;
    }
    case 1: {  // UTF-8 to local text
      const Destination d = chooseDestination(choices, text.size() * 4 + nullSize, most);
      ExactBuffer<char> dst(elementsFor(d));
      checkNarrow(dst, d, nullSize, UTF8ToLocal(dst.data(), utf8.data(), d.dstSize, charSet),
                  "UTF8ToLocal");
      break;
    }
    case 2: {  // local text to UTF-16
      const ExactBuffer<char> local = localText(payload, nullSize);
      const Destination d = chooseDestination(choices, payload.size() + 1, payload.size() + 1);
      ExactBuffer<wchar16> dst(elementsFor(d));
      checkWide(dst, d, LocalToUTF16(dst.data(), local.data(), d.dstSize, charSet),
                "LocalToUTF16");
      break;
    }
    case 3: {  // UTF-16 to local text
      const Destination d = chooseDestination(choices, units.size() * 4 + nullSize, most);
      ExactBuffer<char> dst(elementsFor(d));
      checkNarrow(dst, d, nullSize, UTF16ToLocal(dst.data(), utf16.data(), d.dstSize, charSet),
                  "UTF16ToLocal");
      break;
    }
    case 4: {  // UTF-8 to UTF-16
      const Destination d = chooseDestination(choices, text.size() + 1, text.size() + 1);
      ExactBuffer<wchar16> dst(elementsFor(d));
      const size_t dstSize = d.dstSize < 0 ? SIZE_MAX : static_cast<size_t>(d.dstSize);
      checkWide(dst, d, UTF8ToUTF16(dst.data(), utf8.data(), dstSize), "UTF8ToUTF16");
      break;
    }
    case 5: {  // UTF-16 to UTF-8
      const Destination d = chooseDestination(choices, units.size() * 3 + 1, most);
      ExactBuffer<char> dst(elementsFor(d));
      const size_t dstSize = d.dstSize < 0 ? SIZE_MAX : static_cast<size_t>(d.dstSize);
      checkNarrow(dst, d, 1, UTF16ToUTF8(dst.data(), utf16.data(), dstSize), "UTF16ToUTF8");
      break;
    }
    case 6: {  // OS-code-page path to UTF-8
      const Destination d = chooseDestination(choices, text.size() * 3 + 1, most);
      ExactBuffer<char> dst(elementsFor(d));
      checkNarrow(dst, d, 1, LocalPathToUTF8(dst.data(), utf8.data(), d.dstSize),
                  "LocalPathToUTF8");
      break;
    }
    case 7: {  // UTF-8 path to the OS code page
      const size_t osNullSize = GetNullCharSize(KelCS_OS_DEFAULT);
      const Destination d = chooseDestination(choices, text.size() * 6 + osNullSize, most);
      ExactBuffer<char> dst(elementsFor(d));
      checkNarrow(dst, d, osNullSize, UTF8ToLocalPath(dst.data(), utf8.data(), d.dstSize),
                  "UTF8ToLocalPath");
      break;
    }
    case 8: {  // the unit count, as the converter counts
      const ExactBuffer<char> local = localText(payload, nullSize);
      const size_t counted = GetNumUnits(local.data(), charSet);
      KELULIB_FUZZ_CHECK(counted <= payload.size(), "GetNumUnits above the bytes given");
      KELULIB_FUZZ_CHECK(GetNumUnits(nullptr, charSet) == 0, "GetNumUnits of null");
      break;
    }
    case 9: {  // the byte count, against what UTF16ToLocal writes
      const size_t bytes = GetNumBytes(utf16.data(), charSet);
      ExactBuffer<char> dst(bytes + nullSize);
      const size_t written =
          UTF16ToLocal(dst.data(), utf16.data(), static_cast<int>(dst.size()), charSet);
      KELULIB_FUZZ_CHECK(written == bytes, "UTF16ToLocal wrote other than GetNumBytes counted");
      KELULIB_FUZZ_CHECK(GetNumBytes(nullptr, charSet) == 0, "GetNumBytes of null");
      break;
    }
    default: {  // the unit sizes; and the round trips
      const size_t smallest = GetMinUnitSize(charSet);
      const size_t largest = GetMaxUnitSize(charSet);
      KELULIB_FUZZ_CHECK(smallest >= 1 && smallest <= largest && largest <= 6,
                         "unit sizes out of order");
      KELULIB_FUZZ_CHECK(nullSize == 1 || nullSize == 2 || nullSize == 4, "null size");
      checkUtf8RoundTrips(text);
      break;
    }
  }
  return 0;
}

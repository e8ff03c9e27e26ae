#include "charset/unmappable.h"

namespace kelulib {

void formatUnitEscape(wchar16 unit, unsigned char* out) {
  static constexpr char kHexDigits[] = "0123456789ABCDEF";
  out[0] = 'U';
  out[1] = '+';
  out[2] = static_cast<unsigned char>(kHexDigits[(unit >> 12) & 0xF]);
  out[3] = static_cast<unsigned char>(kHexDigits[(unit >> 8) & 0xF]);
  out[4] = static_cast<unsigned char>(kHexDigits[(unit >> 4) & 0xF]);
  out[5] = static_cast<unsigned char>(kHexDigits[unit & 0xF]);
}

size_t writeUnmappable(unsigned char* out, size_t room, wchar16 unit, ILLCHAR_OPTYPE op) {
  return writeUnmappableWith(out, room, op, kUnitEscapeLength,
                             [unit](unsigned char* at) { formatUnitEscape(unit, at); });
}

size_t writeUnmappablePair(unsigned char* out, size_t room, wchar16 high, wchar16 low,
                           ILLCHAR_OPTYPE op) {
  return writeUnmappableWith(out, room, op, kPairEscapeLength, [high, low](unsigned char* at) {
    formatUnitEscape(high, at);
    formatUnitEscape(low, at + kUnitEscapeLength);
  });
}

}  // namespace kelulib

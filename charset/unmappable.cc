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
  switch (op) {
    case ILLCHAR_STOP:
      return 0;
    case ILLCHAR_ESCAPE:
      if (room < kUnitEscapeLength) return 0;
      formatUnitEscape(unit, out);
      return kUnitEscapeLength;
    default:
      if (room == 0) return 0;
      *out = kReplacementByte;
      return 1;
  }
}

}  // namespace kelulib

// Where the characters of UTF-8 and of the UTF-16 escape form end, as
// KelCharSetConverterUTF8 and KelCharSetConverterUTF16Esc read them.
#include "charset/sequence_rules.h"
#include "charset/unmappable.h"

namespace kelulib {
namespace {

// UTF-8: the lead byte's high four bits give the sequence length (0 for a
// continuation byte, which the converter drops on its own); the sequence is
// read whole only when every byte it needs after the lead is a
// continuation byte 10xxxxxx, else the lead byte is a character alone.
class Utf8Rules : public KelSequenceRules {
 public:
  size_t sequenceLength(const unsigned char* data, size_t available) const override {
    static constexpr unsigned char kLength[16] = {1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 2, 2, 3, 4};
    const size_t length = kLength[data[0] >> 4];
    if (length <= 1) return 1;
    for (size_t i = 1; i < length; ++i) {
      if (i == available) return 0;
      if (!isContinuation(data[i])) return 1;
    }
    return length;
  }

  // Every byte that is not a continuation byte starts a character, and no
  // character is longer than four bytes: of four continuation bytes in a
  // row the last is a character alone.
  size_t characterStartBefore(const unsigned char* data, size_t size) const override {
    const size_t first = size > kLongest ? size - kLongest : 0;
    for (size_t at = size; at > first;) {
      if (!isContinuation(data[--at])) return at;
    }
    return size >= kLongest ? size - 1 : 0;
  }

 private:
  static constexpr size_t kLongest = 4;
  static bool isContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }
};

// The escape form: "U+" and four upper-case hexadecimal digits are one
// character (a UTF-16 unit); every other byte is one.
class UnitEscapeRules : public KelSequenceRules {
 public:
  size_t sequenceLength(const unsigned char* data, size_t available) const override {
    if (available >= kUnitEscapeLength) {
      wchar16 unit;
      return parseUnitEscape(data, &unit) ? kUnitEscapeLength : 1;
    }
    // Too few bytes to tell, unless those at hand already break the form.
    for (size_t i = 0; i < available; ++i) {
      if (!fitsEscapeAt(i, data[i])) return 1;
    }
    return 0;
  }

  // A byte that no escape holds ends a character.
  size_t characterStartBefore(const unsigned char* data, size_t size) const override {
    for (size_t at = size; at > 0; --at) {
      const unsigned char b = data[at - 1];
      if (b != 'U' && b != '+' && upperHexDigitValue(b) < 0) return at;
    }
    return 0;
  }

 private:
  static bool fitsEscapeAt(size_t i, unsigned char b) {
    if (i == 0) return b == 'U';
    if (i == 1) return b == '+';
    return upperHexDigitValue(b) >= 0;
  }
};

}  // namespace

std::unique_ptr<KelSequenceRules> utf8SequenceRules() { return std::make_unique<Utf8Rules>(); }

std::unique_ptr<KelSequenceRules> unitEscapeSequenceRules() {
  return std::make_unique<UnitEscapeRules>();
}

}  // namespace kelulib

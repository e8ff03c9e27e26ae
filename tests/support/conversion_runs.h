// One toUTF16 or fromUTF16 call, run the way every conversion test wants
// it: the input in a heap block of exactly its size (so that a read past its
// terminator shows under the sanitizers and valgrind), the output in a
// guarded buffer of room + terminator, and the result collected for
// comparison.
#ifndef KELULIB_TESTS_SUPPORT_CONVERSION_RUNS_H_
#define KELULIB_TESTS_SUPPORT_CONVERSION_RUNS_H_

#include <KelULib.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>

#include "tests/support/guarded_buffer.h"

namespace kelulib_test {

// What toUTF16 or fromUTF16 did.
template <typename Text>
struct ConversionRun {
  using TextType = Text;
  Text output;                // what it wrote before the terminator
  size_t returned = 0;        // what it returned
  bool illegal = false;       // the flag afterwards
  bool terminated = false;    // a zero followed the output
  bool guardsIntact = false;  // nothing written past room + terminator
};

using DecodeRun = ConversionRun<std::u16string>;
using EncodeRun = ConversionRun<std::string>;

// `text` and its terminating zero in a heap block of exactly that size.
template <typename Char>
std::unique_ptr<Char[]> exactCopy(const std::basic_string<Char>& text) {
  std::unique_ptr<Char[]> copy(new Char[text.size() + 1]);
  text.copy(copy.get(), text.size());
  copy[text.size()] = 0;
  return copy;
}

// toUTF16 of `bytes` (zero-terminated) with `room` units of room.
inline DecodeRun decodeRun(KelCharSetConverter& converter, const std::string& bytes, size_t room,
                           ILLCHAR_OPTYPE op = ILLCHAR_REPLACE, int srcLimit = -1) {
  const std::unique_ptr<char[]> input = exactCopy(bytes);
  GuardedBuffer<wchar16> out(room + 1);
  DecodeRun run;
  run.illegal = true;  // the conversion must clear it
  run.returned = converter.toUTF16(out.data(), input.get(), room, op, &run.illegal, srcLimit);
  if (run.returned <= room) {
    run.output.assign(out.data(), run.returned);
    run.terminated = out[run.returned] == 0;
  }
  run.guardsIntact = out.guardsIntact();
  return run;
}

// toUTF16 of `bytes` with room for everything (one unit per byte, and two
// for the last).
inline DecodeRun decodeRun(KelCharSetConverter& converter, const std::string& bytes,
                           ILLCHAR_OPTYPE op = ILLCHAR_REPLACE) {
  return decodeRun(converter, bytes, bytes.size() + 1, op);
}

// fromUTF16 of `units` (zero-terminated) with `room` bytes of room.
inline EncodeRun encodeRun(KelCharSetConverter& converter, const std::u16string& units, size_t room,
                           ILLCHAR_OPTYPE op = ILLCHAR_REPLACE) {
  const std::unique_ptr<wchar16[]> input = exactCopy(units);
  GuardedBuffer<char> out(room + 1);
  EncodeRun run;
  run.illegal = true;
  run.returned = converter.fromUTF16(out.data(), input.get(), room, op, &run.illegal);
  if (run.returned <= room) {
    run.output.assign(out.data(), run.returned);
    run.terminated = out[run.returned] == '\0';
  }
  run.guardsIntact = out.guardsIntact();
  return run;
}

// fromUTF16 of `units` with room for everything (12 bytes per unit).
inline EncodeRun encodeRun(KelCharSetConverter& converter, const std::u16string& units,
                           ILLCHAR_OPTYPE op = ILLCHAR_REPLACE) {
  return encodeRun(converter, units, units.size() * 12, op);
}

// Text as hexadecimal code units, for failure messages.
template <typename Char>
std::string hexUnits(const std::basic_string<Char>& text) {
  std::string hex;
  for (Char c : text) {
    char digits[8];
    std::snprintf(digits, sizeof digits, sizeof(Char) == 1 ? " %02X" : " %04X",
                  static_cast<unsigned>(static_cast<std::make_unsigned_t<Char>>(c)));
    hex += digits;
  }
  return "[" + hex + " ]";
}

// Success when the run wrote exactly `expected`, returned its length,
// terminated it, wrote nothing past its room, and left the flag as `illegal`.
template <typename Text>
testing::AssertionResult wrote(const ConversionRun<Text>& run,
                               const typename ConversionRun<Text>::TextType& expected,
                               bool illegal) {
  if (run.output == expected && run.returned == expected.size() && run.terminated &&
      run.guardsIntact && run.illegal == illegal) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << "wrote " << hexUnits(run.output) << " (returned " << run.returned
         << (run.terminated ? "" : ", not terminated") << (run.guardsIntact ? "" : ", guards hit")
         << ", illegal " << run.illegal << "), expected " << hexUnits(expected) << " (illegal "
         << illegal << ")";
}

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_CONVERSION_RUNS_H_

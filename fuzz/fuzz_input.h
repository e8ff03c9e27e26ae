// What every fuzz target shares: a reader that takes the target's choices
// (converter, room, policy, source limit...) from the fuzzer's bytes,
// buffers on the heap of exactly the size a call may touch, so that
// AddressSanitizer sees any access past them, and the check that ends the
// run when an invariant fails.
#ifndef KELULIB_FUZZ_FUZZ_INPUT_H_
#define KELULIB_FUZZ_FUZZ_INPUT_H_

#include <KelULib.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/charset_sets.h"

namespace kelulib_fuzz {

// Ends the run (libFuzzer reports it as a crash and keeps the input) when an
// invariant does not hold.
#define KELULIB_FUZZ_CHECK(condition, what)                                              \
  do {                                                                                 \
    if (!(condition)) {                                                                \
      std::fprintf(stderr, "invariant failed at %s:%d: %s\n  (%s)\n", __FILE__, __LINE__, \
                   what, #condition);                                                  \
      std::abort();                                                                    \
    }                                                                                  \
  } while (false)

// Reads choices from the front of the fuzzer's data; what is left is the
// payload (text). Once the data runs out every choice reads as 0.
class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

  uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
  uint16_t u16() { return static_cast<uint16_t>(byte() | byte() << 8); }
  uint32_t u32() { return static_cast<uint32_t>(u16()) | static_cast<uint32_t>(u16()) << 16; }
  bool flag() { return (byte() & 1) != 0; }

  // A value in [0, n); 0 for n 0.
  size_t below(size_t n) { return n == 0 ? 0 : static_cast<size_t>(u16()) % n; }

  // One of the elements of `items`.
  template <typename T, size_t N>
  const T& pick(const T (&items)[N]) {
    return items[below(N)];
  }
  template <typename T, size_t N>
  const T& pick(const std::array<T, N>& items) {
    return items[below(N)];
  }

  // The next `n` bytes (fewer when the data runs out).
  std::string take(size_t n) {
    const size_t count = n < remaining() ? n : remaining();
    std::string bytes(reinterpret_cast<const char*>(m_data + m_pos), count);
    m_pos += count;
    return bytes;
  }
  // A piece of text whose length is the next byte.
  std::string piece() { return take(byte()); }
  // A reader over the next `n` bytes (fewer when the data runs out), which
  // are then skipped here.
  FuzzInput split(size_t n) {
    const size_t count = n < remaining() ? n : remaining();
    FuzzInput part(m_data + m_pos, count);
    m_pos += count;
    return part;
  }
  // Everything not yet read.
  std::string rest() { return take(remaining()); }
  size_t remaining() const { return m_size - m_pos; }

  // The unmappable-character policy: the three named ones and one other
  // value, which acts as ILLCHAR_REPLACE.
  ILLCHAR_OPTYPE policy() { return static_cast<ILLCHAR_OPTYPE>(byte() % 4); }

  // A room (in elements) around `natural`: 0, less, exactly it or more.
  size_t room(size_t natural) {
    switch (byte() % 4) {
      case 0:
        return below(8);
      case 1:
        return below(natural + 1);
      case 2:
        return natural;
      default:
        return natural + below(16);
    }
  }

  // A source limit for toUTF16: no bound (-1 and other negative values),
  // 0, or a count up to a little past `length`.
  int srcLimit(size_t length) {
    switch (byte() % 4) {
      case 0:
        return -1;
      case 1:
        return byte() % 2 == 0 ? 0 : INT_MIN;
      default:
        return static_cast<int>(below(length + 3));
    }
  }

 private:
  const uint8_t* m_data;
  size_t m_size;
  size_t m_pos = 0;
};

// `count` elements on the heap and nothing more: an access past the last one
// is an AddressSanitizer finding. Filled with `fill` so that the targets can
// tell what a call wrote.
template <typename T>
class ExactBuffer {
 public:
  explicit ExactBuffer(size_t count, T fill = static_cast<T>(0xA5))
      : m_count(count), m_elements(new T[count == 0 ? 1 : count]) {
    for (size_t i = 0; i < count; ++i) m_elements[i] = fill;
  }
  T* data() { return m_elements.get(); }
  const T* data() const { return m_elements.get(); }
  size_t size() const { return m_count; }
  T& operator[](size_t i) { return m_elements[i]; }
  const T& operator[](size_t i) const { return m_elements[i]; }

 private:
  size_t m_count;
  std::unique_ptr<T[]> m_elements;
};

// Text of `Unit`s followed by `terminators` zero units, in an exact buffer.
template <typename Unit>
ExactBuffer<Unit> terminatedText(const std::basic_string<Unit>& text, size_t terminators = 1) {
  ExactBuffer<Unit> buffer(text.size() + terminators, Unit(0));
  if (!text.empty()) std::memcpy(buffer.data(), text.data(), text.size() * sizeof(Unit));
  return buffer;
}

// Bytes read as units of `Unit` (the bytes of an incomplete last unit are
// dropped).
template <typename Unit>
std::basic_string<Unit> unitsOf(const std::string& bytes) {
  std::basic_string<Unit> units(bytes.size() / sizeof(Unit), Unit(0));
  if (!units.empty()) std::memcpy(&units[0], bytes.data(), units.size() * sizeof(Unit));
  return units;
}

// The text up to its first zero unit.
template <typename Unit>
std::basic_string<Unit> upToZero(const std::basic_string<Unit>& text) {
  return text.substr(0, text.find(Unit(0)));
}

// Every character set with a converter of its own, the OS default, and ids
// without one (which read and write UTF-8): the algorithmic sets first, then
// the table-driven ones, then the rest.
inline constexpr size_t kOtherCharSetCount = 7;
inline constexpr auto kCharSets = [] {
  std::array<KelCharSet, kelulib_test::kTableDrivenCharSetCount + kOtherCharSetCount> sets{};
  const KelCharSet first[] = {KelCS_UTF8, KelCS_UTF16, KelCS_UTF16ESC, KelCS_UTF32};
  const KelCharSet last[] = {KelCS_OS_DEFAULT, static_cast<KelCharSet>(437), KelCS_UTF16BE};
  size_t at = 0;
  for (KelCharSet set : first) sets[at++] = set;
  for (KelCharSet set : kelulib_test::kTableDrivenCharSets) sets[at++] = set;
  for (KelCharSet set : last) sets[at++] = set;
  return sets;
}();

using kelulib_test::isTableDriven;

}  // namespace kelulib_fuzz

#endif  // KELULIB_FUZZ_FUZZ_INPUT_H_

// Output buffers for conversion tests: `size` usable elements followed by
// guard elements, all pre-filled with a fill value, so that a test can check
// that nothing was written past room + terminator.
#ifndef KELULIB_TESTS_SUPPORT_GUARDED_BUFFER_H_
#define KELULIB_TESTS_SUPPORT_GUARDED_BUFFER_H_

#include <cstddef>
#include <vector>

namespace kelulib_test {

template <typename T>
class GuardedBuffer {
 public:
  static constexpr size_t kGuardCount = 16;

  // `size` elements the conversion may write (room plus terminator).
  explicit GuardedBuffer(size_t size, T fill = static_cast<T>(0xA5))
      : m_size(size), m_fill(fill), m_elements(size + kGuardCount, fill) {}

  T* data() { return m_elements.data(); }
  const T* data() const { return m_elements.data(); }
  size_t size() const { return m_size; }
  T operator[](size_t i) const { return m_elements[i]; }

  // True while no element past the usable ones has changed.
  bool guardsIntact() const {
    for (size_t i = m_size; i < m_elements.size(); ++i) {
      if (m_elements[i] != m_fill) return false;
    }
    return true;
  }

  // True while element i and everything after it are untouched.
  bool untouchedFrom(size_t i) const {
    for (; i < m_elements.size(); ++i) {
      if (m_elements[i] != m_fill) return false;
    }
    return true;
  }

  // The first n elements.
  std::vector<T> prefix(size_t n) const {
    return std::vector<T>(m_elements.begin(), m_elements.begin() + static_cast<std::ptrdiff_t>(n));
  }

 private:
  size_t m_size;
  T m_fill;
  std::vector<T> m_elements;
};

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_GUARDED_BUFFER_H_

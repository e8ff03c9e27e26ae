// A temporary array that lives on the stack when it is small enough and on
// the heap beyond that, so that large inputs cannot overflow the stack.
#ifndef KELULIB_CHARSET_SCRATCH_BUFFER_H_
#define KELULIB_CHARSET_SCRATCH_BUFFER_H_

#include <cstddef>
#include <new>

namespace kelulib {

template <typename T, size_t kInlineCount>
class KelScratchBuffer {
 public:
  // `count` elements, uninitialised; data() is null when they had to come
  // from the heap and could not be allocated.
  explicit KelScratchBuffer(size_t count)
      : m_data(count <= kInlineCount ? m_inline : new (std::nothrow) T[count]) {}
  ~KelScratchBuffer() {
    if (m_data != m_inline) delete[] m_data;
  }
  KelScratchBuffer(const KelScratchBuffer&) = delete;
  KelScratchBuffer& operator=(const KelScratchBuffer&) = delete;

  T* data() const { return m_data; }

 private:
  T m_inline[kInlineCount];
  T* const m_data;
};

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SCRATCH_BUFFER_H_

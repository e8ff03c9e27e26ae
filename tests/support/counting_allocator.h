// A replacement of the global allocation functions for tests that count the
// heap allocations of the calling thread or make one of them fail. Linked
// only into the test program that needs it.
#ifndef KELULIB_TESTS_SUPPORT_COUNTING_ALLOCATOR_H_
#define KELULIB_TESTS_SUPPORT_COUNTING_ALLOCATOR_H_

#include <cstddef>

namespace kelulib_test {

// Counts the calling thread's allocations while it lives.
class AllocationCounter {
 public:
  AllocationCounter();
  ~AllocationCounter();
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;

  size_t count() const;
  // Byte size asked for by the last allocation counted.
  size_t lastSize() const;
};

// Makes the calling thread's allocation number `n` (1 = the next one) fail
// while it lives: the throwing forms throw std::bad_alloc, the nothrow forms
// return null. With kNothrowArrays only the nothrow array form
// (new (std::nothrow) T[n]) is counted and failed.
class AllocationFailure {
 public:
  enum Scope { kEveryAllocation, kNothrowArrays };
  explicit AllocationFailure(size_t n = 1, Scope scope = kEveryAllocation);
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;

  // Whether the failure has happened.
  bool happened() const;
};

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_COUNTING_ALLOCATOR_H_

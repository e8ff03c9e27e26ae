#include "tests/support/counting_allocator.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// Requests beyond this are refused without asking malloc, so that the
// sanitizers' allocators never see an impossible size.
constexpr size_t kLargestRequest = size_t{1} << 40;

thread_local bool t_counting = false;
thread_local size_t t_count = 0;
thread_local size_t t_lastSize = 0;
thread_local size_t t_failAt = 0;  // 0: no failure planned
thread_local bool t_failOnlyNothrowArrays = false;
thread_local size_t t_seen = 0;
thread_local bool t_failed = false;

enum class Form { kPlain, kNothrowArray };

bool plannedToFail(Form form) {
  if (t_failAt == 0) return false;
  if (t_failOnlyNothrowArrays && form != Form::kNothrowArray) return false;
  return ++t_seen == t_failAt;
}

// The next block, or null when the request is refused or planned to fail.
void* allocate(size_t size, Form form = Form::kPlain) {
  if (t_counting) {
    ++t_count;
    t_lastSize = size;
  }
  if (plannedToFail(form)) {
    t_failAt = 0;
    t_failed = true;
    return nullptr;
  }
  if (size > kLargestRequest) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

void* allocateOrThrow(size_t size) {
  void* block = allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(size_t size) { return allocateOrThrow(size); }
void* operator new[](size_t size) { return allocateOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, Form::kNothrowArray);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace kelulib_test {

AllocationCounter::AllocationCounter() {
  t_count = 0;
  t_lastSize = 0;
  t_counting = true;
}

AllocationCounter::~AllocationCounter() { t_counting = false; }

size_t AllocationCounter::count() const { return t_count; }

size_t AllocationCounter::lastSize() const { return t_lastSize; }

AllocationFailure::AllocationFailure(size_t n, Scope scope) {
  t_seen = 0;
  t_failed = false;
  t_failOnlyNothrowArrays = scope == kNothrowArrays;
  t_failAt = n;
}

AllocationFailure::~AllocationFailure() { t_failAt = 0; }

bool AllocationFailure::happened() const { return t_failed; }

}  // namespace kelulib_test

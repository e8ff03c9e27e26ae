// The lazy, once-only building of a converter's tables: the first caller
// builds them under the converter's lock and publishes the pointer last,
// with release order, so that a thread which sees the pointer (acquire)
// sees the whole table. Once published, a table is only read: callers look
// at the pointer first and take the lock only while it is still null, so
// that conversions on many threads do not queue on the lock.
#ifndef KELULIB_CHARSET_TABLES_LOCKED_BUILD_H_
#define KELULIB_CHARSET_TABLES_LOCKED_BUILD_H_

#include <atomic>

#include "charset/obj_lock.h"
#include "charset/obj_lock_guard.h"

namespace kelulib {

// When `slot` is still null, stores build() in it (build may return null:
// the next call tries again). The caller holds the lock that guards `slot`.
template <typename T, typename Build>
void buildIfMissing(std::atomic<T*>& slot, Build build) {
  if (slot.load(std::memory_order_relaxed) == nullptr) {
    slot.store(build(), std::memory_order_release);
  }
}

// True once `slot` holds a published object (acquire: its contents are
// visible to the caller).
template <typename T>
bool isPublished(const std::atomic<T*>& slot) {
  return slot.load(std::memory_order_acquire) != nullptr;
}

// buildIfMissing under `lock`, taken and released here; without the lock
// when `slot` is already published.
template <typename T, typename Build>
void buildUnderLock(ObjLock& lock, std::atomic<T*>& slot, Build build) {
  if (isPublished(slot)) return;
  ObjLockGuard guard(lock);
  buildIfMissing(slot, build);
}

// What `slot` points at, or a shared default-constructed (empty) object
// while it is null.
template <typename T>
const T& builtOrEmpty(const std::atomic<T*>& slot) {
  static const T empty;
  const T* built = slot.load(std::memory_order_acquire);
  return built != nullptr ? *built : empty;
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_LOCKED_BUILD_H_

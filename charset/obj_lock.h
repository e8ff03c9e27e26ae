// ObjLock: the recursive lock that guards the lazy loading of a converter's
// or a property table's data.
#ifndef KELULIB_CHARSET_OBJ_LOCK_H_
#define KELULIB_CHARSET_OBJ_LOCK_H_

#include <atomic>
#include <cstdint>

#include "../platform/export.h"
#include "../platform/recursive_lock.h"

class KELULIB_API ObjLock {
 public:
  ObjLock();
  ~ObjLock();
  // A copy starts with the source's count and a lock of its own.
  ObjLock(const ObjLock& other);
  // Copies the count; the target keeps its own, usable lock. Never used on a
  // lock that some thread holds.
  ObjLock& operator=(const ObjLock& other);

  // Takes the lock (recursively for the thread that holds it), then counts.
  void lock();
  // Counts down, then releases the lock. Only the holder may call it.
  void unlock();
  // True while some thread holds the lock (not which one).
  bool isLocked() const;

 private:
  std::atomic<int32_t> m_count;
  KelRecursiveLock m_lock;
};

#endif  // KELULIB_CHARSET_OBJ_LOCK_H_

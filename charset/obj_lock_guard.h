// Holds an ObjLock for the lifetime of a scope.
#ifndef KELULIB_CHARSET_OBJ_LOCK_GUARD_H_
#define KELULIB_CHARSET_OBJ_LOCK_GUARD_H_

#include "charset/obj_lock.h"

namespace kelulib {

class ObjLockGuard {
 public:
  explicit ObjLockGuard(ObjLock& lock) : m_lock(lock) { m_lock.lock(); }
  ~ObjLockGuard() { m_lock.unlock(); }
  ObjLockGuard(const ObjLockGuard&) = delete;
  ObjLockGuard& operator=(const ObjLockGuard&) = delete;

 private:
  ObjLock& m_lock;
};

}  // namespace kelulib

#endif  // KELULIB_CHARSET_OBJ_LOCK_GUARD_H_

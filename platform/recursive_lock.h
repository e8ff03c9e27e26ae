// The operating system's recursive lock, as embedded in ObjLock.
//
// Windows: a critical section (kept as opaque storage so that this header
// does not pull in <windows.h>). Elsewhere: std::recursive_mutex.
#ifndef KELULIB_PLATFORM_RECURSIVE_LOCK_H_
#define KELULIB_PLATFORM_RECURSIVE_LOCK_H_

#if !defined(_WIN32)
#include <mutex>
#endif

class KelRecursiveLock {
 public:
  KelRecursiveLock();
  ~KelRecursiveLock();
  KelRecursiveLock(const KelRecursiveLock&) = delete;
  KelRecursiveLock& operator=(const KelRecursiveLock&) = delete;

  // Blocks until the calling thread holds the lock; a thread may take it
  // again while it holds it, and must release it as often.
  void enter();
  void leave();

 private:
#if defined(_WIN32)
  alignas(void*) unsigned char m_criticalSection[40];
#else
  std::recursive_mutex m_mutex;
#endif
};

#endif  // KELULIB_PLATFORM_RECURSIVE_LOCK_H_

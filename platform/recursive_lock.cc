#include "platform/recursive_lock.h"

#if defined(_WIN32)
#include <windows.h>

static_assert(sizeof(CRITICAL_SECTION) <= 40, "critical section storage too small");

static CRITICAL_SECTION* criticalSection(unsigned char* storage) {
  return reinterpret_cast<CRITICAL_SECTION*>(storage);
}

KelRecursiveLock::KelRecursiveLock() { InitializeCriticalSection(criticalSection(m_criticalSection)); }
KelRecursiveLock::~KelRecursiveLock() { DeleteCriticalSection(criticalSection(m_criticalSection)); }
void KelRecursiveLock::enter() { EnterCriticalSection(criticalSection(m_criticalSection)); }
void KelRecursiveLock::leave() { LeaveCriticalSection(criticalSection(m_criticalSection)); }

#else

KelRecursiveLock::KelRecursiveLock() = default;
KelRecursiveLock::~KelRecursiveLock() = default;
void KelRecursiveLock::enter() { m_mutex.lock(); }
void KelRecursiveLock::leave() { m_mutex.unlock(); }

#endif

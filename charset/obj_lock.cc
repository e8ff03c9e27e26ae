#include "charset/obj_lock.h"

ObjLock::ObjLock() : m_count(0) {}

ObjLock::~ObjLock() = default;

ObjLock::ObjLock(const ObjLock& other) : m_count(other.m_count.load(std::memory_order_relaxed)) {}

ObjLock& ObjLock::operator=(const ObjLock& other) {
  m_count.store(other.m_count.load(std::memory_order_relaxed), std::memory_order_relaxed);
  return *this;
}

void ObjLock::lock() {
  m_lock.enter();
  m_count.fetch_add(1, std::memory_order_relaxed);
}

void ObjLock::unlock() {
  m_count.fetch_sub(1, std::memory_order_relaxed);
  m_lock.leave();
}

bool ObjLock::isLocked() const { return m_count.load(std::memory_order_relaxed) != 0; }

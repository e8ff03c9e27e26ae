#include <KelULib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

TEST(ObjLock, FreshLockIsNotLocked) {
  ObjLock lock;
  EXPECT_FALSE(lock.isLocked());
}

TEST(ObjLock, IsLockedBetweenLockAndUnlock) {
  ObjLock lock;
  lock.lock();
  EXPECT_TRUE(lock.isLocked());
  lock.unlock();
  EXPECT_FALSE(lock.isLocked());
}

TEST(ObjLock, IsRecursiveForItsHolder) {
  ObjLock lock;
  lock.lock();
  lock.lock();
  lock.unlock();
  EXPECT_TRUE(lock.isLocked());
  lock.unlock();
  EXPECT_FALSE(lock.isLocked());
}

TEST(ObjLock, AssignmentCopiesTheCountAndKeepsTheTargetUsable) {
  ObjLock held;
  held.lock();
  ObjLock target;
  target = held;
  EXPECT_TRUE(target.isLocked());
  held.unlock();
  // The target's own lock still works (and is not the source's).
  ObjLock fresh;
  target = fresh;
  EXPECT_FALSE(target.isLocked());
  target.lock();
  EXPECT_TRUE(target.isLocked());
  EXPECT_FALSE(held.isLocked());
  target.unlock();
}

TEST(ObjLock, ExcludesOtherThreads) {
  ObjLock lock;
  int counter = 0;  // guarded by `lock` only
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) {
        lock.lock();
        ++counter;
        lock.unlock();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, 40000);
  EXPECT_FALSE(lock.isLocked());
}

}  // namespace

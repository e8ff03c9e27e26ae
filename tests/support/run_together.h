// Runs work on several threads released at the same moment, so that their
// first calls race as closely as the machine allows.
#ifndef KELULIB_TESTS_SUPPORT_RUN_TOGETHER_H_
#define KELULIB_TESTS_SUPPORT_RUN_TOGETHER_H_

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace kelulib_test {

// Runs work(t) for t = 0 .. threads-1, each on a thread of its own, once all
// threads have started; returns when all have finished.
inline void runTogether(int threads, const std::function<void(int)>& work) {
  std::atomic<int> ready{0};
  std::vector<std::thread> running;
  for (int t = 0; t < threads; ++t) {
    running.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < threads) std::this_thread::yield();
      work(t);
    });
  }
  for (std::thread& thread : running) thread.join();
}

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_RUN_TOGETHER_H_

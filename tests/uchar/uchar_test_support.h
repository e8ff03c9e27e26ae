// Helpers for the KelUChar tests: a view of the three property tables, and
// running a function on several threads released at the same moment.
#ifndef KELULIB_TESTS_UCHAR_UCHAR_TEST_SUPPORT_H_
#define KELULIB_TESTS_UCHAR_UCHAR_TEST_SUPPORT_H_

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "uchar/uchar.h"

namespace kelulib_test {

// KelUChar with its property tables in view.
class InspectableUChar : public KelUChar {
 public:
  static bool classTableLoaded() { return m_gCharClassTable.isLoaded(); }
  static bool upperCaseTableLoaded() { return m_gUpperCaseTable.isLoaded(); }
  static bool lowerCaseTableLoaded() { return m_gLowerCaseTable.isLoaded(); }
  static bool anyTableLoaded() {
    return classTableLoaded() || upperCaseTableLoaded() || lowerCaseTableLoaded();
  }
};

// Runs work(0) .. work(threads - 1), each on a thread of its own; the
// threads wait for one another and start together, so that their first
// calls race.
inline void runTogether(int threads, const std::function<void(int)>& work) {
  std::atomic<int> waiting{threads};
  std::vector<std::thread> running;
  for (int index = 0; index < threads; ++index) {
    running.emplace_back([&waiting, &work, index] {
      waiting.fetch_sub(1);
      while (waiting.load() > 0) std::this_thread::yield();
      work(index);
    });
  }
  for (std::thread& thread : running) thread.join();
}

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_UCHAR_UCHAR_TEST_SUPPORT_H_

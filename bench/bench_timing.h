// Timing for the conversion benchmark: a monotonic clock, the median of a
// series of samples, and round-robin repetition of several contenders so
// that each sees the same machine conditions (frequency, other load).
#ifndef KELULIB_BENCH_BENCH_TIMING_H_
#define KELULIB_BENCH_BENCH_TIMING_H_

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

namespace kelulib_bench {

// Nanoseconds that `work` takes once.
inline double timeOnceNs(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const auto end = std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::nano>(end - start).count();
}

// The median of `samples` (the mean of the middle two for an even count); 0
// for none.
inline double median(std::vector<double> samples) {
  if (samples.empty()) return 0;
  std::sort(samples.begin(), samples.end());
  const size_t middle = samples.size() / 2;
  return samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

// The value below which a share `q` (0 to 1) of `samples` lies, by linear
// interpolation between the sorted samples; 0 for none.
inline double quantile(std::vector<double> samples, double q) {
  if (samples.empty()) return 0;
  std::sort(samples.begin(), samples.end());
  const double at = q * static_cast<double>(samples.size() - 1);
  const size_t below = static_cast<size_t>(at);
  if (below + 1 >= samples.size()) return samples.back();
  return samples[below] + (samples[below + 1] - samples[below]) * (at - static_cast<double>(below));
}

// Runs every contender once per round, `rounds` times, starting each round
// at the next contender so that none always runs first or last, after one
// untimed warm-up round. Returns the nanoseconds of every round of each.
inline std::vector<std::vector<double>> roundRobinNs(
    const std::vector<std::function<void()>>& contenders, int rounds) {
  const size_t n = contenders.size();
  for (const auto& contender : contenders) contender();
  std::vector<std::vector<double>> samples(n);
  for (int round = 0; round < rounds; ++round) {
    for (size_t k = 0; k < n; ++k) {
      const size_t which = (static_cast<size_t>(round) + k) % n;
      samples[which].push_back(timeOnceNs(contenders[which]));
    }
  }
  return samples;
}

// The same, reduced to the median nanoseconds of each contender.
inline std::vector<double> medianNsRoundRobin(const std::vector<std::function<void()>>& contenders,
                                              int rounds) {
  std::vector<double> medians;
  for (const auto& series : roundRobinNs(contenders, rounds)) medians.push_back(median(series));
  return medians;
}

}  // namespace kelulib_bench

#endif  // KELULIB_BENCH_BENCH_TIMING_H_

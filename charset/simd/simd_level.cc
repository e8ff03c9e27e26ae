#include "charset/simd/simd_level.h"

#include <atomic>

namespace kelulib {
namespace {

KelSimdLevel detectSimdLevel() {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
  __builtin_cpu_init();
  // The AVX2 kernels also use BMI1, BMI2 and POPCNT; the AVX-512 level runs
  // the AVX2 kernels where it has none of its own.
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
  if (avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
      __builtin_cpu_supports("avx512vbmi2")) {
    return KelSimdLevel::kAvx512;
  }
  if (avx2) return KelSimdLevel::kAvx2;
  return KelSimdLevel::kSse2;
#else
  return KelSimdLevel::kScalar;
#endif
}

constexpr int kNotChosen = -1;

std::atomic<int>& activeLevelSlot() {
  static std::atomic<int> slot{kNotChosen};
  return slot;
}

}  // namespace

KelSimdLevel supportedSimdLevel() {
  static const KelSimdLevel supported = detectSimdLevel();
  return supported;
}

KelSimdLevel activeSimdLevel() {
  const int level = activeLevelSlot().load(std::memory_order_relaxed);
  if (level != kNotChosen) return static_cast<KelSimdLevel>(level);
  const KelSimdLevel chosen = supportedSimdLevel();
  activeLevelSlot().store(static_cast<int>(chosen), std::memory_order_relaxed);
  return chosen;
}

KelSimdLevel setActiveSimdLevel(KelSimdLevel level) {
  const KelSimdLevel before = activeSimdLevel();
  const KelSimdLevel clamped = static_cast<int>(level) > static_cast<int>(supportedSimdLevel())
                                   ? supportedSimdLevel()
                                   : level;
  activeLevelSlot().store(static_cast<int>(clamped), std::memory_order_relaxed);
  return before;
}

}  // namespace kelulib

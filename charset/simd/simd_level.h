// Which vector instruction set the converters' fast paths use. The level is
// chosen once, from what the processor offers, the first time a fast path
// asks for it; kScalar turns every fast path off, so that the converters run
// their plain one-character-at-a-time code alone.
#ifndef KELULIB_CHARSET_SIMD_SIMD_LEVEL_H_
#define KELULIB_CHARSET_SIMD_SIMD_LEVEL_H_

namespace kelulib {

enum class KelSimdLevel : int {
  kScalar = 0,
  // 16 bytes at a time (every x86-64 processor).
  kSse2 = 1,
  // 32 bytes at a time (AVX2, with BMI1, BMI2 and POPCNT).
  kAvx2 = 2,
  // 64 bytes at a time, with byte compression and byte permutes
  // (AVX-512 F, BW, VL, VBMI and VBMI2).
  kAvx512 = 3,
};

// The best level this processor supports (kScalar off x86-64).
KelSimdLevel supportedSimdLevel();

// The level the fast paths use now.
KelSimdLevel activeSimdLevel();

// Makes the fast paths use `level` (clamped to supportedSimdLevel()) and
// returns the level used before. For tests that compare the fast paths with
// the plain code; not meant to be called while conversions run.
KelSimdLevel setActiveSimdLevel(KelSimdLevel level);

// True unless the fast paths are turned off (KelSimdLevel::kScalar).
inline bool fastPathsOn() { return activeSimdLevel() != KelSimdLevel::kScalar; }

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_SIMD_LEVEL_H_

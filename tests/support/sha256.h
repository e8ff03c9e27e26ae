// SHA-256 (FIPS 180-4) for checking the bytes of embedded tables in tests.
#ifndef KELULIB_TESTS_SUPPORT_SHA256_H_
#define KELULIB_TESTS_SUPPORT_SHA256_H_

#include <array>
#include <cstddef>
#include <string>

namespace kelulib_test {

// The SHA-256 of `size` bytes at `data`.
std::array<unsigned char, 32> sha256(const unsigned char* data, size_t size);

// The same as 64 lower-case hexadecimal digits.
std::string sha256Hex(const unsigned char* data, size_t size);

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_SHA256_H_

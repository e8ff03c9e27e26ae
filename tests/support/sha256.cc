#include "tests/support/sha256.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kelulib_test {

namespace {

constexpr std::array<uint32_t, 64> kRoundConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

uint32_t rotateRight(uint32_t value, int bits) { return value >> bits | value << (32 - bits); }

void compressBlock(const unsigned char* block, std::array<uint32_t, 8>& state) {
  uint32_t w[64];
  for (int i = 0; i < 16; ++i) {
    w[i] = static_cast<uint32_t>(block[4 * i]) << 24 | static_cast<uint32_t>(block[4 * i + 1]) << 16 |
           static_cast<uint32_t>(block[4 * i + 2]) << 8 | block[4 * i + 3];
  }
  for (int i = 16; i < 64; ++i) {
    const uint32_t s0 = rotateRight(w[i - 15], 7) ^ rotateRight(w[i - 15], 18) ^ (w[i - 15] >> 3);
    const uint32_t s1 = rotateRight(w[i - 2], 17) ^ rotateRight(w[i - 2], 19) ^ (w[i - 2] >> 10);
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  std::array<uint32_t, 8> v = state;
  for (int i = 0; i < 64; ++i) {
    const uint32_t s1 = rotateRight(v[4], 6) ^ rotateRight(v[4], 11) ^ rotateRight(v[4], 25);
    const uint32_t choice = (v[4] & v[5]) ^ (~v[4] & v[6]);
    const uint32_t t1 = v[7] + s1 + choice + kRoundConstants[i] + w[i];
    const uint32_t s0 = rotateRight(v[0], 2) ^ rotateRight(v[0], 13) ^ rotateRight(v[0], 22);
    const uint32_t majority = (v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]);
    v = {t1 + s0 + majority, v[0], v[1], v[2], v[3] + t1, v[4], v[5], v[6]};
  }
  for (int i = 0; i < 8; ++i) state[i] += v[i];
}

}  // namespace

std::array<unsigned char, 32> sha256(const unsigned char* data, size_t size) {
  // The message, a 1 bit, zeros, and the length in bits as 64-bit big-endian.
  std::vector<unsigned char> message(data, data + size);
  message.push_back(0x80);
  while (message.size() % 64 != 56) message.push_back(0);
  const uint64_t bits = static_cast<uint64_t>(size) * 8;
  for (int shift = 56; shift >= 0; shift -= 8) {
    message.push_back(static_cast<unsigned char>(bits >> shift));
  }

  std::array<uint32_t, 8> state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                   0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  for (size_t offset = 0; offset < message.size(); offset += 64) {
    compressBlock(&message[offset], state);
  }

  std::array<unsigned char, 32> digest;
  for (size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<unsigned char>(state[i / 4] >> (24 - 8 * (i % 4)));
  }
  return digest;
}

std::string sha256Hex(const unsigned char* data, size_t size) {
  static constexpr char kHexDigits[] = "0123456789abcdef";
  std::string hex;
  for (unsigned char byte : sha256(data, size)) {
    hex += kHexDigits[byte >> 4];
    hex += kHexDigits[byte & 0xF];
  }
  return hex;
}

}  // namespace kelulib_test

// Sixteen threads, released together in a fresh process, convert the same
// texts through every table-driven converter of the library (each thread
// starting with a different one, so that the first loads of the mapping
// tables race) and classify and case-map the basic plane (racing to build
// KelUChar's tables). Every thread must see exactly what one thread sees
// alone afterwards, with all tables built. Runs against the shared library
// with its own mapping tables; labelled "concurrency" (the tsan preset runs
// it under ThreadSanitizer), one test per process.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/charset_sets.h"
#include "tests/support/run_together.h"

namespace {

constexpr int kThreads = 16;

using kelulib_test::kTableDrivenCharSets;
constexpr size_t kSetCount = kelulib_test::kTableDrivenCharSetCount;

// Text in many scripts, each part in some of the sets above.
const std::u16string kText =
    u"Stra\u00DFe \u00E9t\u00E9 \u0160koda \u0141\u00F3d\u017A \u0391\u03B8\u03AE\u03BD\u03B1 "
    u"\u041C\u043E\u0441\u043A\u0432\u0430 \u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627 "
    u"\u0E2A\u0E27\u0E31\u0E2A\u0E14\u0E35 \u65E5\u672C\u8A9E\u3072\u3089\u304C\u306A\u30AB\u30BF "
    u"\uFF71\u00A5\u203E \u4E2D\u6587\u7B80\u4F53 \u7E41\u9AD4 \uD55C\uAD6D\uC5B4 \u20AC \u2603 "
    u"\U00020BB7\U0001F600 T\u1EA1m bi\u1EC7t";

// Bytes to decode: every byte value, then pairs over the lead and trail
// ranges of the multi-byte sets, and GB18030 four-byte forms.
std::string decodingInput() {
  std::string bytes;
  for (int b = 1; b < 256; ++b) bytes += static_cast<char>(b);
  for (int lead = 0x81; lead <= 0xFE; lead += 3) {
    for (int trail = 0x40; trail <= 0xFE; trail += 7) {
      bytes += static_cast<char>(lead);
      bytes += static_cast<char>(trail);
    }
  }
  bytes += "\x81\x30\x81\x30\x90\x30\x81\x30\x8E\xB1\x8F\xA2\xAF";
  return bytes;
}

// What one thread sees of one character set: the text encoded, that
// encoding decoded, and the decoding input decoded.
struct SetResults {
  std::string encoded;
  std::u16string roundTrip;
  std::u16string decoded;
  bool operator==(const SetResults& other) const {
    return encoded == other.encoded && roundTrip == other.roundTrip && decoded == other.decoded;
  }
};

std::u16string decode(KelCharSetConverter* converter, const std::string& bytes) {
  std::vector<wchar16> units(bytes.size() * 2 + 1);
  const size_t count = converter->toUTF16(units.data(), bytes.c_str(), units.size() - 1,
                                          ILLCHAR_REPLACE, nullptr, -1);
  return std::u16string(units.data(), count);
}

SetResults convertThrough(KelCharSet id, const std::string& input) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  SetResults results;
  std::vector<char> bytes(kText.size() * 6 + 1);
  const size_t size =
      converter->fromUTF16(bytes.data(), kText.c_str(), bytes.size() - 1, ILLCHAR_ESCAPE, nullptr);
  results.encoded.assign(bytes.data(), size);
  results.roundTrip = decode(converter, results.encoded);
  results.decoded = decode(converter, input);
  return results;
}

// Every set, starting with set `first`.
std::vector<SetResults> convertAll(size_t first, const std::string& input) {
  std::vector<SetResults> all(kSetCount);
  for (size_t step = 0; step < kSetCount; ++step) {
    const size_t index = (first + step) % kSetCount;
    all[index] = convertThrough(kTableDrivenCharSets[index], input);
  }
  return all;
}

// Class, upper and lower case of every unit of the basic plane, starting
// at `start` and wrapping round.
std::vector<uint64_t> classifyAll(unsigned int start) {
  std::vector<uint64_t> properties(0x10000);
  for (unsigned int step = 0; step < 0x10000; ++step) {
    const auto unit = static_cast<wchar16>((start + step) & 0xFFFF);
    properties[unit] = static_cast<uint64_t>(KelUChar::getCharClass(unit)) |
                       static_cast<uint64_t>(KelUChar::toUpperCase(unit)) << 16 |
                       static_cast<uint64_t>(KelUChar::toLowerCase(unit)) << 32 |
                       static_cast<uint64_t>(KelUChar::isWhiteSpace(unit)) << 48;
  }
  return properties;
}

TEST(ConversionStressConcurrency, SixteenThreadsFromAColdStartSeeWhatOneThreadSees) {
  const std::string input = decodingInput();
  std::vector<std::vector<SetResults>> converted(kThreads);
  std::vector<std::vector<uint64_t>> classified(kThreads);
  kelulib_test::runTogether(kThreads, [&](int t) {
    const auto thread = static_cast<size_t>(t);
    // Half of the threads convert first, the other half classify first.
    if (t % 2 == 0) converted[thread] = convertAll(thread * 5, input);
    classified[thread] = classifyAll(static_cast<unsigned int>(t) * 0x1000u);
    if (t % 2 == 1) converted[thread] = convertAll(thread * 5, input);
  });

  const std::vector<SetResults> alone = convertAll(0, input);
  const std::vector<uint64_t> aloneClassified = classifyAll(0);
  for (size_t index = 0; index < kSetCount; ++index) {
    // The text's ASCII comes through every set, both ways.
    EXPECT_EQ(alone[index].encoded.substr(0, 4), "Stra") << "set " << kTableDrivenCharSets[index];
    EXPECT_EQ(alone[index].roundTrip.substr(0, 4), u"Stra")
        << "set " << kTableDrivenCharSets[index];
  }
  for (int t = 0; t < kThreads; ++t) {
    const auto thread = static_cast<size_t>(t);
    for (size_t index = 0; index < kSetCount; ++index) {
      EXPECT_TRUE(converted[thread][index] == alone[index])
          << "thread " << t << ", set " << kTableDrivenCharSets[index];
    }
    EXPECT_TRUE(classified[thread] == aloneClassified) << "thread " << t;
  }
}

}  // namespace

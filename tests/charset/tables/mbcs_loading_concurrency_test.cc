// Eight threads make the first calls of one fresh multi-byte converter at
// the same moment, each starting with a different operation: the tables
// (for EUC-JP and GB18030 also those behind the second lock) are built once,
// and every thread converts with all of them. Run under ThreadSanitizer by
// the tsan preset (ctest label "concurrency"); under AddressSanitizer a
// second build would show as a leak of the first.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "charset/tables/dbcs_byte_classes.h"
#include "charset/tables/dbcs_converter.h"
#include "charset/tables/euc_cn_kr_converter.h"
#include "charset/tables/euc_jp_converter.h"
#include "charset/tables/gb18030_converter.h"
#include "tests/support/conversion_runs.h"
#include "tests/support/run_together.h"

namespace {

constexpr int kThreads = 8;
constexpr auto kTestId = static_cast<KelCharSet>(60201);
constexpr size_t kUpToTheZero = static_cast<size_t>(-1);

// A text in both forms, and what the counts give for it.
struct Sample {
  std::string bytes;
  std::u16string units;
  size_t numUnits;
  size_t numBytes;
};

struct ThreadResults {
  std::u16string decoded;
  std::string encoded;
  size_t numUnits = 0;
  size_t numBytes = 0;
};

std::u16string decodeChecked(KelCharSetConverter& converter, const std::string& bytes) {
  const kelulib_test::DecodeRun run = kelulib_test::decodeRun(converter, bytes);
  return run.guardsIntact && run.terminated && !run.illegal ? run.output : u"<bad run>";
}

std::string encodeChecked(KelCharSetConverter& converter, const std::u16string& units) {
  const kelulib_test::EncodeRun run = kelulib_test::encodeRun(converter, units);
  return run.guardsIntact && run.terminated && !run.illegal ? run.output : "<bad run>";
}

// Thread t makes the four calls starting with call t % 4.
void expectSameResultsOnEveryThread(KelCharSetConverter& converter, const Sample& sample) {
  std::vector<ThreadResults> results(kThreads);
  kelulib_test::runTogether(kThreads, [&](int t) {
    ThreadResults& mine = results[t];
    for (int call = 0; call < 4; ++call) {
      switch ((t + call) % 4) {
        case 0:
          mine.decoded = decodeChecked(converter, sample.bytes);
          break;
        case 1:
          mine.encoded = encodeChecked(converter, sample.units);
          break;
        case 2:
          mine.numUnits = converter.getNumUnits(sample.bytes.c_str(), kUpToTheZero);
          break;
        default:
          mine.numBytes = converter.getNumBytes(sample.units.c_str(), kUpToTheZero);
          break;
      }
    }
  });
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(results[t].decoded, sample.units) << "thread " << t;
    EXPECT_EQ(results[t].encoded, sample.bytes) << "thread " << t;
    EXPECT_EQ(results[t].numUnits, sample.numUnits) << "thread " << t;
    EXPECT_EQ(results[t].numBytes, sample.numBytes) << "thread " << t;
  }
}

TEST(ConcurrentFirstMbcsConversion, DoubleByteTableLoadsOnceForAllThreads) {
  KelCharSetConverterDBCS converter("SYNTH-DBCS", kelulib::kJapaneseByteClasses.data(), kTestId);
  // U+20AC has two codes in SYNTH-DBCS; the higher one, 0x8150, is written.
  expectSameResultsOnEveryThread(converter, {"\x81\x40"
                                             "A\x81\x50",
                                             u"\u3000"
                                             u"A\u20AC",
                                             3, 5});
}

TEST(ConcurrentFirstMbcsConversion, ExtendedDoubleByteTableLoadsOnceForAllThreads) {
  KelCharSetConverterDBCSEx converter("SYNTH-DBCS-EX", kelulib::kJapaneseByteClasses.data(),
                                      kTestId);
  expectSameResultsOnEveryThread(converter, {"\x81\x41\x81\x40", u"\U00020000\u3000", 3, 4});
}

TEST(ConcurrentFirstMbcsConversion, EucCnKrTableLoadsOnceForAllThreads) {
  KelCharSetConverterEUC_CN_KR converter("SYNTH-ROWCELL", kTestId);
  expectSameResultsOnEveryThread(converter, {"\xB0\xA1"
                                             "A\xA1\xA1",
                                             u"\uAC00"
                                             u"A\u3000",
                                             3, 5});
}

TEST(ConcurrentFirstMbcsConversion, EucJpTablesLoadOnceUnderBothLocks) {
  KelCharSetConverterEUC_JP converter("SYNTH-ROWCELL", "SYNTH-JIS0201", "SYNTH-JIS0212", kTestId);
  expectSameResultsOnEveryThread(
      converter, {"\x8E\xB1\x8F\xA2\xAF\xA4\xA2\x80\xDC", u"\uFF71\u02D8\u3042\u00A5", 4, 9});
}

TEST(ConcurrentFirstMbcsConversion, Gb18030TableAndRangeIndexesBuildOnceUnderBothLocks) {
  KelCharSetConverterGB18030 converter("SYNTH-GBK", kTestId);
  expectSameResultsOnEveryThread(converter, {"\x81\x40\x81\x30\x81\x30\xA2\xE3\x90\x30\x81\x30",
                                             u"\u4E02\u0080\u20AC\U00010000", 5, 12});
}

TEST(ConcurrentFirstMbcsConversion, MissingTableLeavesEveryThreadUnmapped) {
  KelCharSetConverterDBCS converter("NO-SUCH-TABLE", kelulib::kJapaneseByteClasses.data(), kTestId);
  std::vector<kelulib_test::DecodeRun> runs(kThreads);
  kelulib_test::runTogether(kThreads,
                            [&](int t) { runs[t] = kelulib_test::decodeRun(converter, "AB"); });
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_TRUE(kelulib_test::wrote(runs[t], u"\uFFFD\uFFFD", true)) << "thread " << t;
  }
}

}  // namespace

// Eight threads make the first conversions of one fresh converter at the
// same moment: the converter loads its tables once, under its lock, and
// every thread converts with the whole table. Run under ThreadSanitizer by
// the tsan preset (ctest label "concurrency"); under AddressSanitizer a
// second load would show as a leak of the first one's tables.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "charset/tables/builtin_sbcs_tables.h"
#include "charset/tables/sbcs_converter.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/run_together.h"

namespace {

using kelulib_test::GuardedBuffer;

constexpr int kThreads = 8;
constexpr auto kTestId = static_cast<KelCharSet>(60200);

void runTogether(const std::function<void(int)>& work) {
  kelulib_test::runTogether(kThreads, work);
}

std::u16string toUtf16(KelCharSetConverter& converter, const std::string& bytes) {
  GuardedBuffer<wchar16> out(bytes.size() + 1);
  const size_t units =
      converter.toUTF16(out.data(), bytes.c_str(), bytes.size(), ILLCHAR_REPLACE, nullptr, -1);
  return out.guardsIntact() ? std::u16string(out.data(), units) : u"<overrun>";
}

std::string fromUtf16(KelCharSetConverter& converter, const std::u16string& units) {
  GuardedBuffer<char> out(units.size() + 1);
  const size_t bytes =
      converter.fromUTF16(out.data(), units.c_str(), units.size(), ILLCHAR_REPLACE, nullptr);
  return out.guardsIntact() ? std::string(out.data(), bytes) : "<overrun>";
}

// Half of the threads start with toUTF16, the other half with fromUTF16.
TEST(ConcurrentFirstConversion, MappingTableLoadsOnceForAllThreads) {
  KelCharSetConverterSBCS converter("SYNTH-SBCS", kTestId);
  std::vector<std::u16string> decoded(kThreads);
  std::vector<std::string> encoded(kThreads);
  runTogether([&](int t) {
    if (t % 2 == 0) decoded[t] = toUtf16(converter, "A\x80\x81\xC0");
    encoded[t] = fromUtf16(converter, u"\u20AC\u2603\u00E9");
    if (t % 2 == 1) decoded[t] = toUtf16(converter, "A\x80\x81\xC0");
  });
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(decoded[t], u"A\u20AC\u00E9\u2604") << "thread " << t;
    EXPECT_EQ(encoded[t], "\x82\xC0\x81") << "thread " << t;
  }
}

// A compiled-in table has its reverse table built by the first fromUTF16.
TEST(ConcurrentFirstConversion, CompiledInReverseTableIsBuiltOnceForAllThreads) {
  KelCharSetConverterSBCS converter(kelulib::kWindows1252ToUnicode, kTestId);
  std::vector<std::string> encoded(kThreads);
  runTogether([&](int t) { encoded[t] = fromUtf16(converter, u"a\u20AC\u0178\u00FF\u4E00"); });
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(encoded[t], "a\x80\x9F\xFF?") << "thread " << t;
  }
}

// A table that is not there: every thread's every call tries again and
// converts nothing.
TEST(ConcurrentFirstConversion, MissingTableConvertsNothingOnEveryThread) {
  KelCharSetConverterSBCS converter("NO-SUCH-TABLE", kTestId);
  std::vector<std::u16string> decoded(kThreads);
  std::vector<std::string> encoded(kThreads);
  runTogether([&](int t) {
    decoded[t] = toUtf16(converter, "abc");
    encoded[t] = fromUtf16(converter, u"abc");
  });
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(decoded[t], u"") << "thread " << t;
    EXPECT_EQ(encoded[t], "") << "thread " << t;
  }
}

}  // namespace

// KelCharSetConverter::getConverter: which converter serves which id, the
// UTF-8 fallback, and the identity of the singletons.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <string>

namespace {

KelCharSetConverter* converterOf(int id) {
  return KelCharSetConverter::getConverter(static_cast<KelCharSet>(id));
}

std::string idName(const testing::TestParamInfo<int>& info) {
  return (info.param < 0 ? "Minus" : "Id") + std::to_string(info.param < 0 ? -info.param : info.param);
}

TEST(Registry, GetConverterIsNeverNull) {
  for (int id = -100; id <= 70000; ++id) ASSERT_NE(converterOf(id), nullptr) << id;
}

TEST(Registry, Utf8IdGivesTheUtf8Converter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF8*>(converterOf(65001)), nullptr);
}

TEST(Registry, Utf8ConverterIsTheSameOnEveryCall) {
  KelCharSetConverter* first = KelCharSetConverter::getConverter(KelCS_UTF8);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(KelCharSetConverter::getConverter(KelCS_UTF8), first);
}

TEST(Registry, OsDefaultConverterIsTheSameOnEveryCall) {
  KelCharSetConverter* first = KelCharSetConverter::getConverter(KelCS_OS_DEFAULT);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(KelCharSetConverter::getConverter(KelCS_OS_DEFAULT), first);
}

// Ids of the character-set table that never have a converter of their own,
// and code pages outside the table, all get the UTF-8 converter.
class RegistryFallsBackToUtf8 : public testing::TestWithParam<int> {};

TEST_P(RegistryFallsBackToUtf8, ForIdWithoutConverter) {
  EXPECT_EQ(converterOf(GetParam()), converterOf(65001));
}

INSTANTIATE_TEST_SUITE_P(IdsWithoutConverter, RegistryFallsBackToUtf8,
                         testing::Values(50220, 50221, 50222, 50223, 50224, 50225, 50227, 50228,
                                         50229, 51950, 1201, 12001, 437, 850, 0, -1, 1, 20127,
                                         65000, 2147483647),
                         idName);

TEST(Registry, Windows1252IsASingleByteConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterSBCS*>(converterOf(1252)), nullptr);
}

TEST(Registry, Iso88591IsASingleByteConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterSBCS*>(converterOf(28591)), nullptr);
}

TEST(Registry, Utf16IdGivesTheUtf16Converter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF16*>(converterOf(1200)), nullptr);
}

TEST(Registry, Utf16EscIdGivesTheEscapeConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF16Esc*>(converterOf(1202)), nullptr);
}

TEST(Registry, Utf32IdGivesTheUtf32Converter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF32*>(converterOf(12000)), nullptr);
}

TEST(Registry, EveryRegisteredIdHasItsOwnConverter) {
  const int ids[] = {1250,  1251,  1252,  1253,  1254,  1255,  1256,  1257,  1258,  874,
                     28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28600,
                     28601, 28603, 28604, 28605, 28606, 20866, 932,   936,   949,   950,
                     54936, 30950, 30932, 30933, 51949, 51936, 51932, 65001, 1200,  12000,
                     1202};
  std::set<KelCharSetConverter*> converters;
  for (int id : ids) converters.insert(converterOf(id));
  EXPECT_EQ(converters.size(), std::size(ids));
}

TEST(Registry, SingleByteConvertersDifferInTheirTables) {
  // 0x80 is the euro sign in Windows-1252 and U+0080 in ISO 8859-1.
  wchar16 out[2];
  converterOf(1252)->toUTF16(out, "\x80", 1, ILLCHAR_REPLACE, nullptr, -1);
  EXPECT_EQ(out[0], 0x20AC);
  converterOf(28591)->toUTF16(out, "\x80", 1, ILLCHAR_REPLACE, nullptr, -1);
  EXPECT_EQ(out[0], 0x0080);
}

}  // namespace

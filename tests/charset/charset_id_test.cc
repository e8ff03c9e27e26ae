#include "charset/charset_id.h"

#include <gtest/gtest.h>

#include <set>
#include <type_traits>

namespace {

struct IdRow {
  KelCharSet id;
  int32_t value;
};

// Every character-set id with the code-page number it must carry.
constexpr IdRow kIds[] = {
    {KelCS_ISO_8859_1, 28591},  {KelCS_ISO_8859_2, 28592},  {KelCS_ISO_8859_3, 28593},
    {KelCS_ISO_8859_4, 28594},  {KelCS_ISO_8859_5, 28595},  {KelCS_ISO_8859_6, 28596},
    {KelCS_ISO_8859_7, 28597},  {KelCS_ISO_8859_8, 28598},  {KelCS_ISO_8859_9, 28599},
    {KelCS_ISO_8859_10, 28600}, {KelCS_ISO_8859_11, 28601}, {KelCS_ISO_8859_13, 28603},
    {KelCS_ISO_8859_14, 28604}, {KelCS_ISO_8859_15, 28605}, {KelCS_ISO_8859_16, 28606},
    {KelCS_ISO_2022JP, 50220},  {KelCS_ISO_2022JP_1, 50221}, {KelCS_ISO_2022JP_2, 50222},
    {KelCS_ISO_2022JP_3, 50223}, {KelCS_ISO_2022JP_2004, 50224}, {KelCS_ISO_2022KR, 50225},
    {KelCS_ISO_2022CN, 50227},  {KelCS_ISO_2022CN_EXT, 50228}, {KelCS_ISO_2022TW, 50229},
    {KelCS_WCP1250, 1250},      {KelCS_WCP1251, 1251},      {KelCS_WCP1252, 1252},
    {KelCS_WCP1253, 1253},      {KelCS_WCP1254, 1254},      {KelCS_WCP1255, 1255},
    {KelCS_WCP1256, 1256},      {KelCS_WCP1257, 1257},      {KelCS_WCP1258, 1258},
    {KelCS_WCP874, 874},        {KelCS_WCP932, 932},        {KelCS_WCP936, 936},
    {KelCS_WCP949, 949},        {KelCS_WCP950, 950},        {KelCS_KOI8R, 20866},
    {KelCS_GB18030, 54936},     {KelCS_BIG5, 30950},        {KelCS_SHIFTJIS, 30932},
    {KelCS_SJIS0213, 30933},    {KelCS_EUC_JP, 51932},      {KelCS_EUC_CN, 51936},
    {KelCS_EUC_KR, 51949},      {KelCS_EUC_TW, 51950},      {KelCS_UTF8, 65001},
    {KelCS_UTF16, 1200},        {KelCS_UTF16BE, 1201},      {KelCS_UTF16ESC, 1202},
    {KelCS_UTF32, 12000},       {KelCS_UTF32BE, 12001},     {KelCS_OS_DEFAULT, -2},
};

TEST(CharSetId, IsA32BitSignedEnumeration) {
  static_assert(std::is_same_v<std::underlying_type_t<KelCharSet>, int32_t>);
  static_assert(std::is_convertible_v<KelCharSet, int32_t>, "unscoped: converts to its value");
  EXPECT_EQ(sizeof(KelCharSet), 4u);
}

TEST(CharSetId, EveryIdHasItsCodePageNumber) {
  for (const IdRow& row : kIds) EXPECT_EQ(static_cast<int32_t>(row.id), row.value);
}

TEST(CharSetId, TableHasFiftyFourDistinctIds) {
  std::set<int32_t> values;
  for (const IdRow& row : kIds) values.insert(row.id);
  EXPECT_EQ(std::size(kIds), 54u);
  EXPECT_EQ(values.size(), 54u);
}

TEST(CharSetId, OsDefaultIsMinusTwo) { EXPECT_EQ(KelCS_OS_DEFAULT, -2); }

TEST(CharSetId, AnyCodePageNumberIsRepresentable) {
  const auto cp437 = static_cast<KelCharSet>(437);
  EXPECT_EQ(static_cast<int32_t>(cp437), 437);
}

}  // namespace

// Every character set with the name the library documents for it, shared
// by the name tests.
#ifndef KELULIB_TESTS_CHARSET_CHARSET_NAME_ROWS_H_
#define KELULIB_TESTS_CHARSET_CHARSET_NAME_ROWS_H_

#include <cstdint>

#include "charset/charset_id.h"

namespace kelulib_test {

struct NameRow {
  int32_t id;
  const char* name;
};

inline const NameRow kNames[] = {
    {28591, "KelCS_ISO_8859_1"},   {28592, "KelCS_ISO_8859_2"},   {28593, "KelCS_ISO_8859_3"},
    {28594, "KelCS_ISO_8859_4"},   {28595, "KelCS_ISO_8859_5"},   {28596, "KelCS_ISO_8859_6"},
    {28597, "KelCS_ISO_8859_7"},   {28598, "KelCS_ISO_8859_8"},   {28599, "KelCS_ISO_8859_9"},
    {28600, "KelCS_ISO_8859_10"},  {28601, "KelCS_ISO_8859_11"},  {28603, "KelCS_ISO_8859_13"},
    {28604, "KelCS_ISO_8859_14"},  {28605, "KelCS_ISO_8859_15"},  {28606, "KelCS_ISO_8859_16"},
    {50220, "KelCS_ISO_2022JP"},   {50221, "KelCS_ISO_2022JP_1"}, {50222, "KelCS_ISO_2022JP_2"},
    {50223, "KelCS_ISO_2022JP_3"}, {50224, "KelCS_ISO_2022JP_2004"}, {50225, "KelCS_ISO_2022KR"},
    {50227, "KelCS_ISO_2022CN"},   {50228, "KelCS_ISO_2022CN_EXT"}, {50229, "KelCS_ISO_2022TW"},
    {1250, "KelCS_WCP1250"},       {1251, "KelCS_WCP1251"},       {1252, "KelCS_WCP1252"},
    {1253, "KelCS_WCP1253"},       {1254, "KelCS_WCP1254"},       {1255, "KelCS_WCP1255"},
    {1256, "KelCS_WCP1256"},       {1257, "KelCS_WCP1257"},       {1258, "KelCS_WCP1258"},
    {874, "KelCS_WCP874"},         {932, "KelCS_WCP932"},         {936, "KelCS_WCP936"},
    {949, "KelCS_WCP949"},         {950, "KelCS_WCP950"},         {20866, "KelCS_KOI8R"},
    {54936, "KelCS_GB18030"},      {30950, "KelCS_BIG5"},         {30932, "KelCS_SHIFTJIS"},
    {30933, "KelCS_SJIS0213"},     {51932, "KelCS_EUC_JP"},       {51936, "KelCS_EUC_CN"},
    {51949, "KelCS_EUC_KR"},       {51950, "KelCS_EUC_TW"},       {65001, "KelCS_UTF8"},
    {1200, "KelCS_UTF16"},         {1201, "KelCS_UTF16BE"},       {1202, "KelCS_UTF16ESC"},
    {12000, "KelCS_UTF32"},        {12001, "KelCS_UTF32BE"},      {-2, "KelCS_OS_DEFAULT"},
};

inline KelCharSet charSet(int32_t id) { return static_cast<KelCharSet>(id); }

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_CHARSET_CHARSET_NAME_ROWS_H_

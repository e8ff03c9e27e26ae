// The character sets whose converters work from mapping tables (the
// single-byte sets, two of them on tables compiled in, the double-byte
// sets, Shift_JIS-2004, EUC and GB18030), for the tests and fuzz targets
// that go through all of them.
#ifndef KELULIB_TESTS_SUPPORT_CHARSET_SETS_H_
#define KELULIB_TESTS_SUPPORT_CHARSET_SETS_H_

#include <KelULib.h>

#include <cstddef>

namespace kelulib_test {

inline constexpr KelCharSet kTableDrivenCharSets[] = {
    KelCS_WCP1250,     KelCS_WCP1251,     KelCS_WCP1252,     KelCS_WCP1253,     KelCS_WCP1254,
    KelCS_WCP1255,     KelCS_WCP1256,     KelCS_WCP1257,     KelCS_WCP1258,     KelCS_WCP874,
    KelCS_ISO_8859_1,  KelCS_ISO_8859_2,  KelCS_ISO_8859_3,  KelCS_ISO_8859_4,  KelCS_ISO_8859_5,
    KelCS_ISO_8859_6,  KelCS_ISO_8859_7,  KelCS_ISO_8859_8,  KelCS_ISO_8859_9,  KelCS_ISO_8859_10,
    KelCS_ISO_8859_11, KelCS_ISO_8859_13, KelCS_ISO_8859_14, KelCS_ISO_8859_15, KelCS_ISO_8859_16,
    KelCS_KOI8R,       KelCS_WCP932,      KelCS_WCP936,      KelCS_WCP949,      KelCS_WCP950,
    KelCS_BIG5,        KelCS_SHIFTJIS,    KelCS_SJIS0213,    KelCS_EUC_JP,      KelCS_EUC_CN,
    KelCS_EUC_KR,      KelCS_GB18030};

inline constexpr size_t kTableDrivenCharSetCount =
    sizeof(kTableDrivenCharSets) / sizeof(kTableDrivenCharSets[0]);

inline constexpr bool isTableDriven(KelCharSet id) {
  for (KelCharSet set : kTableDrivenCharSets) {
    if (set == id) return true;
  }
  return false;
}

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_CHARSET_SETS_H_

// Every process-wide object of the library, defined in this one translation
// unit so that they are built in the order below when the library is loaded
// and destroyed in the reverse order when it is unloaded:
//   0. the library's module (on Windows the handle whose resources hold the
//      mapping tables),
//   1. the table-driven converters (tables not yet loaded),
//   2. the algorithmic converters,
//   3. the registry (operating-system code page, converter map),
//   4. the character-property tables of KelUChar (not yet built).
// Objects of later subsystems join the end of this list.
#include "charset/registry.h"
#include "charset/tables/builtin_sbcs_tables.h"
#include "charset/tables/dbcs_byte_classes.h"
#include "charset/tables/dbcs_converter.h"
#include "charset/tables/euc_cn_kr_converter.h"
#include "charset/tables/euc_jp_converter.h"
#include "charset/tables/gb18030_converter.h"
#include "charset/tables/sbcs_converter.h"
#include "charset/unicode/utf16_converters.h"
#include "charset/unicode/utf32_converter.h"
#include "charset/unicode/utf8_converter.h"
#include "platform/library_module.h"
#include "platform/os_code_page.h"
#include "uchar/uchar.h"
#include "uchar/uchar_table_data.h"

namespace {

// 0. The module whose resources the converters load their tables from.
const kelulib::LibraryModule g_libraryModule;

// 1. Table-driven converters: the single-byte sets on compiled-in tables,
// then those on mapping tables, then the multi-byte sets, each finding its
// tables by the names it is given.
KelCharSetConverterSBCS g_windows1252(kelulib::kWindows1252ToUnicode, KelCS_WCP1252);
KelCharSetConverterSBCS g_iso88591(kelulib::kIso88591ToUnicode, KelCS_ISO_8859_1);
KelCharSetConverterSBCS g_windows1250("CP1250", KelCS_WCP1250);
KelCharSetConverterSBCS g_windows1251("CP1251", KelCS_WCP1251);
KelCharSetConverterSBCS g_windows1253("CP1253", KelCS_WCP1253);
KelCharSetConverterSBCS g_windows1254("CP1254", KelCS_WCP1254);
KelCharSetConverterSBCS g_windows1255("CP1255", KelCS_WCP1255);
KelCharSetConverterSBCS g_windows1256("CP1256", KelCS_WCP1256);
KelCharSetConverterSBCS g_windows1257("CP1257", KelCS_WCP1257);
KelCharSetConverterSBCS g_windows1258("CP1258", KelCS_WCP1258);
KelCharSetConverterSBCS g_windows874("CP874", KelCS_WCP874);
KelCharSetConverterSBCS g_iso88592("8859-2", KelCS_ISO_8859_2);
KelCharSetConverterSBCS g_iso88593("8859-3", KelCS_ISO_8859_3);
KelCharSetConverterSBCS g_iso88594("8859-4", KelCS_ISO_8859_4);
KelCharSetConverterSBCS g_iso88595("8859-5", KelCS_ISO_8859_5);
KelCharSetConverterSBCS g_iso88596("8859-6", KelCS_ISO_8859_6);
KelCharSetConverterSBCS g_iso88597("8859-7", KelCS_ISO_8859_7);
KelCharSetConverterSBCS g_iso88598("8859-8", KelCS_ISO_8859_8);
KelCharSetConverterSBCS g_iso88599("8859-9", KelCS_ISO_8859_9);
KelCharSetConverterSBCS g_iso885910("8859-10", KelCS_ISO_8859_10);
KelCharSetConverterSBCS g_iso885911("8859-11", KelCS_ISO_8859_11);
KelCharSetConverterSBCS g_iso885913("8859-13", KelCS_ISO_8859_13);
KelCharSetConverterSBCS g_iso885914("8859-14", KelCS_ISO_8859_14);
KelCharSetConverterSBCS g_iso885915("8859-15", KelCS_ISO_8859_15);
KelCharSetConverterSBCS g_iso885916("8859-16", KelCS_ISO_8859_16);
KelCharSetConverterSBCS g_koi8r("KOI8R", KelCS_KOI8R);
KelCharSetConverterDBCS g_windows932("CP932", kelulib::kJapaneseByteClasses.data(), KelCS_WCP932);
KelCharSetConverterDBCS g_windows936("CP936", kelulib::kSimplifiedChineseByteClasses.data(),
                                     KelCS_WCP936);
KelCharSetConverterDBCS g_windows949("CP949", kelulib::kKoreanByteClasses.data(), KelCS_WCP949);
KelCharSetConverterDBCS g_windows950("CP950", kelulib::kTraditionalChineseByteClasses.data(),
                                     KelCS_WCP950);
KelCharSetConverterGB18030 g_gb18030("GBK", KelCS_GB18030);
KelCharSetConverterDBCS g_big5("BIG5", kelulib::kBig5ByteClasses.data(), KelCS_BIG5);
KelCharSetConverterDBCS g_shiftJis("SHIFTJIS", kelulib::kJapaneseByteClasses.data(),
                                   KelCS_SHIFTJIS);
KelCharSetConverterDBCSEx g_shiftJis2004("SJIS0213", kelulib::kJapaneseByteClasses.data(),
                                         KelCS_SJIS0213);
KelCharSetConverterEUC_CN_KR g_eucKr("KSX1001", KelCS_EUC_KR);
KelCharSetConverterEUC_CN_KR g_eucCn("GB2312", KelCS_EUC_CN);
KelCharSetConverterEUC_JP g_eucJp("JIS0208", "JIS0201", "JIS0212", KelCS_EUC_JP);

// 2. Algorithmic converters.
KelCharSetConverterUTF8 g_utf8;
KelCharSetConverterUTF16 g_utf16;
KelCharSetConverterUTF32 g_utf32;
KelCharSetConverterUTF16Esc g_utf16Esc;

// 3. The registry. Character sets without a converter of their own fall
// back to UTF-8.
KelCharSetRegistry g_registry(kelulib::readOsCodePage(),
                              {
                                  {KelCS_WCP1250, &g_windows1250},
                                  {KelCS_WCP1251, &g_windows1251},
                                  {KelCS_WCP1252, &g_windows1252},
                                  {KelCS_WCP1253, &g_windows1253},
                                  {KelCS_WCP1254, &g_windows1254},
                                  {KelCS_WCP1255, &g_windows1255},
                                  {KelCS_WCP1256, &g_windows1256},
                                  {KelCS_WCP1257, &g_windows1257},
                                  {KelCS_WCP1258, &g_windows1258},
                                  {KelCS_WCP874, &g_windows874},
                                  {KelCS_ISO_8859_1, &g_iso88591},
                                  {KelCS_ISO_8859_2, &g_iso88592},
                                  {KelCS_ISO_8859_3, &g_iso88593},
                                  {KelCS_ISO_8859_4, &g_iso88594},
                                  {KelCS_ISO_8859_5, &g_iso88595},
                                  {KelCS_ISO_8859_6, &g_iso88596},
                                  {KelCS_ISO_8859_7, &g_iso88597},
                                  {KelCS_ISO_8859_8, &g_iso88598},
                                  {KelCS_ISO_8859_9, &g_iso88599},
                                  {KelCS_ISO_8859_10, &g_iso885910},
                                  {KelCS_ISO_8859_11, &g_iso885911},
                                  {KelCS_ISO_8859_13, &g_iso885913},
                                  {KelCS_ISO_8859_14, &g_iso885914},
                                  {KelCS_ISO_8859_15, &g_iso885915},
                                  {KelCS_ISO_8859_16, &g_iso885916},
                                  {KelCS_KOI8R, &g_koi8r},
                                  {KelCS_WCP932, &g_windows932},
                                  {KelCS_WCP936, &g_windows936},
                                  {KelCS_WCP949, &g_windows949},
                                  {KelCS_WCP950, &g_windows950},
                                  {KelCS_GB18030, &g_gb18030},
                                  {KelCS_BIG5, &g_big5},
                                  {KelCS_SHIFTJIS, &g_shiftJis},
                                  {KelCS_SJIS0213, &g_shiftJis2004},
                                  {KelCS_EUC_KR, &g_eucKr},
                                  {KelCS_EUC_CN, &g_eucCn},
                                  {KelCS_EUC_JP, &g_eucJp},
                                  {KelCS_UTF8, &g_utf8},
                                  {KelCS_UTF16, &g_utf16},
                                  {KelCS_UTF32, &g_utf32},
                                  {KelCS_UTF16ESC, &g_utf16Esc},
                              },
                              &g_utf8);

}  // namespace

// 4. Character properties: class bits per unit, and the case mappings, whose
// ranges map unit first + k to value + k.
KelUCharTable KelUChar::m_gCharClassTable(kelulib::kCharClassRanges, false);
KelUCharTable KelUChar::m_gUpperCaseTable(kelulib::kUpperCaseRanges, true);
KelUCharTable KelUChar::m_gLowerCaseTable(kelulib::kLowerCaseRanges, true);

namespace kelulib {

const KelCharSetRegistry& charSetRegistry() { return g_registry; }

}  // namespace kelulib

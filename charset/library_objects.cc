// Every process-wide object of the library, defined in this one translation
// unit so that they are built in the order below when the library is loaded
// and destroyed in the reverse order when it is unloaded:
//   1. the table-driven converters (tables not yet loaded),
//   2. the algorithmic converters,
//   3. the registry (operating-system code page, converter map),
//   4. the character-property tables of KelUChar (not yet built).
// Objects of later subsystems join the end of this list.
#include "charset/registry.h"
#include "charset/tables/builtin_sbcs_tables.h"
#include "charset/tables/sbcs_converter.h"
#include "charset/unicode/utf16_converters.h"
#include "charset/unicode/utf32_converter.h"
#include "charset/unicode/utf8_converter.h"
#include "platform/os_code_page.h"
#include "uchar/uchar.h"
#include "uchar/uchar_table_data.h"

namespace {

// 1. Table-driven converters.
KelCharSetConverterSBCS g_windows1252(kelulib::kWindows1252ToUnicode, KelCS_WCP1252);
KelCharSetConverterSBCS g_iso88591(kelulib::kIso88591ToUnicode, KelCS_ISO_8859_1);

// 2. Algorithmic converters.
KelCharSetConverterUTF8 g_utf8;
KelCharSetConverterUTF16 g_utf16;
KelCharSetConverterUTF32 g_utf32;
KelCharSetConverterUTF16Esc g_utf16Esc;

// 3. The registry. Character sets whose converter class is not part of the
// library yet fall back to UTF-8 like every id without a converter.
KelCharSetRegistry g_registry(kelulib::readOsCodePage(),
                              {
                                  {KelCS_WCP1252, &g_windows1252},
                                  {KelCS_ISO_8859_1, &g_iso88591},
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

// //TRANSLIT: a character the target set lacks is written as the closest
// text that a small table knows for it (accented Latin letters as their base
// letter, typographic quotation marks, dashes, the ellipsis, spaces, a few
// signs), when the target can write that text.
#ifndef KELULIB_TOOLS_KELCONV_TRANSLITERATION_H_
#define KELULIB_TOOLS_KELCONV_TRANSLITERATION_H_

#include <KelULib.h>

#include <cstddef>
#include <cstdint>

namespace kelconv {

struct TransliterationEntry {
  uint32_t character;
  const char* text;  // ASCII
};

// The table, sorted by character (tools/kelconv/transliteration_table.cc,
// made by tools/make_transliteration_table.py).
extern const TransliterationEntry kTransliterations[];
extern const size_t kTransliterationCount;

// The table's text for `character`, or nullptr.
const char* transliterationOf(uint32_t character);

// KelStreamSubstituteFunction over the table (the context is not used).
size_t transliterate(void* context, uint32_t character, wchar16* units, size_t room);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_TRANSLITERATION_H_

#include "tools/kelconv/transliteration.h"

#include <algorithm>

namespace kelconv {

const char* transliterationOf(uint32_t character) {
  const TransliterationEntry* end = kTransliterations + kTransliterationCount;
  const TransliterationEntry* found = std::lower_bound(
      kTransliterations, end, character,
      [](const TransliterationEntry& entry, uint32_t wanted) { return entry.character < wanted; });
  return found != end && found->character == character ? found->text : nullptr;
}

size_t transliterate(void*, uint32_t character, wchar16* units, size_t room) {
  const char* text = transliterationOf(character);
  if (text == nullptr) return 0;
  size_t count = 0;
  for (; text[count] != '\0'; ++count) {
    if (count == room) return 0;
    units[count] = static_cast<unsigned char>(text[count]);
  }
  return count;
}

}  // namespace kelconv

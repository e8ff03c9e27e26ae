/* Uses the flat functions from C through the one public header. */
#include <KelULib.h>

#include <stdio.h>
#include <string.h>

int main(void) {
  wchar16 units[8];
  char utf8[8];
  if (UTF8ToUTF16(units, "a\xC3\xA9", 8) != 2 || units[0] != 'a' || units[1] != 0xE9) {
    puts("UTF8ToUTF16 did not give a, U+00E9");
    return 1;
  }
  if (UTF16ToUTF8(utf8, units, sizeof utf8) != 3 || strcmp(utf8, "a\xC3\xA9") != 0) {
    puts("UTF16ToUTF8 did not give back the UTF-8 text");
    return 1;
  }
  if (GetMaxUnitSize(KelCS_UTF8) != 3 || GetNullCharSize(KelCS_UTF16) != 2) {
    puts("unit sizes are wrong");
    return 1;
  }
  if (strcmp(KelCharSetToString(KelCS_BIG5), "KelCS_BIG5") != 0 ||
      KelCharSetFromString("KelCS_EUC_KR") != KelCS_EUC_KR) {
    puts("the character-set names are wrong");
    return 1;
  }
  puts("consumer_c: ok");
  return 0;
}

/* The flat functions from C: whole buffers between a local character set,
 * UTF-8 and UTF-16, the unit sizes of a character set, and the names of
 * the character sets. */
#include <KelULib.h>

#include <stdio.h>

int main(void) {
  wchar16 units[64];
  char utf8[64];
  char local[64];
  char path[64];
  size_t n;

  n = LocalToUTF8(utf8, "Caf\xE9 \x80 5", sizeof utf8, KelCS_WCP1252);
  printf("Windows-1252 to UTF-8: %s (%u bytes)\n", utf8, (unsigned)n);

  n = UTF8ToUTF16(units, utf8, 64);
  printf("UTF-8 to UTF-16: %u units\n", (unsigned)n);

  /* ISO 8859-1 lacks the euro sign: it becomes "?". */
  n = UTF16ToLocal(local, units, sizeof local, KelCS_ISO_8859_1);
  LocalToUTF8(utf8, local, sizeof utf8, KelCS_ISO_8859_1);
  printf("UTF-16 to ISO 8859-1: %s (%u bytes)\n", utf8, (unsigned)n);

  /* Text that is not valid in the named set is read as ISO 8859-1. */
  LocalToUTF8(utf8, "na\xEFve", sizeof utf8, KelCS_UTF8);
  printf("Invalid UTF-8 read as ISO 8859-1: %s\n", utf8);

  /* A file name in the operating system's character set: what it lacks is
   * escaped as "U+XXXX", and read back whole. */
  UTF8ToLocalPath(path, "report-\xE4\xB8\xAD.txt", sizeof path);
  LocalPathToUTF8(utf8, path, sizeof utf8);
  printf("Path out: %s, back: %s\n", path, utf8);

  printf("Largest unit in UTF-8: %u bytes; UTF-16's zero: %u bytes\n",
         (unsigned)GetMaxUnitSize(KelCS_UTF8), (unsigned)GetNullCharSize(KelCS_UTF16));

  /* Character sets by name: the name belongs to the library, never free it.
   * Names match exactly; anything unknown is KelCS_OS_DEFAULT (-2). */
  printf("Name of %d: %s; id of \"KelCS_SHIFTJIS\": %d; of \"utf8\": %d\n",
         (int)KelCS_WCP1252, KelCharSetToString(KelCS_WCP1252),
         (int)KelCharSetFromString("KelCS_SHIFTJIS"), (int)KelCharSetFromString("utf8"));
  return 0;
}

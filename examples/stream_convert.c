/* Conversion in pieces from C: converts standard input from one character
 * set to another and writes standard output, reading a small piece at a
 * time. A character cut between two pieces converts exactly as if whole.
 *
 *   stream_convert [FROM [TO]]     (code page numbers; 30932 Shift_JIS and
 *                                   65001 UTF-8 by default)
 *
 * Stops at the first byte sequence that is not valid in FROM, or the first
 * character that TO lacks, with a message giving its offset; exit status 1. */
#include <KelULib.h>
#include <stdio.h>
#include <stdlib.h>
#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

/* Receives the converted bytes. */
static int writeOut(void* context, const void* bytes, size_t size) {
  return fwrite(bytes, 1, size, (FILE*)context) == size ? 0 : 1;
}

int main(int argc, char** argv) {
  KelCharSet from = argc > 1 ? (KelCharSet)atoi(argv[1]) : KelCS_SHIFTJIS;
  KelCharSet to = argc > 2 ? (KelCharSet)atoi(argv[2]) : KelCS_UTF8;
  KelStreamConverter* stream = KelStreamCreate(from, to, KEL_STREAM_STOP, writeOut, stdout);
  KelStreamFailure failure;
  KelStreamStatus status = KEL_STREAM_OK;
  char piece[7]; /* small on purpose: characters are cut between pieces */
  size_t got;

  if (stream == NULL) return 2;
#if defined(_WIN32)
  /* Bytes in and out as they are: no line-end translation, no end at ^Z. */
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
#endif
  while (status == KEL_STREAM_OK && (got = fread(piece, 1, sizeof piece, stdin)) > 0) {
    status = KelStreamConvert(stream, piece, got);
  }
  if (status == KEL_STREAM_OK) status = KelStreamFinish(stream);

  KelStreamGetFailure(stream, &failure);
  KelStreamDestroy(stream);
  switch (status) {
    case KEL_STREAM_OK:
      return 0;
    case KEL_STREAM_INVALID_INPUT:
      fprintf(stderr, "invalid input at byte %llu\n", (unsigned long long)failure.offset);
      return 1;
    case KEL_STREAM_UNREPRESENTABLE:
      fprintf(stderr, "U+%04lX at byte %llu cannot be converted\n",
              (unsigned long)failure.character, (unsigned long long)failure.offset);
      return 1;
    default:
      fprintf(stderr, "cannot write the output\n");
      return 2;
  }
}

// Runs a conversion over files: reads each input in chunks, feeds the
// library's stream converter (in the byte order the source set asks for),
// writes its output (with the byte-order mark and byte order the target set
// asks for), shows progress and reports errors.
#ifndef KELULIB_TOOLS_KELCONV_FILE_CONVERSION_H_
#define KELULIB_TOOLS_KELCONV_FILE_CONVERSION_H_

#include <KelULib.h>

#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "tools/kelconv/charset_catalog.h"
#include "tools/kelconv/progress_bar.h"

namespace kelconv {

// Exit statuses.
constexpr int kExitConverted = 0;
constexpr int kExitUnconvertible = 1;  // stopped, or left characters out
constexpr int kExitTrouble = 2;        // usage error, unreadable or unwritable file

// One side of a conversion.
struct Endpoint {
  const CharSetEntry* entry = nullptr;  // never the operating system's: resolved
  std::string name;                     // for messages: as the user typed it
};

struct ConversionJob {
  Endpoint from;
  Endpoint to;
  KelStreamPolicy policy = KEL_STREAM_REPLACE;
  bool transliterate = false;        // //TRANSLIT
  bool addByteOrderMark = false;     // --bom
  bool silent = false;               // -s: no warnings
  std::vector<std::string> inputs;   // file names; "-" or none: standard input
  std::string outputName;            // for messages
  ProgressMode progress = ProgressMode::kAuto;
};

struct ConversionResult {
  int status = kExitConverted;
  bool complete = true;  // every input was read and converted to its end
};

// Converts the inputs in turn into `output`, one after the other. A file
// that cannot be read is reported and skipped; the first character that
// cannot be converted under KEL_STREAM_STOP ends the run, reported with its
// file and byte offset, after everything before it has been written.
// Characters left out (KEL_STREAM_SKIP) are counted in a warning per file.
// Messages go to `messages`, each line starting "kelconv: ". The status is
// kExitTrouble if any file could not be read or the output not written,
// else kExitUnconvertible if the conversion stopped or left anything out,
// else kExitConverted.
ConversionResult runConversion(const ConversionJob& job, std::FILE* output,
                               std::ostream& messages);

// Whether `entry` is a Unicode form, whose output may start with a
// byte-order mark.
bool isUnicodeForm(const CharSetEntry& entry);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_FILE_CONVERSION_H_

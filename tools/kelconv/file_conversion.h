// Runs a conversion over files: reads each input in chunks, feeds the
// stream converter, writes its output, shows progress and reports errors.
#ifndef KELULIB_TOOLS_KELCONV_FILE_CONVERSION_H_
#define KELULIB_TOOLS_KELCONV_FILE_CONVERSION_H_

#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "tools/kelconv/progress_bar.h"
#include "tools/kelconv/stream_converter.h"

namespace kelconv {

// Exit statuses.
constexpr int kExitConverted = 0;
constexpr int kExitUnconvertible = 1;
constexpr int kExitTrouble = 2;  // usage error, unreadable or unwritable file

struct ConversionJob {
  StreamSettings settings;          // ids resolved, both with converters
  std::vector<std::string> inputs;  // file names; "-" or none: standard input
  std::string outputName;           // for messages
  ProgressMode progress = ProgressMode::kAuto;
};

// Converts the inputs in turn into `output`, one after the other. A file
// that cannot be read is reported and skipped; the first character that
// cannot be converted under Policy::kStop ends the run, reported with its
// file and byte offset, after everything before it has been written.
// Messages go to `messages`, each line starting "kelconv: ". Returns the
// exit status: kExitTrouble if any file could not be read or the output not
// written, else kExitUnconvertible if the conversion stopped, else
// kExitConverted.
int runConversion(const ConversionJob& job, std::FILE* output, std::ostream& messages);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_FILE_CONVERSION_H_

// kelconv's command line: what the user asked for, and the help text.
#ifndef KELULIB_TOOLS_KELCONV_COMMAND_LINE_H_
#define KELULIB_TOOLS_KELCONV_COMMAND_LINE_H_

#include <string>
#include <vector>

#include "tools/kelconv/progress_bar.h"

namespace kelconv {

// What becomes of a character that cannot be converted (--policy).
enum class Policy {
  kReplace,  // U+FFFD when reading, "?" when writing
  kEscape,   // U+FFFD when reading, "U+XXXX" when writing
  kStop,     // the conversion ends before it
};

struct Options {
  enum class Action { kConvert, kList, kHelp, kVersion };
  Action action = Action::kConvert;
  std::string from;    // as given (with any //SUFFIX); empty: the operating system's set
  std::string to;      // as given (with any //SUFFIX); empty: the operating system's set
  std::string output;  // empty: standard output
  std::vector<std::string> inputs;  // empty: standard input; "-" too
  Policy policy = Policy::kReplace;
  bool strict = false;
  bool omitUnconvertible = false;  // -c
  bool silent = false;             // -s: no warnings
  bool addByteOrderMark = false;
  ProgressMode progress = ProgressMode::kAuto;
};

struct ParsedCommandLine {
  Options options;
  std::string error;  // a usage error, or empty
};

// Reads the arguments after the program name. Options may come anywhere
// before "--"; "--name=value", "--name value", "-fvalue" and "-f value" are
// all accepted, and the one-letter flags together ("-cs"). Character-set
// names are not looked up here.
ParsedCommandLine parseCommandLine(const std::vector<std::string>& arguments);

// The text of --help.
std::string helpText();

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_COMMAND_LINE_H_

// kelconv's command line: what the user asked for, and the help text.
#ifndef KELULIB_TOOLS_KELCONV_COMMAND_LINE_H_
#define KELULIB_TOOLS_KELCONV_COMMAND_LINE_H_

#include <string>
#include <vector>

#include "tools/kelconv/progress_bar.h"
#include "tools/kelconv/stream_converter.h"

namespace kelconv {

struct Options {
  enum class Action { kConvert, kList, kHelp, kVersion };
  Action action = Action::kConvert;
  std::string from;    // as given; empty: the operating system's set
  std::string to;      // as given; empty: the operating system's set
  std::string output;  // empty: standard output
  std::vector<std::string> inputs;  // empty: standard input; "-" too
  Policy policy = Policy::kReplace;
  bool strict = false;
  bool addByteOrderMark = false;
  ProgressMode progress = ProgressMode::kAuto;
};

struct ParsedCommandLine {
  Options options;
  std::string error;  // a usage error, or empty
};

// Reads the arguments after the program name. Options may come anywhere
// before "--"; "--name=value", "--name value", "-fvalue" and "-f value" are
// all accepted. Character-set names are not looked up here.
ParsedCommandLine parseCommandLine(const std::vector<std::string>& arguments);

// The text of --help.
std::string helpText();

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_COMMAND_LINE_H_

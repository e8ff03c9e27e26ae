#include "tools/kelconv/command_line.h"

#include <cstddef>

namespace kelconv {
namespace {

// An option that takes a value, under its short and long spellings.
struct ValueOption {
  const char* shortName;  // "-f", or nullptr
  const char* longName;   // "--from-code"
  const char* valueName;  // for messages
};

const ValueOption kFrom{"-f", "--from-code", "a character set"};
const ValueOption kTo{"-t", "--to-code", "a character set"};
const ValueOption kOutput{"-o", "--output", "a file name"};
const ValueOption kPolicy{nullptr, "--policy", "replace, escape or stop"};

// Reads the arguments one at a time; `error` holds the first usage error.
class Parser {
 public:
  explicit Parser(const std::vector<std::string>& arguments) : m_arguments(arguments) {}

  ParsedCommandLine parse() {
    bool optionsEnded = false;
    for (m_next = 0; m_next < m_arguments.size() && m_result.error.empty();) {
      const std::string argument = m_arguments[m_next++];
      if (optionsEnded || argument == "-" || argument.empty() || argument[0] != '-') {
        m_result.options.inputs.push_back(argument);
      } else if (argument == "--") {
        optionsEnded = true;
      } else {
        readOption(argument);
      }
    }
    return m_result;
  }

 private:
  void readOption(const std::string& argument) {
    Options& options = m_result.options;
    std::string value;
    if (takesValue(argument, kFrom, value)) {
      options.from = value;
    } else if (takesValue(argument, kTo, value)) {
      options.to = value;
    } else if (takesValue(argument, kOutput, value)) {
      options.output = value;
    } else if (takesValue(argument, kPolicy, value)) {
      readPolicy(value);
    } else if (argument == "-l" || argument == "--list") {
      options.action = Options::Action::kList;
    } else if (argument == "-h" || argument == "--help") {
      options.action = Options::Action::kHelp;
    } else if (argument == "-V" || argument == "--version") {
      options.action = Options::Action::kVersion;
    } else if (argument == "--strict") {
      options.strict = true;
    } else if (argument == "--silent") {
      options.silent = true;
    } else if (readFlags(argument)) {
      // -c, -s and their bundles are set.
    } else if (argument == "--bom") {
      options.addByteOrderMark = true;
    } else if (argument == "--progress") {
      options.progress = ProgressMode::kAlways;
    } else if (argument == "--no-progress") {
      options.progress = ProgressMode::kNever;
    } else if (m_result.error.empty()) {
      m_result.error = "unknown option '" + argument + "'";
    }
  }

  // One-letter flags, alone or together: -c, -s, "-cs".
  bool readFlags(const std::string& argument) {
    if (argument.size() < 2 || argument[0] != '-' || argument[1] == '-') return false;
    if (argument.find_first_not_of("cs", 1) != std::string::npos) return false;
    for (size_t i = 1; i < argument.size(); ++i) {
      if (argument[i] == 'c') m_result.options.omitUnconvertible = true;
      if (argument[i] == 's') m_result.options.silent = true;
    }
    return true;
  }

  // True when `argument` is `option`; its value (attached, or the next
  // argument) is stored in `value`. A missing value is a usage error.
  bool takesValue(const std::string& argument, const ValueOption& option, std::string& value) {
    const std::string longName = option.longName;
    const std::string shortName = option.shortName != nullptr ? option.shortName : "";
    if (argument.compare(0, longName.size() + 1, longName + "=") == 0) {
      value = argument.substr(longName.size() + 1);
    } else if (!shortName.empty() && argument.size() > 2 &&
               argument.compare(0, 2, shortName) == 0) {
      value = argument.substr(2);
    } else if (argument == longName || (!shortName.empty() && argument == shortName)) {
      if (m_next == m_arguments.size()) {
        m_result.error = "option '" + argument + "' needs " + option.valueName;
        return true;
      }
      value = m_arguments[m_next++];
    } else {
      return false;
    }
    if (value.empty()) m_result.error = "option '" + argument + "' needs " + option.valueName;
    return true;
  }

  void readPolicy(const std::string& value) {
    if (value == "replace") {
      m_result.options.policy = Policy::kReplace;
    } else if (value == "escape") {
      m_result.options.policy = Policy::kEscape;
    } else if (value == "stop") {
      m_result.options.policy = Policy::kStop;
    } else if (m_result.error.empty()) {
      m_result.error = "--policy takes replace, escape or stop, not '" + value + "'";
    }
  }

  const std::vector<std::string>& m_arguments;
  size_t m_next = 0;
  ParsedCommandLine m_result;
};

}  // namespace

ParsedCommandLine parseCommandLine(const std::vector<std::string>& arguments) {
  return Parser(arguments).parse();
}

std::string helpText() {
  return "Usage: kelconv [-f FROM] [-t TO[//TRANSLIT][//IGNORE]] [OPTION...] [FILE...]\n"
         "Converts the FILEs (or standard input; '-' is standard input too) from the\n"
         "character set FROM to TO and writes standard output.\n"
         "\n"
         "  -f, --from-code=FROM  the input's character set (default: the operating\n"
         "                        system's)\n"
         "  -t, --to-code=TO      the output's character set (default: the operating\n"
         "                        system's); TO//TRANSLIT writes a character TO lacks\n"
         "                        as the closest text a small table knows, TO//IGNORE\n"
         "                        is -c\n"
         "  -o, --output=FILE     write FILE instead of standard output; it replaces\n"
         "                        the old FILE only once the conversion is complete,\n"
         "                        so FILE may be one of the inputs\n"
         "  -c                    leave out what cannot be converted (exit status 1\n"
         "                        when anything was)\n"
         "  -s, --silent          no warnings\n"
         "  -l, --list            list the character sets and their names\n"
         "      --policy=POLICY   what becomes of a character that cannot be converted:\n"
         "                        replace (default: U+FFFD when reading, '?' when\n"
         "                        writing), escape (\"U+XXXX\" when writing) or stop\n"
         "      --strict          stop at the first character that cannot be converted\n"
         "      --bom             start the output with a byte-order mark (Unicode\n"
         "                        targets only)\n"
         "      --progress        show a progress bar on standard error\n"
         "      --no-progress     never show one (default: for inputs over 16 MiB when\n"
         "                        standard error is a terminal)\n"
         "  -h, --help            show this help\n"
         "  -V, --version         show the version\n"
         "\n"
         "A character set is named by its KelCS_ name, its number or a common alias\n"
         "(UTF-8, WINDOWS-1252, SHIFT_JIS, ...), in any case; 'kelconv -l' lists them.\n"
         "UTF-16 and UTF-32 read a byte-order mark (without one: the machine's order)\n"
         "and write one; UTF-16LE, UTF-16BE, UTF-32LE and UTF-32BE never do.\n"
         "\n"
         "Exit status: 0 converted; 1 stopped at a character that could not be\n"
         "converted, or left some out (-c); 2 usage error or a file that could not\n"
         "be read or written.\n";
}

}  // namespace kelconv

#include "tools/kelconv/program.h"

#include <cctype>
#include <cstdio>
#include <iostream>
#include <optional>

#include "tools/kelconv/charset_catalog.h"
#include "tools/kelconv/command_line.h"
#include "tools/kelconv/file_conversion.h"
#include "tools/kelconv/platform_files.h"
#include "tools/kelconv/platform_streams.h"

namespace kelconv {
namespace {

int usageError(const std::string& message) {
  std::cerr << "kelconv: " << message << "\nTry 'kelconv --help' for more information.\n";
  return kExitTrouble;
}

void report(const std::string& message) { std::cerr << "kelconv: " << message << std::endl; }

std::string upperCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// A -f or -t argument: the set (empty: the operating system's) and the
// suffixes iconv takes after "//".
struct CharSetArgument {
  Endpoint endpoint;
  bool transliterate = false;
  bool ignore = false;
};

std::optional<CharSetArgument> charSetArgument(const std::string& typed, bool target,
                                               std::string& error) {
  CharSetArgument argument;
  const size_t suffixes = typed.find("//");
  const std::string name = typed.substr(0, suffixes);
  for (size_t at = suffixes; at != std::string::npos;) {
    const size_t next = typed.find("//", at + 2);
    const std::string suffix =
        upperCase(typed.substr(at + 2, next == std::string::npos ? next : next - at - 2));
    at = next;
    if (suffix.empty()) continue;
    if (suffix != "TRANSLIT" && suffix != "IGNORE") {
      error =
          "unknown suffix '//" + suffix + "' in '" + typed + "' (TRANSLIT and IGNORE are known)";
      return std::nullopt;
    }
    if (!target) {
      error = "'//" + suffix + "' applies to the output's set (-t), not to '" + typed + "'";
      return std::nullopt;
    }
    (suffix == "TRANSLIT" ? argument.transliterate : argument.ignore) = true;
  }
  const CharSetEntry* entry = charSetNamed(name.empty() ? "KelCS_OS_DEFAULT" : name);
  if (entry == nullptr) {
    error = "unknown character set '" + name + "' ('kelconv -l' lists the known ones)";
    return std::nullopt;
  }
  if (entry->form == CharSetForm::kNone) {
    error = "character set '" + name + "' (" + charSetName(*entry->libraryName) +
            ") has no converter in this library ('kelconv -l' lists those that have)";
    return std::nullopt;
  }
  if (entry->id == KelCS_OS_DEFAULT) entry = &charSetEntryOf(resolvedCharSet(KelCS_OS_DEFAULT));
  argument.endpoint.entry = entry;
  argument.endpoint.name = name.empty() ? entry->name : name;
  return argument;
}

KelStreamPolicy streamPolicy(const Options& options, bool ignore) {
  if (options.strict) return KEL_STREAM_STOP;
  if (options.omitUnconvertible || ignore) return KEL_STREAM_SKIP;
  switch (options.policy) {
    case Policy::kStop:
      return KEL_STREAM_STOP;
    case Policy::kEscape:
      return KEL_STREAM_ESCAPE;
    case Policy::kReplace:
      break;
  }
  return KEL_STREAM_REPLACE;
}

// The input that is also standard output, a regular file being written to
// (the conversion would read what it writes); nullptr when none is.
const std::string* inputThatIsStandardOutput(const std::vector<std::string>& inputs) {
  const FileIdentity output = identityOfStream(stdout);
  if (!output.known) return nullptr;
  for (const std::string& input : inputs) {
    const FileIdentity identity = input == "-" ? identityOfStream(stdin) : identityOfFile(input);
    if (sameFile(identity, output)) return &input;
  }
  return nullptr;
}

int convert(const Options& options) {
  std::string error;
  const std::optional<CharSetArgument> from = charSetArgument(options.from, false, error);
  const std::optional<CharSetArgument> to =
      from ? charSetArgument(options.to, true, error) : std::nullopt;
  if (!from || !to) return usageError(error);
  if (options.addByteOrderMark && !isUnicodeForm(*to->endpoint.entry)) {
    return usageError("--bom needs UTF-8, UTF-16 or UTF-32 output, not " + to->endpoint.name);
  }

  ConversionJob job;
  job.from = from->endpoint;
  job.to = to->endpoint;
  job.policy = streamPolicy(options, to->ignore);
  job.transliterate = to->transliterate;
  job.addByteOrderMark = options.addByteOrderMark;
  job.silent = options.silent;
  job.inputs = options.inputs;
  job.progress = options.progress;
  job.outputName = options.output.empty() ? "(standard output)" : options.output;

  if (options.output.empty()) {
    if (const std::string* input = inputThatIsStandardOutput(options.inputs)) {
      report((*input == "-" ? std::string("(standard input)") : *input) +
             ": is also standard output, which would overwrite what is still to be read; "
             "give another output, or -o to convert it in place");
      return kExitTrouble;
    }
    useBinaryMode(stdout);
    return runConversion(job, stdout, std::cerr).status;
  }

  OutputFile output;
  if (!output.open(options.output, error)) {
    report(options.output + ": " + error);
    return kExitTrouble;
  }
  ConversionResult result = runConversion(job, output.stream(), std::cerr);
  if (!result.complete) {
    const bool replaces = output.replacesFile();
    output.abandon();
    if (replaces) report(options.output + ": left as it was (the conversion did not complete)");
    return result.status;
  }
  if (!output.commit(error)) {
    report(options.output + ": cannot write: " + error);
    return kExitTrouble;
  }
  return result.status;
}

}  // namespace

int runKelconv(const std::vector<std::string>& arguments) {
  const ParsedCommandLine parsed = parseCommandLine(arguments);
  if (!parsed.error.empty()) return usageError(parsed.error);
  switch (parsed.options.action) {
    case Options::Action::kHelp:
      std::cout << helpText();
      return kExitConverted;
    case Options::Action::kVersion:
      std::cout << "kelconv (KelULib) " << KELCONV_VERSION << "\n";
      return kExitConverted;
    case Options::Action::kList:
      writeCharSetList(std::cout);
      return kExitConverted;
    case Options::Action::kConvert:
      break;
  }
  return convert(parsed.options);
}

}  // namespace kelconv

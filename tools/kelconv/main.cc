// kelconv: converts text between character sets with KelULib, in the
// manner of iconv(1). See kelconv.1 and `kelconv --help`.
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "tools/kelconv/charset_catalog.h"
#include "tools/kelconv/command_line.h"
#include "tools/kelconv/file_conversion.h"
#include "tools/kelconv/platform_streams.h"

namespace {

using kelconv::kExitTrouble;

int usageError(const std::string& message) {
  std::cerr << "kelconv: " << message << "\nTry 'kelconv --help' for more information.\n";
  return kExitTrouble;
}

// The id of a -f or -t argument (empty: the operating system's set), which
// must have a converter; the error to report otherwise.
std::optional<KelCharSet> charSetArgument(const std::string& name, std::string& error) {
  if (name.empty()) return KelCS_OS_DEFAULT;
  const std::optional<KelCharSet> id = kelconv::charSetNamed(name);
  if (!id) {
    error = "unknown character set '" + name + "' ('kelconv -l' lists the known ones)";
    return std::nullopt;
  }
  if (!kelconv::hasConverter(*id)) {
    error = "character set '" + name + "' (" + kelconv::charSetName(*id) +
            ") has no converter in this library ('kelconv -l' lists those that have)";
    return std::nullopt;
  }
  return kelconv::resolvedCharSet(*id);
}

bool isUnicodeForm(KelCharSet id) {
  return id == KelCS_UTF8 || id == KelCS_UTF16 || id == KelCS_UTF32;
}

int convert(const kelconv::Options& options) {
  std::string error;
  const std::optional<KelCharSet> from = charSetArgument(options.from, error);
  const std::optional<KelCharSet> to = from ? charSetArgument(options.to, error) : std::nullopt;
  if (!from || !to) return usageError(error);
  if (options.addByteOrderMark && !isUnicodeForm(*to)) {
    return usageError("--bom needs UTF-8, UTF-16 or UTF-32 output, not " +
                      kelconv::charSetName(*to));
  }

  kelconv::ConversionJob job;
  job.settings.from = *from;
  job.settings.to = *to;
  job.settings.policy = options.strict ? kelconv::Policy::kStop : options.policy;
  job.settings.addByteOrderMark = options.addByteOrderMark;
  job.inputs = options.inputs;
  job.progress = options.progress;
  job.outputName = options.output.empty() ? "(standard output)" : options.output;

  std::FILE* output = stdout;
  if (!options.output.empty()) {
    output = kelconv::openFile(options.output, "wb");
    if (output == nullptr) {
      std::perror(("kelconv: " + options.output).c_str());
      return kExitTrouble;
    }
  } else {
    kelconv::useBinaryMode(stdout);
  }
  int status = kelconv::runConversion(job, output, std::cerr);
  // A failed write was reported already; closing then fails as well.
  if (output != stdout && std::fclose(output) != 0 && status != kExitTrouble) {
    std::perror(("kelconv: " + options.output).c_str());
    status = kExitTrouble;
  }
  return status;
}

// The program's arguments (argument 0 left out), in UTF-8.
int kelconvMain(const std::vector<std::string>& arguments) {
  const kelconv::ParsedCommandLine parsed = kelconv::parseCommandLine(arguments);
  if (!parsed.error.empty()) return usageError(parsed.error);
  switch (parsed.options.action) {
    case kelconv::Options::Action::kHelp:
      std::cout << kelconv::helpText();
      return 0;
    case kelconv::Options::Action::kVersion:
      std::cout << "kelconv (KelULib) " << KELCONV_VERSION << "\n";
      return 0;
    case kelconv::Options::Action::kList:
      kelconv::writeCharSetList(std::cout);
      return 0;
    case kelconv::Options::Action::kConvert:
      break;
  }
  return convert(parsed.options);
}

}  // namespace

#if defined(_WIN32)
// Windows passes the command line in UTF-16: a file name in any script
// arrives whole, whatever the ANSI code page (the program is linked with
// -municode).
int wmain(int argc, wchar_t** argv) { return kelconvMain(kelconv::utf8Arguments(argc, argv)); }
#else
int main(int argc, char** argv) {
  return kelconvMain(std::vector<std::string>(argv + 1, argv + argc));
}
#endif

#include "tools/kelconv/file_conversion.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "tools/kelconv/charset_catalog.h"
#include "tools/kelconv/platform_streams.h"

namespace kelconv {
namespace {

constexpr const char* kStandardInputName = "(standard input)";

// Writes to a stream, remembering the first failure.
class FileSink : public ByteSink {
 public:
  explicit FileSink(std::FILE* file) : m_file(file) {}

  void write(const unsigned char* data, size_t size) override {
    if (m_error != 0) return;
    if (std::fwrite(data, 1, size, m_file) != size) m_error = errno != 0 ? errno : EIO;
  }

  // Flushes; the first error of any write, or 0.
  int finish() {
    if (m_error == 0 && std::fflush(m_file) != 0) m_error = errno != 0 ? errno : EIO;
    return m_error;
  }

  int error() const { return m_error; }

 private:
  std::FILE* m_file;
  int m_error = 0;
};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

std::string hexBytes(const std::string& bytes) {
  std::string text;
  char hex[8];
  for (const char byte : bytes) {
    std::snprintf(hex, sizeof hex, "%s0x%02X", text.empty() ? "" : " ",
                  static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += hex;
  }
  return text;
}

std::string codePointName(char32_t character) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(character));
  return name;
}

std::string failureMessage(const ConversionFailure& failure, const StreamSettings& settings) {
  const std::string where = "offset " + std::to_string(failure.offset) + ": ";
  if (failure.kind == ConversionFailure::Kind::kInvalidInput) {
    return where + "invalid or incomplete " + charSetName(settings.from) + " sequence " +
           hexBytes(failure.bytes);
  }
  return where + codePointName(failure.character) + " cannot be converted to " +
         charSetName(settings.to);
}

// One run over the inputs: the converter, the output and the status.
class Run {
 public:
  Run(const ConversionJob& job, std::FILE* output, std::ostream& messages)
      : m_job(job), m_sink(output), m_converter(job.settings, m_sink), m_messages(messages) {}

  int run() {
    std::vector<std::string> inputs = m_job.inputs;
    if (inputs.empty()) inputs.push_back("-");
    for (const std::string& input : inputs) {
      if (!convertInput(input)) break;
    }
    m_converter.finishOutput();
    if (const int error = m_sink.finish()) {
      report(m_job.outputName + ": cannot write: " + std::strerror(error));
      m_status = kExitTrouble;
    }
    return m_status;
  }

 private:
  // How the conversion of one input ended.
  enum class Ending { kRead, kReadError, kStopped, kWriteError };

  // False when the run must end.
  bool convertInput(const std::string& input) {
    const bool standardInput = input == "-";
    const std::string name = standardInput ? kStandardInputName : input;
    FilePointer opened;
    std::FILE* file = stdin;
    if (standardInput) {
      useBinaryMode(stdin);
    } else {
      opened.reset(openFile(input, "rb"));
      if (!opened) {
        report(name + ": cannot open: " + std::strerror(errno));
        m_status = kExitTrouble;
        return true;
      }
      file = opened.get();
    }
    const std::optional<uint64_t> size = standardInput ? std::nullopt : regularFileSize(input);
    std::optional<ProgressBar> bar;
    if (wantsProgressBar(m_job.progress, size, isTerminal(stderr))) bar.emplace(stderr, name, size);
    int readError = 0;
    const Ending ending = convertStream(file, bar, readError);
    if (bar) bar->finish();  // before any message
    switch (ending) {
      case Ending::kReadError:
        report(name + ": cannot read: " + std::strerror(readError));
        m_status = kExitTrouble;
        return m_converter.stopped() ? stopAt(name) : true;
      case Ending::kStopped:
        return stopAt(name);
      case Ending::kWriteError:
        return false;  // run() reports it
      case Ending::kRead:
        break;
    }
    return true;
  }

  // Feeds `file` to the converter chunk by chunk; on a read error what was
  // read is converted and `readError` says why reading ended.
  Ending convertStream(std::FILE* file, std::optional<ProgressBar>& bar, int& readError) {
    std::vector<unsigned char> chunk(StreamConverter::kSliceBytes);
    uint64_t done = 0;
    for (size_t got = chunk.size(); got == chunk.size();) {
      got = std::fread(chunk.data(), 1, chunk.size(), file);
      if (got > 0 && !m_converter.write(chunk.data(), got)) return Ending::kStopped;
      if (m_sink.error() != 0) return Ending::kWriteError;
      done += got;
      if (bar) bar->update(done);
    }
    if (std::ferror(file) != 0) {
      readError = errno;
      m_converter.finishInput();
      return Ending::kReadError;
    }
    if (!m_converter.finishInput()) return Ending::kStopped;
    return m_sink.error() != 0 ? Ending::kWriteError : Ending::kRead;
  }

  bool stopAt(const std::string& name) {
    report(name + ": " + failureMessage(m_converter.failure(), m_job.settings));
    if (m_status == kExitConverted) m_status = kExitUnconvertible;
    return false;
  }

  void report(const std::string& message) { m_messages << "kelconv: " << message << std::endl; }

  const ConversionJob& m_job;
  FileSink m_sink;
  StreamConverter m_converter;
  std::ostream& m_messages;
  int m_status = kExitConverted;
};

}  // namespace

int runConversion(const ConversionJob& job, std::FILE* output, std::ostream& messages) {
  return Run(job, output, messages).run();
}

}  // namespace kelconv

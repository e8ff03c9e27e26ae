#include "tools/kelconv/file_conversion.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "tools/kelconv/ascii_converter.h"
#include "tools/kelconv/platform_files.h"
#include "tools/kelconv/platform_streams.h"
#include "tools/kelconv/transliteration.h"

namespace kelconv {
namespace {

constexpr const char* kStandardInputName = "(standard input)";
// Bytes read from a file at a time.
constexpr size_t kChunkBytes = 4 * KelStreamConverter::kSliceBytes;
constexpr wchar16 kByteOrderMark = 0xFEFF;

bool machineIsLittleEndian() {
  const uint16_t probe = 1;
  return *reinterpret_cast<const unsigned char*>(&probe) == 1;
}

// Bytes of a unit of the entry's set when its byte order can differ from
// the machine's (UTF-16, UTF-32), else 0.
size_t orderedUnitSize(const CharSetEntry& entry) {
  if (entry.form != CharSetForm::kLibrary) return 0;
  if (entry.id == KelCS_UTF16) return 2;
  if (entry.id == KelCS_UTF32) return 4;
  return 0;
}

// Whether units in `order` are the machine's units with their bytes
// reversed.
bool swapsBytes(ByteOrder order) {
  return (order == ByteOrder::kBig && machineIsLittleEndian()) ||
         (order == ByteOrder::kLittle && !machineIsLittleEndian());
}

void reverseUnits(unsigned char* bytes, size_t size, size_t unit) {
  for (size_t at = 0; at + unit <= size; at += unit) std::reverse(bytes + at, bytes + at + unit);
}

// The converter that reads (`reading`) or writes the entry's set.
KelCharSetConverter* converterFor(const CharSetEntry& entry, bool reading) {
  switch (entry.form) {
    case CharSetForm::kAscii:
      return &AsciiConverter::instance();
    case CharSetForm::kGbk:
      return KelCharSetConverter::getConverter(reading ? KelCS_GB18030 : KelCS_WCP936);
    default:
      return KelCharSetConverter::getConverter(entry.id);
  }
}

// GBK's single bytes that GB18030 lacks (0x80, the euro sign, and 0xFF),
// read as code page 936 reads them alone.
size_t readAsCodePage936(void*, const unsigned char* bytes, size_t count, wchar16* units,
                         size_t room) {
  if (count != 1) return 0;
  const unsigned char text[2] = {bytes[0], 0};
  wchar16 read[2];
  bool illegal = false;
  const size_t got = KelCharSetConverter::getConverter(KelCS_WCP936)
                         ->toUTF16(read, text, 1, ILLCHAR_STOP, &illegal, 1);
  if (illegal || got != 1 || room < 1) return 0;
  units[0] = read[0];
  return 1;
}

// The target set's byte-order mark, in the order its output is written.
std::string byteOrderMarkOf(const CharSetEntry& target) {
  const wchar16 mark[2] = {kByteOrderMark, 0};
  KelCharSetConverter* converter = converterFor(target, false);
  std::string bytes(8, '\0');
  bytes.resize(converter->fromUTF16(&bytes[0], mark, 4, ILLCHAR_STOP, nullptr));
  if (swapsBytes(target.order)) {
    reverseUnits(reinterpret_cast<unsigned char*>(&bytes[0]), bytes.size(), bytes.size());
  }
  return bytes;
}

// Writes the stream's output to a file: in the target's byte order, after a
// byte-order mark when the target asks for one. Remembers the first error.
class OutputSink : public KelStreamSink {
 public:
  enum class Mark {
    kNone,
    kFirst,          // before the output (UTF-16 and UTF-32): none for no output
    kUnlessPresent,  // --bom: before the output unless it starts with one
  };

  OutputSink(std::FILE* file, const CharSetEntry& target, Mark mark)
      : m_file(file),
        m_unit(swapsBytes(target.order) ? orderedUnitSize(target) : 0),
        m_markMode(mark),
        m_mark(mark == Mark::kNone ? std::string() : byteOrderMarkOf(target)) {}

  bool write(const void* bytes, size_t size) override {
    if (size == 0) return m_error == 0;
    const auto* data = static_cast<const unsigned char*>(bytes);
    if (m_markMode != Mark::kNone) {
      const bool present = m_markMode == Mark::kUnlessPresent && startsWithMark(data, size);
      m_markMode = Mark::kNone;
      if (!present) put(reinterpret_cast<const unsigned char*>(m_mark.data()), m_mark.size());
    }
    if (m_unit == 0) {
      put(data, size);
    } else {
      putReversed(data, size);
    }
    return m_error == 0;
  }

  // Writes a mark still owed (--bom, for an empty output) and flushes;
  // returns the first error of any write, or 0.
  int finish() {
    if (m_markMode == Mark::kUnlessPresent) {
      m_markMode = Mark::kNone;
      put(reinterpret_cast<const unsigned char*>(m_mark.data()), m_mark.size());
    }
    if (m_error == 0 && std::fflush(m_file) != 0) m_error = errno != 0 ? errno : EIO;
    return m_error;
  }

  int error() const { return m_error; }

 private:
  bool startsWithMark(const unsigned char* data, size_t size) const {
    std::string first(reinterpret_cast<const char*>(data), std::min(size, m_mark.size()));
    if (m_unit != 0) reverseUnits(reinterpret_cast<unsigned char*>(&first[0]), first.size(), m_unit);
    return first == m_mark;
  }

  void put(const unsigned char* data, size_t size) {
    if (m_error != 0 || size == 0) return;
    if (std::fwrite(data, 1, size, m_file) != size) m_error = errno != 0 ? errno : EIO;
  }

  // Whole units with their bytes reversed; a unit cut between writes is
  // completed by the next.
  void putReversed(const unsigned char* data, size_t size) {
    m_reversed.assign(m_carry.begin(), m_carry.end());
    m_reversed.insert(m_reversed.end(), data, data + size);
    const size_t whole = m_reversed.size() - m_reversed.size() % m_unit;
    m_carry.assign(m_reversed.begin() + whole, m_reversed.end());
    reverseUnits(m_reversed.data(), whole, m_unit);
    put(m_reversed.data(), whole);
  }

  std::FILE* m_file;
  size_t m_unit;  // bytes of a unit to reverse, 0 for none
  Mark m_markMode;
  std::string m_mark;
  std::vector<unsigned char> m_reversed;
  std::vector<unsigned char> m_carry;
  int m_error = 0;
};

// Feeds one input to the stream in the machine's byte order: reverses the
// bytes of each unit of UTF-16 or UTF-32 in the other order, and reads the
// byte-order mark of UTF-16 and UTF-32 as iconv reads them.
class InputFeeder {
 public:
  InputFeeder(KelStreamConverter& stream, const CharSetEntry& source)
      : m_stream(stream),
        m_unit(orderedUnitSize(source)),
        m_deciding(source.order == ByteOrder::kMarked),
        m_reverse(swapsBytes(source.order)) {}

  KelStreamStatus feed(const unsigned char* data, size_t size) {
    if (m_deciding) {
      const size_t taken = std::min(size, m_unit - m_start.size());
      m_start.insert(m_start.end(), data, data + taken);
      data += taken;
      size -= taken;
      if (m_start.size() < m_unit) return m_stream.status();
      if (!decideOrder()) return m_stream.status();
    }
    return pass(data, size);
  }

  KelStreamStatus finish() {
    if (m_deciding) {
      // Shorter than a mark: text in the machine's order.
      m_deciding = false;
      if (pass(m_start.data(), m_start.size()) != KEL_STREAM_OK) return m_stream.status();
    }
    // An incomplete unit is left as it came: the stream reports it.
    if (!m_carry.empty() && m_stream.convert(m_carry.data(), m_carry.size()) != KEL_STREAM_OK) {
      return m_stream.status();
    }
    return m_stream.finish();
  }

  // Bytes of a byte-order mark taken from the start of the input: the
  // stream's offsets count from after it.
  uint64_t markLength() const { return m_markLength; }

  // Whether the bytes go to the stream as they come (no mark to look for,
  // no byte order to turn): then the feeder keeps nothing of them.
  bool passesBytesThrough() const { return !m_deciding && !m_reverse; }

 private:
  // The first unit is read: a byte-order mark chooses the order and is
  // dropped; without one the text is in the machine's order. False when
  // the stream has stopped.
  bool decideOrder() {
    m_deciding = false;
    const std::string start(m_start.begin(), m_start.end());
    const std::string little = m_unit == 2 ? std::string("\xFF\xFE") : std::string("\xFF\xFE\0\0", 4);
    std::string big = little;
    std::reverse(big.begin(), big.end());
    if (start == little || start == big) {
      m_reverse = (start == big) == machineIsLittleEndian();
      m_markLength = m_unit;
      return true;
    }
    return pass(m_start.data(), m_start.size()) == KEL_STREAM_OK;
  }

  KelStreamStatus pass(const unsigned char* data, size_t size) {
    if (!m_reverse || size == 0) return m_stream.convert(data, size);
    m_reversed.assign(m_carry.begin(), m_carry.end());
    m_reversed.insert(m_reversed.end(), data, data + size);
    const size_t whole = m_reversed.size() - m_reversed.size() % m_unit;
    m_carry.assign(m_reversed.begin() + whole, m_reversed.end());
    reverseUnits(m_reversed.data(), whole, m_unit);
    return m_stream.convert(m_reversed.data(), whole);
  }

  KelStreamConverter& m_stream;
  size_t m_unit;
  bool m_deciding;  // the first unit is still to come (a mark, or text)
  bool m_reverse;
  std::vector<unsigned char> m_start;
  std::vector<unsigned char> m_carry;  // bytes of a unit cut between chunks
  std::vector<unsigned char> m_reversed;
  uint64_t m_markLength = 0;
};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

std::string hexBytes(const unsigned char* bytes, size_t count) {
  std::string text;
  char hex[8];
  for (size_t i = 0; i < count; ++i) {
    std::snprintf(hex, sizeof hex, "%s0x%02X", text.empty() ? "" : " ",
                  static_cast<unsigned>(bytes[i]));
    text += hex;
  }
  return text;
}

std::string codePointName(uint32_t character) {
  char name[16];
  std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(character));
  return name;
}

OutputSink::Mark markFor(const ConversionJob& job) {
  if (job.to.entry->order == ByteOrder::kMarked) return OutputSink::Mark::kFirst;
  return job.addByteOrderMark ? OutputSink::Mark::kUnlessPresent : OutputSink::Mark::kNone;
}

// One run over the inputs: the converter, the output and the status.
class Run {
 public:
  Run(const ConversionJob& job, std::FILE* output, std::ostream& messages)
      : m_job(job),
        m_sink(output, *job.to.entry, markFor(job)),
        m_stream(converterFor(*job.from.entry, true), converterFor(*job.to.entry, false),
                 job.policy, m_sink),
        m_messages(messages) {
    if (job.transliterate) m_stream.setSubstitution(transliterate, nullptr);
    if (job.from.entry->form == CharSetForm::kGbk) {
      m_stream.setInvalidInputHandler(readAsCodePage936, nullptr);
    }
  }

  ConversionResult run() {
    std::vector<std::string> inputs = m_job.inputs;
    if (inputs.empty()) inputs.push_back("-");
    for (const std::string& input : inputs) {
      if (!convertInput(input)) break;
    }
    if (const int error = m_sink.finish()) reportWriteError(error);
    return m_result;
  }

 private:
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
        trouble();
        return true;
      }
      file = opened.get();
    }
    const std::optional<uint64_t> size = standardInput ? std::nullopt : regularFileSize(input);
    std::optional<ProgressBar> bar;
    if (wantsProgressBar(m_job.progress, size, isTerminal(stderr))) bar.emplace(stderr, name, size);
    const uint64_t skippedBefore = m_stream.skippedCount();
    InputFeeder feeder(m_stream, *m_job.from.entry);
    int readError = 0;
    const bool read = readInto(file, !standardInput, feeder, bar, readError);
    if (bar) bar->finish();  // before any message
    if (!read) {
      report(name + ": cannot read: " + std::strerror(readError));
      trouble();
    }
    reportSkipped(name, m_stream.skippedCount() - skippedBefore);
    switch (m_stream.status()) {
      case KEL_STREAM_OK:
        return true;
      case KEL_STREAM_OUTPUT_FAILED:
        return false;  // run() reports it
      default:
        stopAt(name, feeder.markLength());
        return false;
    }
  }

  // Feeds `file` to the stream and ends the text (also after a read error,
  // with what was read). A regular file whose bytes go to the stream as
  // they are is read through mapped memory, a window at a time (one copy of
  // the text the fewer); anything else chunk by chunk. False on a read
  // error, its errno in `readError`.
  bool readInto(std::FILE* file, bool mappable, InputFeeder& feeder,
                std::optional<ProgressBar>& bar, int& readError) {
    uint64_t done = 0;
    if (mappable && feeder.passesBytesThrough()) {
      // The stream only copies each window's bytes into its own slices, so
      // a window cut short by a file that shrinks leaves it whole.
      const MappedRead mapped = readMapped(
          file,
          [&](const unsigned char* bytes, size_t size) {
            const bool going = feeder.feed(bytes, size) == KEL_STREAM_OK;
            done += size;
            if (bar) bar->update(done);
            return going;
          },
          readError);
      if (mapped != MappedRead::kNotMapped) {
        feeder.finish();
        return mapped == MappedRead::kRead;
      }
    }
    std::vector<unsigned char> chunk(kChunkBytes);
    for (size_t got = chunk.size(); got == chunk.size();) {
      got = std::fread(chunk.data(), 1, chunk.size(), file);
      if (got > 0 && feeder.feed(chunk.data(), got) != KEL_STREAM_OK) return true;
      done += got;
      if (bar) bar->update(done);
    }
    const bool failed = std::ferror(file) != 0;
    if (failed) readError = errno;
    feeder.finish();
    return !failed;
  }

  void stopAt(const std::string& name, uint64_t markLength) {
    const KelStreamFailure& failure = m_stream.failure();
    std::string what = "offset " + std::to_string(failure.offset + markLength) + ": ";
    if (failure.status == KEL_STREAM_INVALID_INPUT) {
      what += "invalid or incomplete " + m_job.from.name + " sequence " +
              hexBytes(failure.bytes, failure.byteCount);
    } else {
      what += codePointName(failure.character) + " cannot be converted to " + m_job.to.name;
    }
    report(name + ": " + what);
    m_result.complete = false;
    if (m_result.status == kExitConverted) m_result.status = kExitUnconvertible;
  }

  void reportSkipped(const std::string& name, uint64_t skipped) {
    if (skipped == 0) return;
    if (m_result.status == kExitConverted) m_result.status = kExitUnconvertible;
    if (m_job.silent) return;
    report(name + ": " + std::to_string(skipped) +
           (skipped == 1 ? " character" : " characters") +
           " could not be converted and " + (skipped == 1 ? "was" : "were") + " left out");
  }

  void reportWriteError(int error) {
    report(m_job.outputName + ": cannot write: " + std::strerror(error));
    trouble();
  }

  void trouble() {
    m_result.status = kExitTrouble;
    m_result.complete = false;
  }

  void report(const std::string& message) { m_messages << "kelconv: " << message << std::endl; }

  const ConversionJob& m_job;
  OutputSink m_sink;
  KelStreamConverter m_stream;
  std::ostream& m_messages;
  ConversionResult m_result;
};

}  // namespace

ConversionResult runConversion(const ConversionJob& job, std::FILE* output,
                               std::ostream& messages) {
  return Run(job, output, messages).run();
}

bool isUnicodeForm(const CharSetEntry& entry) {
  return entry.form == CharSetForm::kLibrary &&
         (entry.id == KelCS_UTF8 || entry.id == KelCS_UTF16 || entry.id == KelCS_UTF32);
}

}  // namespace kelconv

// The stream functions of KelUString on fuzzer-made bytes: a fuzzer-driven
// sequence of operator>> and getline (with fuzzer-chosen delimiters and
// widths) over one input stream, and operator<< of what was read. Run under
// LC_ALL=C.UTF-8 and LC_ALL=en_US.CP1252 (the streams carry text in the OS
// character set).
//
// Invariants, from the byte rules of the input functions:
// - operator>> skips white space, then takes bytes up to white space, a
//   0xFF byte, the end or width - 1 bytes; getline takes bytes up to the
//   delimiter (consumed), a 0xFF byte, the end or width - 1 bytes.
// - The string holds what the OS converter makes of exactly those bytes;
//   failbit is set when none were taken, and the width is 0 afterwards
//   whenever the reading loop ran.
// - operator<< writes the text's c_str in the OS character set.
#include <cctype>
#include <sstream>
#include <string>

#include "fuzz/fuzz_input.h"

namespace {

using kelulib_fuzz::ExactBuffer;
using kelulib_fuzz::FuzzInput;
using kelulib_fuzz::terminatedText;

bool isSpace(unsigned char c) { return std::isspace(c) != 0; }

// What the OS converter makes of `bytes`: as many units as it counts in
// them, converted under ILLCHAR_REPLACE.
std::u16string fromOsText(const std::string& bytes) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(KelCS_OS_DEFAULT);
  const ExactBuffer<char> text = terminatedText(bytes, 4);
  const size_t units = converter->getNumUnits(text.data(), bytes.size());
  ExactBuffer<wchar16> out(units + 1);
  const size_t written =
      converter->toUTF16(out.data(), text.data(), units, ILLCHAR_REPLACE, nullptr, -1);
  return std::u16string(out.data(), written);
}

// The model of one input call over `data` from `pos`: the bytes taken, the
// position after the call, and whether the reading loop ran.
struct Taken {
  std::string bytes;
  size_t next = 0;
  bool endOfInput = false;
  bool loopRan = true;
};

size_t widthLimit(std::streamsize width) {
  return width < 1 ? static_cast<size_t>(-2) : static_cast<size_t>(width);
}

Taken modelExtract(const std::string& data, size_t pos, std::streamsize width) {
  Taken taken;
  while (pos < data.size() && isSpace(static_cast<unsigned char>(data[pos]))) ++pos;
  if (pos >= data.size() || static_cast<unsigned char>(data[pos]) == 0xFF) {
    taken.endOfInput = true;
    taken.loopRan = false;
    taken.next = pos;
    return taken;
  }
  size_t limit = widthLimit(width);
  while (--limit != 0) {
    if (pos >= data.size() || static_cast<unsigned char>(data[pos]) == 0xFF) {
      taken.endOfInput = true;
      break;
    }
    if (isSpace(static_cast<unsigned char>(data[pos]))) break;
    taken.bytes += data[pos++];
  }
  taken.next = pos;
  return taken;
}

Taken modelGetline(const std::string& data, size_t pos, std::streamsize width, char delim) {
  Taken taken;
  size_t limit = widthLimit(width);
  while (--limit != 0) {
    if (pos >= data.size() || static_cast<unsigned char>(data[pos]) == 0xFF) {
      taken.endOfInput = true;
      break;
    }
    if (data[pos] == delim) {
      ++pos;
      break;
    }
    taken.bytes += data[pos++];
  }
  taken.next = pos;
  return taken;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  FuzzInput choices = in.split(24);
  const std::string bytes = in.rest();
  std::istringstream stream(bytes);
  size_t pos = 0;  // where the model says the stream is
  KelUString s(u"stale text");
  s.c_str(KelCS_UTF8);  // a cache, which every read must drop

  for (int step = 0; step < 8 && choices.remaining() > 0; ++step) {
    const uint8_t what = choices.byte();
    const std::streamsize width = what & 0x10 ? static_cast<std::streamsize>(choices.below(12)) : 0;
    const char delim = what & 0x20 ? static_cast<char>(choices.byte()) : '\n';
    stream.clear();
    stream.width(width);
    Taken taken;
    if (what % 2 == 0) {
      taken = modelExtract(bytes, pos, width);
      stream >> s;
    } else {
      taken = modelGetline(bytes, pos, width, delim);
      if (delim == '\n' && (what & 0x40) != 0) {
        getline(stream, s);
      } else {
        getline(stream, s, delim);
      }
    }
    pos = taken.next;
    const std::u16string expected = fromOsText(taken.bytes);
    KELULIB_FUZZ_CHECK(std::u16string(s.c_wstr(), s.size()) == expected,
                       "the string is not what the OS converter makes of the bytes taken");
    KELULIB_FUZZ_CHECK(stream.fail() == taken.bytes.empty(), "failbit is not 'nothing taken'");
    KELULIB_FUZZ_CHECK(stream.eof() == taken.endOfInput, "eofbit is not 'end of input met'");
    if (taken.loopRan) KELULIB_FUZZ_CHECK(stream.width() == 0, "the width was not reset");
    const std::streampos at = (stream.clear(), stream.tellg());
    KELULIB_FUZZ_CHECK(at == static_cast<std::streampos>(pos) ||
                           (pos >= bytes.size() && at == std::streampos(-1)),
                       "the stream is not where the byte rules leave it");

    std::ostringstream out;
    out << s;
    KelUString copy(s);
    KELULIB_FUZZ_CHECK(out.str() == std::string(copy.c_str(KelCS_OS_DEFAULT)),
                       "operator<< did not write the text in the OS character set");
  }
  return 0;
}

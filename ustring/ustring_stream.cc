#include "ustring/ustring_stream.h"

#include <cctype>
#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

namespace {

// "No width": the largest width the input functions count down from.
constexpr uint64_t kNoWidth = 0xFFFFFFFFFFFFFFFEull;

// Every byte is looked at as a byte: the end-of-file value and a real 0xFF
// byte look alike, and both end the input.
unsigned char byteOf(int c) { return static_cast<unsigned char>(c); }

bool isEndOfInput(int c) { return byteOf(c) == 0xFF; }

bool isSpace(int c) { return std::isspace(byteOf(c)) != 0; }

uint64_t widthLimit(const std::istream& is) {
  const std::streamsize width = is.width();
  if (width < 1 || static_cast<uint64_t>(width) >= kNoWidth) return kNoWidth;
  return static_cast<uint64_t>(width);
}

// What one input call collects and the state bits it has met.
struct Collected {
  std::string bytes;
  std::ios_base::iostate state = std::ios_base::goodbit;
};

// Converts the bytes (followed by a whole terminator, so that no converter
// reads beyond them) from the OS character set into `s`, and adds the
// state bits, failbit too when nothing was read.
void finishInput(std::istream& is, KelUString& s, Collected& collected) {
  if (collected.bytes.empty()) {
    collected.state |= std::ios_base::failbit;
  } else {
    const size_t count = collected.bytes.size();
    collected.bytes.append(3, '\0');
    s.assign(KelUString(collected.bytes.c_str(), count, KelCS_OS_DEFAULT));
  }
  if (collected.state != std::ios_base::goodbit) is.setstate(collected.state);
}

// An exception from the stream buffer: badbit, and the exception passed on
// when the stream's mask asks for badbit.
void noteBufferException(std::istream& is) {
  const std::ios_base::iostate mask = is.exceptions();
  is.exceptions(std::ios_base::goodbit);
  is.setstate(std::ios_base::badbit);
  if ((mask & std::ios_base::badbit) != 0) {
    try {
      is.exceptions(mask);
    } catch (const std::ios_base::failure&) {
    }
    throw;
  }
  is.exceptions(mask);
}

// Reads from `buffer` (at the byte `c`) until `stopsAt` accepts a byte, the
// input ends or the width runs out; `consumesStop` says whether the byte
// that stopped it is taken from the stream.
template <typename StopRule>
void collect(std::istream& is, std::streambuf& buffer, int c, StopRule stopsAt, bool consumesStop,
             Collected& collected) {
  uint64_t width = widthLimit(is);
  while (--width != 0) {
    if (isEndOfInput(c)) {
      collected.state |= std::ios_base::eofbit;
      break;
    }
    if (stopsAt(c)) {
      if (consumesStop) buffer.snextc();
      break;
    }
    collected.bytes += static_cast<char>(c);
    c = buffer.snextc();
  }
  is.width(0);
}

template <typename Read>
std::istream& readInput(std::istream& is, KelUString& s, Read read) {
  s.erase();
  std::streambuf* buffer = is.rdbuf();
  if (buffer == nullptr) {
    is.setstate(std::ios_base::failbit);
    return is;
  }
  Collected collected;
  try {
    read(*buffer, collected);
  } catch (...) {
    noteBufferException(is);
    return is;
  }
  finishInput(is, s, collected);
  return is;
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const KelUString& s) {
  KelUString copy(s);
  return os << copy.c_str(KelCS_OS_DEFAULT);
}

std::istream& operator>>(std::istream& is, KelUString& s) {
  return readInput(is, s, [&is](std::streambuf& buffer, Collected& collected) {
    int c = buffer.sgetc();
    while (isSpace(c)) c = buffer.snextc();
    if (isEndOfInput(c)) {
      // Nothing but white space: the width stays as it was.
      collected.state |= std::ios_base::eofbit;
      return;
    }
    collect(is, buffer, c, isSpace, false, collected);
  });
}

std::istream& getline(std::istream& is, KelUString& s, char delim) {
  return readInput(is, s, [&is, delim](std::streambuf& buffer, Collected& collected) {
    const auto isDelimiter = [delim](int c) { return byteOf(c) == static_cast<unsigned char>(delim); };
    collect(is, buffer, buffer.sgetc(), isDelimiter, true, collected);
  });
}

std::istream& getline(std::istream& is, KelUString& s) { return getline(is, s, '\n'); }

// kelconv streams: 200 MiB of Windows-1252 text through a pipe, converted to
// UTF-8 in bounded memory. The input is the golden Windows-1252 text over
// and over, so the output must be its UTF-8 form over and over; the child's
// peak resident set size comes from wait4(2).
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "tests/kelconv/kelconv_test_support.h"
#include "tests/support/child_process.h"

namespace {

constexpr uint64_t kInputBytes = 200ull * 1024 * 1024;
constexpr long kMemoryLimitKiB = 64 * 1024;

// Writes `text` over and over, kInputBytes in all (the last copy cut), then
// closes the pipe.
void feed(int pipe, const std::string& text) {
  std::string block;
  while (block.size() < 1024 * 1024) block += text;
  block.resize(block.size() - block.size() % text.size());
  for (uint64_t left = kInputBytes; left > 0;) {
    const size_t size = static_cast<size_t>(std::min<uint64_t>(left, block.size()));
    for (size_t done = 0; done < size;) {
      const ssize_t written = ::write(pipe, block.data() + done, size - done);
      if (written <= 0) return;
      done += static_cast<size_t>(written);
    }
    left -= size;
  }
}

// The first `count` characters of the UTF-8 text `utf8`. (Windows-1252 has
// one byte per character, so a cut copy of the text is that many.)
std::string firstCharacters(const std::string& utf8, uint64_t count) {
  size_t end = 0;
  for (uint64_t characters = 0; end < utf8.size(); ++end) {
    const bool starts = (static_cast<unsigned char>(utf8[end]) & 0xC0) != 0x80;
    if (starts && characters++ == count) break;
  }
  return utf8.substr(0, end);
}

TEST(KelconvLargeInput, TwoHundredMebibytesInBoundedMemory) {
  const std::string text = kelconv_test::goldenText(KelCS_WCP1252, "txt");
  const std::string expected = kelconv_test::goldenText(KelCS_WCP1252, "utf8");
  const uint64_t copies = kInputBytes / text.size();
  const uint64_t lastCopyBytes = kInputBytes % text.size();

  const auto start = std::chrono::steady_clock::now();
  kelulib_test::ChildProcess child({KELCONV_PROGRAM, "-f", "WINDOWS-1252", "-t", "UTF-8"});
  std::thread feeder([&] {
    feed(child.input(), text);
    child.closeInput();
  });

  // The output must be `expected` repeated, then the UTF-8 of the last,
  // cut copy of the text.
  uint64_t outputBytes = 0;
  uint64_t mismatches = 0;
  std::string buffer(1 << 16, '\0');
  std::string tail;
  for (;;) {
    const ssize_t got = ::read(child.output(), buffer.data(), buffer.size());
    if (got <= 0) break;
    for (ssize_t i = 0; i < got; ++i, ++outputBytes) {
      const uint64_t copy = outputBytes / expected.size();
      if (copy >= copies) {
        tail += buffer[static_cast<size_t>(i)];
      } else if (buffer[static_cast<size_t>(i)] != expected[outputBytes % expected.size()]) {
        ++mismatches;
      }
    }
  }
  feeder.join();
  const kelulib_test::CommandResult result = child.wait();
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(mismatches, 0u);
  EXPECT_EQ(tail, firstCharacters(expected, lastCopyBytes));
  EXPECT_LT(result.maxResidentKiB, kMemoryLimitKiB);
  std::printf("converted %llu MiB in %.1f s; peak resident set %ld KiB\n",
              static_cast<unsigned long long>(kInputBytes >> 20), seconds, result.maxResidentKiB);
  RecordProperty("seconds", std::to_string(seconds));
  RecordProperty("peak_resident_kib", std::to_string(result.maxResidentKiB));
}

}  // namespace

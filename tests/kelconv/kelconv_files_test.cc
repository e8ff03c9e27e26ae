// kelconv never destroys its input: an output file is written to a
// temporary file beside it and takes the old file's place only once the
// conversion is complete, so the output may be one of the inputs (also
// through a symbolic or a hard link), a failed or interrupted run leaves
// the old file as it was, and no temporary file is left behind. Standard
// output that is one of the inputs is refused.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/kelconv/kelconv_test_support.h"
#include "tests/support/child_process.h"

namespace {

namespace fs = std::filesystem;
using kelulib_test::CommandResult;

CommandResult kelconv(std::vector<std::string> arguments, const std::string& input = {}) {
  arguments.insert(arguments.begin(), KELCONV_PROGRAM);
  return kelulib_test::runCommand(arguments, input);
}

// A folder of its own for each test, removed at the end.
class Folder {
 public:
  Folder() {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    m_path = std::string(SCRATCH_DIR) + "/" + test->test_suite_name() + "." + test->name();
    fs::remove_all(m_path);
    fs::create_directories(m_path);
  }
  ~Folder() { fs::remove_all(m_path); }
  std::string file(const std::string& name) const { return m_path + "/" + name; }
  // Names in the folder (temporary files included).
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_path)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string m_path;
};

void writeFile(const std::string& path, const std::string& contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

const std::string kLatin1 = "caf\xE9 cr\xE8me\n";
const std::string kUtf8 = "caf\xC3\xA9 cr\xC3\xA8me\n";

TEST(KelconvInPlace, OutputThatIsTheInputIsConvertedInPlace) {
  Folder folder;
  const std::string text = folder.file("text");
  writeFile(text, kLatin1);
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", text, text});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(kelconv_test::readFile(text), kUtf8);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"text"});  // no temporary left
}

TEST(KelconvInPlace, ThroughASymbolicLinkTheFileItLeadsToIsConverted) {
  Folder folder;
  const std::string text = folder.file("text");
  const std::string link = folder.file("link");
  writeFile(text, kLatin1);
  std::error_code error;
  fs::create_symlink("text", link, error);
#if defined(_WIN32)
  if (error) GTEST_SKIP() << "this system makes no symbolic links: " << error.message();
#endif
  ASSERT_FALSE(error) << error.message();
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", link, text});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(kelconv_test::readFile(text), kUtf8);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"link", "text"}));
}

TEST(KelconvInPlace, ThroughAHardLinkTheOutputNameGetsTheNewTextAndTheInputStaysWhole) {
  Folder folder;
  const std::string text = folder.file("text");
  const std::string other = folder.file("other");
  writeFile(text, kLatin1);
  fs::create_hard_link(text, other);
  // Reading through one name and writing through the other reads the old
  // text whole; the written name then holds the new file of its own.
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", other, text});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(kelconv_test::readFile(other), kUtf8);
  EXPECT_EQ(kelconv_test::readFile(text), kLatin1);
}

TEST(KelconvInPlace, TheOutputIsOneOfSeveralInputs) {
  Folder folder;
  const std::string first = folder.file("first");
  const std::string second = folder.file("second");
  writeFile(first, "one \xE9\n");
  writeFile(second, "two \xE8\n");
  const CommandResult result =
      kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", second, first, second, first});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(kelconv_test::readFile(second), "one \xC3\xA9\ntwo \xC3\xA8\none \xC3\xA9\n");
}

TEST(KelconvInPlace, AStopLeavesTheOutputAsItWas) {
  Folder folder;
  const std::string text = folder.file("text");
  writeFile(text, "5 \xE2\x82\xAC\n");
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "LATIN1", "--strict", "-o", text, text});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            kelconv_test::textModeLines(
                "kelconv: " + text + ": offset 2: U+20AC cannot be converted to LATIN1\n" +
                "kelconv: " + text + ": left as it was (the conversion did not complete)\n"));
  EXPECT_EQ(kelconv_test::readFile(text), "5 \xE2\x82\xAC\n");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"text"});
}

TEST(KelconvInPlace, AMissingInputLeavesTheOutputAsItWas) {
  Folder folder;
  const std::string output = folder.file("output");
  writeFile(output, "old\n");
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "UTF-8", "-o", output, folder.file("missing")});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(kelconv_test::readFile(output), "old\n");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"output"});
}

TEST(KelconvInPlace, TheReplacedFileKeepsItsPermissions) {
  Folder folder;
  const std::string text = folder.file("text");
  writeFile(text, kLatin1);
  fs::permissions(text, fs::perms::owner_read | fs::perms::owner_write | fs::perms::owner_exec |
                            fs::perms::group_read);
  const fs::perms before = fs::status(text).permissions();
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", text, text});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(fs::status(text).permissions(), before);
}

TEST(KelconvInPlace, ANewFileGetsTheUsualPermissions) {
#if defined(_WIN32)
  GTEST_SKIP() << "a Windows file has no permission bits or file-mode mask, only a read-only "
                  "attribute (AFileTheUserMayNotWriteIsNotReplaced)";
#else
  Folder folder;
  const std::string output = folder.file("new");
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", output}, "x").exitStatus, 0);
  struct stat status;
  ASSERT_EQ(stat(output.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0666 & ~mask);
#endif
}

// A read-only file is refused, not replaced: the user may not write it.
TEST(KelconvInPlace, AFileTheUserMayNotWriteIsNotReplaced) {
#if !defined(_WIN32)
  if (geteuid() == 0) GTEST_SKIP() << "run as root, who may write any file";
#endif
  Folder folder;
  const std::string text = folder.file("text");
  writeFile(text, kLatin1);
  fs::permissions(text, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", text, text});
  fs::permissions(text, fs::perms::owner_write, fs::perm_options::add);
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.err, kelconv_test::textModeLines("kelconv: " + text + ": Permission denied\n"));
  EXPECT_EQ(kelconv_test::readFile(text), kLatin1);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"text"});
}

// An interrupted run: kelconv reads standard input into the output file,
// and is ended by a signal half way.
TEST(KelconvInPlace, AnInterruptedRunLeavesTheOldFileAndNoTemporary) {
#if defined(_WIN32)
  GTEST_SKIP() << "Windows has no signals to send a child: TerminateProcess runs no handler, and "
                  "the console's Ctrl+C reaches only a child that shares a console";
#else
  Folder folder;
  const std::string output = folder.file("output");
  writeFile(output, "the old text\n");
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    kelulib_test::ChildProcess child(
        {KELCONV_PROGRAM, "-f", "LATIN1", "-t", "UTF-8", "-o", output});
    const std::string chunk(64 * 1024, 'a');
    for (int i = 0; i < 8; ++i)
      ASSERT_EQ(::write(child.input(), chunk.data(), chunk.size()), 65536);
    // The temporary file is there, and growing.
    for (int wait = 0; wait < 200 && folder.names().size() < 2; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(folder.names().size(), 2u);
    ::kill(child.pid(), signal);
    const CommandResult result = child.wait();
    EXPECT_EQ(result.exitStatus, -1) << "ended by the signal";
    EXPECT_EQ(kelconv_test::readFile(output), "the old text\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"output"}) << "signal " << signal;
  }
#endif
}

// Files are read through mapped memory: one that shrinks while kelconv
// reads it is a read error, not the end of the program.
TEST(KelconvInput, AFileThatShrinksWhileItIsReadIsAReadError) {
#if defined(_WIN32)
  GTEST_SKIP() << "kelconv reads files as streams on Windows, not through mapped memory";
#else
  Folder folder;
  const std::string input = folder.file("input");
  const std::string line =
      "caf\xE9 cr\xE8me br\xFBl\xE9"
      "e\n";
  std::string text;
  while (text.size() < 16 * 1024 * 1024) text += line;
  writeFile(input, text);
  kelulib_test::ChildProcess child({KELCONV_PROGRAM, "-f", "LATIN1", "-t", "UTF-8", input});
  child.closeInput();
  // kelconv blocks writing once the pipe is full, well before the end of
  // its first window of the file; the file then loses all but a line.
  std::string output(4096, '\0');
  ASSERT_GT(::read(child.output(), &output[0], output.size()), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  fs::resize_file(input, line.size());
  output.clear();
  std::string buffer(1 << 16, '\0');
  for (ssize_t got; (got = ::read(child.output(), &buffer[0], buffer.size())) > 0;) {
    output.append(buffer, 0, static_cast<size_t>(got));
  }
  const CommandResult result = child.wait();
  EXPECT_EQ(result.exitStatus, 2) << "not ended by a signal";
  EXPECT_EQ(result.err, kelconv_test::textModeLines("kelconv: " + input +
                                                    ": cannot read: Input/output error\n"));
#endif
}

TEST(KelconvInPlace, DevicesAreWrittenDirectly) {
#if defined(_WIN32)
  const char* const device = "NUL";
#else
  const char* const device = "/dev/null";
#endif
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", device}, "x");
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(result.err, "");
}

TEST(KelconvInPlace, AFolderIsNoOutput) {
  Folder folder;
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", folder.file("")}, "x");
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.err,
            kelconv_test::textModeLines("kelconv: " + folder.file("") + ": Is a directory\n"));
}

// Standard output appended to one of the inputs would feed the conversion
// what it writes: refused before anything is read.
#if defined(_WIN32)
// A path for cmd.exe: backslashes, and an absolute POSIX path (as the build
// under Wine gives) on Wine's drive for the Unix root.
std::string commandShellPath(std::string path) {
  for (char& c : path) {
    if (c == '/') c = '\\';
  }
  return path[0] == '\\' ? "Z:" + path : path;
}
#endif

TEST(KelconvInPlace, StandardOutputThatIsAnInputIsRefused) {
  Folder folder;
#if defined(_WIN32)
  const std::string text = commandShellPath(folder.file("text"));
  const std::string program = commandShellPath(KELCONV_PROGRAM);
#else
  const std::string text = folder.file("text");
  const std::string program = KELCONV_PROGRAM;
#endif
  writeFile(text, kLatin1);
#if defined(_WIN32)
  // (cmd.exe itself refuses "- < text >> text": it opens the file twice
  // without sharing it, so standard input is tried on POSIX systems only.)
  const std::vector<std::string> inputs = {text};
#else
  const std::vector<std::string> inputs = {text, "-"};
#endif
  for (const std::string& input : inputs) {
    const std::string command =
        program + " -f LATIN1 -t UTF-8 " + (input == "-" ? "- < " + text : text) + " >> " + text;
#if defined(_WIN32)
    const CommandResult result =
        kelulib_test::runCommand({"C:\\windows\\system32\\cmd.exe", "/c", command});
#else
    const CommandResult result = kelulib_test::runCommand({"/bin/sh", "-c", command});
#endif
    EXPECT_EQ(result.exitStatus, 2);
    const std::string named = input == "-" ? "(standard input)" : text;
    EXPECT_EQ(result.err,
              kelconv_test::textModeLines(
                  "kelconv: " + named +
                  ": is also standard output, which would overwrite what is still to be "
                  "read; give another output, or -o to convert it in place\n"));
    EXPECT_EQ(kelconv_test::readFile(text), kLatin1);
  }
}

}  // namespace

// KelCS_OS_DEFAULT as seen by a fresh process: the library reads the
// operating system's code page once, when it is loaded: on POSIX systems
// from the first non-empty of LC_ALL, LC_CTYPE and LANG, on Windows with
// GetACP. Each test starts kelulib_os_code_page_child and checks its report.
//
// On POSIX systems the child gets an environment built here (none of this
// process's locale variables are passed on). On Windows a child has the
// ANSI code page of the process tree it runs in: under Wine, the one that
// the LC_ALL of the test run gives (the test list runs these tests under
// several, naming the code page it expects in KELULIB_EXPECTED_CODE_PAGE);
// kelulib_os_code_page_child_utf8, whose manifest asks for UTF-8, has that.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <windows.h>

#include "tests/support/child_process.h"
#else
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace {

using Environment = std::vector<std::pair<std::string, std::string>>;

struct ChildResult {
  bool started = false;
  int exitCode = -1;  // -1 when it did not exit normally
  std::string output;
};

std::string describe(const ChildResult& result) {
  std::string text = result.started ? "exit code " + std::to_string(result.exitCode)
                                    : std::string("could not be started");
  return text + "; child output:\n" + result.output;
}

// Which child: the plain one, or (on Windows) the one whose ANSI code page
// is UTF-8.
enum class Child { kPlain, kUtf8CodePage };

#if defined(_WIN32)

// Runs the child with `args` and collects its standard output and error.
// The locale variables play no part: the child has this process's ANSI
// code page, or UTF-8 for kUtf8CodePage.
ChildResult runChild(const std::vector<std::string>& args, const Environment&,
                     Child child = Child::kPlain) {
  std::vector<std::string> argv{child == Child::kUtf8CodePage ? KELULIB_OS_CODE_PAGE_CHILD_UTF8
                                                              : KELULIB_OS_CODE_PAGE_CHILD};
  argv.insert(argv.end(), args.begin(), args.end());
  const kelulib_test::CommandResult command = kelulib_test::runCommand(argv);
  ChildResult result;
  result.started = command.exitStatus >= 0;
  result.exitCode = command.exitStatus;
  result.output = command.out + command.err;
  return result;
}

// The ANSI code page of the system's locale, which a child without a
// manifest of its own has (this process may have UTF-8 from its manifest).
int systemAnsiCodePage() {
  wchar_t text[8] = {};
  GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE, text, 8);
  return _wtoi(text);
}

// The ANSI code page the test run meant to give this process tree, or the
// system's when it names none.
int expectedAnsiCodePage() {
  const char* named = std::getenv("KELULIB_EXPECTED_CODE_PAGE");
  return named != nullptr && *named != '\0' ? std::atoi(named) : systemAnsiCodePage();
}

constexpr const char* kWindowsReadsGetAcp =
    "the locale variables name the code page on POSIX systems only; on Windows it is GetACP's "
    "(OsCodePageProcess.OsDefaultIsTheConverterOfTheAnsiCodePage)";

#else

// Variables passed on from this process because the child needs them to
// start and run like this one (library search path, sanitizer settings);
// they have nothing to do with the locale.
constexpr const char* kPassedOn[] = {"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS",
                                     "LSAN_OPTIONS"};

// Runs the child with `args` under exactly `locale` (plus kPassedOn), and
// collects its standard output and error. (Child::kUtf8CodePage is for
// Windows; here the locale decides.)
ChildResult runChild(const std::vector<std::string>& args, const Environment& locale,
                     Child = Child::kPlain) {
  ChildResult result;
  std::vector<std::string> envStrings;
  for (const auto& [name, value] : locale) envStrings.push_back(name + "=" + value);
  for (const char* name : kPassedOn) {
    const char* value = std::getenv(name);
    if (value != nullptr) envStrings.push_back(std::string(name) + "=" + value);
  }
  std::vector<char*> envp;
  for (std::string& entry : envStrings) envp.push_back(entry.data());
  envp.push_back(nullptr);

  std::string program = KELULIB_OS_CODE_PAGE_CHILD;
  std::vector<std::string> argStrings{program};
  argStrings.insert(argStrings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : argStrings) argv.push_back(arg.data());
  argv.push_back(nullptr);

  int pipeFds[2];
  if (pipe(pipeFds) != 0) {
    result.output = std::string("pipe: ") + std::strerror(errno);
    return result;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
  posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDERR_FILENO);
  posix_spawn_file_actions_addclose(&actions, pipeFds[1]);
  pid_t pid = 0;
  const int spawnError =
      posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  close(pipeFds[1]);
  if (spawnError != 0) {
    close(pipeFds[0]);
    result.output = "posix_spawn(" + program + "): " + std::strerror(spawnError);
    return result;
  }
  result.started = true;
  char chunk[4096];
  for (;;) {
    const ssize_t got = read(pipeFds[0], chunk, sizeof chunk);
    if (got > 0) {
      result.output.append(chunk, static_cast<size_t>(got));
    } else if (got < 0 && errno == EINTR) {
      continue;
    } else {
      break;
    }
  }
  close(pipeFds[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) {
    result.exitCode = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.output += "\n(killed by signal " + std::to_string(WTERMSIG(status)) + ")";
  }
  return result;
}

#endif

// ---------------------------------------------------------------------------
// Which converter KelCS_OS_DEFAULT resolves to under a given environment.

struct LocaleCase {
  const char* name;
  Environment environment;
  int expectedCodePage;
};

void PrintTo(const LocaleCase& localeCase, std::ostream* os) {
  *os << localeCase.name << " {";
  for (const auto& [name, value] : localeCase.environment) {
    *os << " " << name << "=\"" << value << "\"";
  }
  *os << " } -> " << localeCase.expectedCodePage;
}

class OsCodePageProcessLocale : public testing::TestWithParam<LocaleCase> {};

TEST_P(OsCodePageProcessLocale, OsDefaultIsTheConverterOfTheLocalesCodePage) {
#if defined(_WIN32)
  GTEST_SKIP() << kWindowsReadsGetAcp;
#endif
  const LocaleCase& param = GetParam();
  const ChildResult result =
      runChild({"identity", std::to_string(param.expectedCodePage)}, param.environment);
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 0) << "expected code page " << param.expectedCodePage << "; "
                                << describe(result);
}

// 20127 (US-ASCII) and 437 have no converter: for them the child's
// getConverter(expected) is the UTF-8 converter, and the comparison stays
// right if converters for them are added. 1252, 28591
// and 65001 are three distinct converters, so the precedence cases give
// each variable a different one of them.
INSTANTIATE_TEST_SUITE_P(
    OsCodePage, OsCodePageProcessLocale,
    testing::Values(
        LocaleCase{"NoLocaleVariables", {}, 20127},
        LocaleCase{"LcAllC", {{"LC_ALL", "C"}}, 20127},
        LocaleCase{"LcAllPosix", {{"LC_ALL", "POSIX"}}, 20127},
        LocaleCase{"LcAllEnUsUtf8", {{"LC_ALL", "en_US.UTF-8"}}, 65001},
        LocaleCase{"LcAllCUtf8LowerCase", {{"LC_ALL", "C.utf8"}}, 65001},
        LocaleCase{"LcAllIso885915Euro", {{"LC_ALL", "de_DE.ISO-8859-15@euro"}}, 28605},
        LocaleCase{"LcAllIso88591", {{"LC_ALL", "de_DE.ISO-8859-1"}}, 28591},
        LocaleCase{"LcAllIso88591WithoutSeparators", {{"LC_ALL", "de_DE.iso88591"}}, 28591},
        LocaleCase{"LcAllCp1252", {{"LC_ALL", "en_US.CP1252"}}, 1252},
        LocaleCase{"LcAllWindows1252", {{"LC_ALL", "en_US.windows_1252"}}, 1252},
        LocaleCase{"LcAllEucJp", {{"LC_ALL", "ja_JP.eucJP"}}, 51932},
        LocaleCase{"LcAllCp437", {{"LC_ALL", "en_US.CP437"}}, 437},
        LocaleCase{"LcAllWithoutCodeset", {{"LC_ALL", "en_US"}}, 20127},
        LocaleCase{"LcAllUnknownCodeset", {{"LC_ALL", "en_US.KLINGON"}}, 20127},
        LocaleCase{"LangOnly", {{"LANG", "en_US.CP1252"}}, 1252},
        LocaleCase{"LcCtypeOnly", {{"LC_CTYPE", "de_DE.ISO-8859-1"}}, 28591},
        LocaleCase{"LcAllBeforeLcCtypeAndLang",
                   {{"LC_ALL", "en_US.CP1252"},
                    {"LC_CTYPE", "de_DE.ISO-8859-1"},
                    {"LANG", "en_US.UTF-8"}},
                   1252},
        LocaleCase{"LcAllUtf8BeforeLcCtypeAndLang",
                   {{"LC_ALL", "en_US.UTF-8"},
                    {"LC_CTYPE", "de_DE.ISO-8859-1"},
                    {"LANG", "en_US.CP1252"}},
                   65001},
        LocaleCase{"LcCtypeBeforeLang",
                   {{"LC_CTYPE", "de_DE.ISO-8859-1"}, {"LANG", "en_US.CP1252"}},
                   28591},
        LocaleCase{"LcAllCBeforeLang", {{"LC_ALL", "C"}, {"LANG", "en_US.CP1252"}}, 20127},
        LocaleCase{"EmptyLcAllIsPassedOver",
                   {{"LC_ALL", ""}, {"LC_CTYPE", "de_DE.ISO-8859-1"}, {"LANG", "en_US.CP1252"}},
                   28591},
        LocaleCase{"EmptyLcAllAndLcCtypeArePassedOver",
                   {{"LC_ALL", ""}, {"LC_CTYPE", ""}, {"LANG", "en_US.CP1252"}},
                   1252},
        LocaleCase{"OtherCategoriesAreNotRead",
                   {{"LC_MESSAGES", "en_US.CP1252"}, {"LC_COLLATE", "de_DE.ISO-8859-1"}},
                   20127}),
    [](const testing::TestParamInfo<LocaleCase>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// The path functions under a chosen code page.

#if defined(_WIN32)
TEST(OsCodePageProcess, OsDefaultIsTheConverterOfTheAnsiCodePage) {
  // The child also checks that GetACP() is the code page expected.
  const int expected = expectedAnsiCodePage();
  const ChildResult result = runChild({"identity", std::to_string(expected)}, {});
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 0) << "expected code page " << expected << "; " << describe(result);
}

TEST(OsCodePageProcess, OsDefaultIsUtf8WhereTheManifestAsksForIt) {
  const ChildResult result = runChild({"identity", "65001"}, {}, Child::kUtf8CodePage);
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 0) << describe(result);
}
#endif

TEST(OsCodePageProcess, Windows1252PathsEscapeAndComeBack) {
#if defined(_WIN32)
  if (systemAnsiCodePage() != 1252) {
    GTEST_SKIP() << "needs the ANSI code page 1252 for the child, which the runs under "
                    "LC_ALL=en_US.UTF-8 give";
  }
#endif
  const ChildResult result = runChild({"path-1252"}, {{"LC_ALL", "en_US.CP1252"}});
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 0) << describe(result);
}

TEST(OsCodePageProcess, Utf8PathsPassThrough) {
  const ChildResult result =
      runChild({"path-utf8"}, {{"LC_ALL", "en_US.UTF-8"}}, Child::kUtf8CodePage);
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 0) << describe(result);
}

TEST(OsCodePageProcess, AsciiLocalePathsAreUtf8) {
#if defined(_WIN32)
  GTEST_SKIP() << "no Windows ANSI code page is plain ASCII (the POSIX \"C\" locale's set)";
#endif
  // "C" has no converter of its own; its paths are handled as UTF-8.
  const ChildResult result = runChild({"path-utf8"}, {{"LC_ALL", "C"}});
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 0) << describe(result);
}

// The checks above are only worth something if the child can fail them.

TEST(OsCodePageProcess, ChildReportsAConverterMismatch) {
  const ChildResult result =
      runChild({"identity", "1252"}, {{"LC_ALL", "en_US.UTF-8"}}, Child::kUtf8CodePage);
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 1) << describe(result);
  EXPECT_NE(result.output.find("FAILED"), std::string::npos) << describe(result);
}

TEST(OsCodePageProcess, ChildReportsWrongPathResults) {
  // Under UTF-8, "é" does not go out as the single byte E9.
  const ChildResult result =
      runChild({"path-1252"}, {{"LC_ALL", "en_US.UTF-8"}}, Child::kUtf8CodePage);
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 1) << describe(result);
  EXPECT_NE(result.output.find("FAILED: UTF8ToLocalPath(C3 A9"), std::string::npos)
      << describe(result);
}

TEST(OsCodePageProcess, ChildRejectsUnknownArguments) {
  const ChildResult result = runChild({"no-such-mode"}, {});
  ASSERT_TRUE(result.started) << describe(result);
  EXPECT_EQ(result.exitCode, 2) << describe(result);
}

}  // namespace

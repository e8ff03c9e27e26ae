#include "tests/support/child_process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include <psapi.h>
#else
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace kelulib_test {
namespace {

std::string readFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& name, const std::string& text) {
  std::ofstream(name, std::ios::binary) << text;
}

}  // namespace

#if defined(_WIN32)

namespace {

std::wstring wide(const std::string& utf8) {
  if (utf8.empty()) return std::wstring();
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()),
                                        nullptr, 0);
  std::wstring text(static_cast<size_t>(units), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), text.data(), units);
  return text;
}

std::string narrow(const std::wstring& text) {
  if (text.empty()) return std::string();
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                        nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), utf8.data(), bytes,
                      nullptr, nullptr);
  return utf8;
}

// A temporary file's name (UTF-8), the file created empty.
std::string temporaryFile() {
  wchar_t folder[MAX_PATH + 1];
  wchar_t name[MAX_PATH + 1];
  if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"kel", 0, name) == 0) {
    throw std::runtime_error("cannot create a temporary file");
  }
  return narrow(name);
}

// One argument as the C runtime's command-line parser reads it back.
std::wstring quoted(const std::wstring& argument) {
  if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
    return argument;
  }
  std::wstring text = L"\"";
  size_t backslashes = 0;
  for (wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    // Backslashes before a quote are doubled, and the quote escaped.
    text.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    text += c;
  }
  text.append(2 * backslashes, L'\\');
  return text + L"\"";
}

std::wstring commandLine(const std::vector<std::string>& argv) {
  std::wstring line;
  for (const std::string& argument : argv) {
    if (!line.empty()) line += L' ';
    line += quoted(wide(argument));
  }
  return line;
}

// The program's path as Windows takes it: '/' is a separator there too, and
// an absolute POSIX path names the same file on the current drive (Wine's
// Z:, the root of the Unix file system).
std::wstring programPath(const std::string& program) {
  std::wstring path = wide(program);
  for (wchar_t& c : path) {
    if (c == L'/') c = L'\\';
  }
  return path;
}

HANDLE inheritableFile(const std::string& name, bool forWriting) {
  SECURITY_ATTRIBUTES security{sizeof security, nullptr, TRUE};
  return CreateFileW(wide(name).c_str(), forWriting ? GENERIC_WRITE : GENERIC_READ,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &security,
                     forWriting ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Starts `argv` with the given standard handles; the process handle, or
// null when it cannot be started (the reason goes to standard error).
HANDLE start(const std::vector<std::string>& argv, HANDLE in, HANDLE out, HANDLE err) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = in;
  startup.hStdOutput = out;
  startup.hStdError = err;
  PROCESS_INFORMATION process{};
  std::wstring line = commandLine(argv);
  // Wine now and then fails to start a process with an internal error when
  // the machine is busy; such a start is tried again a few times.
  for (int attempt = 1;; ++attempt) {
    if (CreateProcessW(programPath(argv[0]).c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                       nullptr, nullptr, &startup, &process)) {
      break;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_INTERNAL_ERROR || attempt == 5) {
      std::fprintf(stderr, "CreateProcessW(%s) failed: error %lu\n", argv[0].c_str(), error);
      return nullptr;
    }
    Sleep(200);
  }
  CloseHandle(process.hThread);
  return process.hProcess;
}

// Waits for the process; its exit status and peak working set.
CommandResult waitFor(HANDLE process) {
  CommandResult result;
  if (process == nullptr) return result;
  WaitForSingleObject(process, INFINITE);
  DWORD code = 0;
  if (GetExitCodeProcess(process, &code)) result.exitStatus = static_cast<int>(code);
  PROCESS_MEMORY_COUNTERS memory{};
  if (GetProcessMemoryInfo(process, &memory, sizeof memory)) {
    result.maxResidentKiB = static_cast<long>(memory.PeakWorkingSetSize / 1024);
  }
  CloseHandle(process);
  return result;
}

}  // namespace

void setEnvironmentVariable(const char* name, const char* value) {
  _putenv_s(name, value != nullptr ? value : "");
}

CommandResult runCommand(const std::vector<std::string>& argv, const std::string& input) {
  const std::string inName = temporaryFile();
  const std::string outName = temporaryFile();
  const std::string errName = temporaryFile();
  writeFile(inName, input);
  HANDLE in = inheritableFile(inName, false);
  HANDLE out = inheritableFile(outName, true);
  HANDLE err = inheritableFile(errName, true);
  HANDLE process = start(argv, in, out, err);
  for (HANDLE handle : {in, out, err}) CloseHandle(handle);
  CommandResult result = waitFor(process);
  result.out = readFile(outName);
  result.err = readFile(errName);
  for (const std::string& name : {inName, outName, errName}) DeleteFileW(wide(name).c_str());
  return result;
}

ChildProcess::ChildProcess(const std::vector<std::string>& argv) : m_errorFile(temporaryFile()) {
  SECURITY_ATTRIBUTES security{sizeof security, nullptr, TRUE};
  HANDLE inRead = nullptr;
  HANDLE inWrite = nullptr;
  HANDLE outRead = nullptr;
  HANDLE outWrite = nullptr;
  if (!CreatePipe(&inRead, &inWrite, &security, 0) ||
      !CreatePipe(&outRead, &outWrite, &security, 0)) {
    throw std::runtime_error("cannot make pipes");
  }
  // The ends this process keeps are not the child's.
  SetHandleInformation(inWrite, HANDLE_FLAG_INHERIT, 0);
  SetHandleInformation(outRead, HANDLE_FLAG_INHERIT, 0);
  HANDLE err = inheritableFile(m_errorFile, true);
  m_process = start(argv, inRead, outWrite, err);
  for (HANDLE handle : {inRead, outWrite, err}) CloseHandle(handle);
  m_input = _open_osfhandle(reinterpret_cast<intptr_t>(inWrite), _O_BINARY);
  m_output = _open_osfhandle(reinterpret_cast<intptr_t>(outRead), _O_BINARY | _O_RDONLY);
}

ChildProcess::~ChildProcess() {
  closeInput();
  if (m_output >= 0) _close(m_output);
  if (m_process != nullptr) waitFor(static_cast<HANDLE>(m_process));
  DeleteFileW(wide(m_errorFile).c_str());
}

void ChildProcess::closeInput() {
  if (m_input >= 0) _close(m_input);
  m_input = -1;
}

CommandResult ChildProcess::wait() {
  closeInput();
  CommandResult result = waitFor(static_cast<HANDLE>(m_process));
  m_process = nullptr;
  result.err = readFile(m_errorFile);
  return result;
}

#else  // POSIX

namespace {

// A temporary file's name, the file created empty.
std::string temporaryFile() {
  const char* directory = std::getenv("TMPDIR");
  std::string name = std::string(directory != nullptr ? directory : "/tmp") + "/kelulib-XXXXXX";
  const int descriptor = mkstemp(name.data());
  if (descriptor < 0) throw std::runtime_error("cannot create a temporary file");
  close(descriptor);
  return name;
}

// In the child: the three standard streams from the given descriptors, then
// the program. Does not return.
[[noreturn]] void execute(const std::vector<std::string>& argv, int in, int out, int err) {
  dup2(in, 0);
  dup2(out, 1);
  dup2(err, 2);
  std::vector<char*> arguments;
  for (const std::string& argument : argv) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  std::perror(arguments[0]);
  _exit(127);
}

// Waits for `pid`; its exit status (-1 if it did not exit) and peak memory.
CommandResult waitFor(pid_t pid) {
  CommandResult result;
  int status = 0;
  rusage usage{};
  while (wait4(pid, &status, 0, &usage) < 0) {
    if (errno != EINTR) return result;
  }
  result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.maxResidentKiB = usage.ru_maxrss;
  return result;
}

}  // namespace

void setEnvironmentVariable(const char* name, const char* value) {
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

CommandResult runCommand(const std::vector<std::string>& argv, const std::string& input) {
  const std::string inName = temporaryFile();
  const std::string outName = temporaryFile();
  const std::string errName = temporaryFile();
  writeFile(inName, input);
  const pid_t pid = fork();
  if (pid == 0) {
    execute(argv, open(inName.c_str(), O_RDONLY), open(outName.c_str(), O_WRONLY),
            open(errName.c_str(), O_WRONLY));
  }
  CommandResult result = waitFor(pid);
  result.out = readFile(outName);
  result.err = readFile(errName);
  for (const std::string& name : {inName, outName, errName}) std::remove(name.c_str());
  return result;
}

ChildProcess::ChildProcess(const std::vector<std::string>& argv) : m_errorFile(temporaryFile()) {
  int in[2];
  int out[2];
  if (pipe(in) != 0 || pipe(out) != 0) throw std::runtime_error("cannot make pipes");
  m_pid = fork();
  if (m_pid == 0) {
    close(in[1]);
    close(out[0]);
    execute(argv, in[0], out[1], open(m_errorFile.c_str(), O_WRONLY));
  }
  close(in[0]);
  close(out[1]);
  m_input = in[1];
  m_output = out[0];
}

ChildProcess::~ChildProcess() {
  closeInput();
  if (m_output >= 0) close(m_output);
  if (m_pid > 0) waitFor(m_pid);
  std::remove(m_errorFile.c_str());
}

void ChildProcess::closeInput() {
  if (m_input >= 0) close(m_input);
  m_input = -1;
}

CommandResult ChildProcess::wait() {
  closeInput();
  CommandResult result = waitFor(m_pid);
  m_pid = -1;
  result.err = readFile(m_errorFile);
  return result;
}

#endif

}  // namespace kelulib_test

#include "tests/support/child_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kelulib_test {
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

std::string readFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& name, const std::string& text) {
  std::ofstream(name, std::ios::binary) << text;
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

}  // namespace kelulib_test

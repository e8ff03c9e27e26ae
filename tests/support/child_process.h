// Runs a program as a child process, for tests of command-line tools: with
// fork and exec on POSIX systems, with CreateProcessW on Windows (under Wine
// a child's ANSI code page follows the LC_ALL of its environment).
#ifndef KELULIB_TESTS_SUPPORT_CHILD_PROCESS_H_
#define KELULIB_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <string>
#include <sys/types.h>
#include <vector>

namespace kelulib_test {

struct CommandResult {
  int exitStatus = -1;        // -1 when the program did not exit normally
  std::string out;            // what it wrote to standard output
  std::string err;            // ... and to standard error
  long maxResidentKiB = 0;    // its peak resident set size (Windows: peak working set)
};

// Sets the environment variable `name` of this process, which children
// inherit, to `value`; a null value removes it.
void setEnvironmentVariable(const char* name, const char* value);

// Runs `argv` (argv[0] is the program's path) with `input` as its standard
// input and waits for it.
CommandResult runCommand(const std::vector<std::string>& argv, const std::string& input = {});

// A running program whose standard input and output are pipes held by the
// caller; its standard error is collected. The caller must keep both pipes
// moving (write from one thread, read from another) to avoid a deadlock.
class ChildProcess {
 public:
  explicit ChildProcess(const std::vector<std::string>& argv);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // The write end of its standard input, until closeInput().
  int input() const { return m_input; }
  // The read end of its standard output.
  int output() const { return m_output; }
  void closeInput();

  // Waits for it to end; `out` stays empty (the caller read the pipe).
  CommandResult wait();

#if !defined(_WIN32)
  // Its process id (to send it a signal).
  pid_t pid() const { return m_pid; }
#endif

 private:
#if defined(_WIN32)
  void* m_process = nullptr;  // the child's process handle
#else
  pid_t m_pid = -1;
#endif
  int m_input = -1;
  int m_output = -1;
  std::string m_errorFile;
};

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_CHILD_PROCESS_H_

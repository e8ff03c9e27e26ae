// What kelconv needs to know about the operating system's files to never
// destroy its input: which names are the same file, and an output file that
// takes the place of the old one only once it is complete. File names are
// UTF-8.
#ifndef KELULIB_TOOLS_KELCONV_PLATFORM_FILES_H_
#define KELULIB_TOOLS_KELCONV_PLATFORM_FILES_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

namespace kelconv {

// A file as the system knows it: the device (on Windows the volume's serial
// number) and the file on it (the inode; on Windows the file index).
struct FileIdentity {
  uint64_t device = 0;
  uint64_t file = 0;
  bool known = false;
};

inline bool sameFile(const FileIdentity& a, const FileIdentity& b) {
  return a.known && b.known && a.device == b.device && a.file == b.file;
}

// The file that `name` names, through symbolic links; unknown when there is
// none.
FileIdentity identityOfFile(const std::string& name);

// The regular file behind an open stream; unknown for anything else (a
// terminal, a pipe, a device).
FileIdentity identityOfStream(std::FILE* stream);

// How reading a file through mapped memory went.
enum class MappedRead {
  kNotMapped,  // the file was not mapped (not a regular file, or no way to map
               // it here): nothing was read, read it as a stream
  kRead,       // read to its end, or until `consume` said to stop
  kFailed,     // the file could not be read (it shrank while being read)
};

// Reads the regular file behind `stream` (opened, nothing read from it yet)
// a window of mapped memory at a time, handing each window in order to
// `consume`, which returns false to stop. This spares the copy that reading
// into a buffer makes, and keeps no more than a window of the file in
// memory. A window's bytes are valid only during its call, and `consume`
// must keep no state that a window's reading could leave half made: on a
// file that shrinks under it, the reading ends inside `consume` (with
// kFailed and EIO in `error`).
MappedRead readMapped(std::FILE* stream,
                      const std::function<bool(const unsigned char* bytes, size_t size)>& consume,
                      int& error);

// An output file that replaces the old one only when it is complete. A
// regular file, or a name that does not exist yet, is written to a
// temporary file in the same folder, which commit() renames over it: the
// old file stays whole until then, and an interrupted or failed run leaves
// it as it was. When the name is a symbolic link, the file it leads to is
// replaced (the link stays). Anything else (a device such as /dev/null, a
// pipe) is written directly. A file the user may not write is refused.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Opens the output for `name`; false, with the system's message in
  // `error`, when it cannot be.
  bool open(const std::string& name, std::string& error);

  std::FILE* stream() const { return m_stream; }

  // Whether the output is written to a temporary that replaces the file.
  bool replacesFile() const { return !m_temporary.empty(); }

  // Closes the output; the temporary then takes the file's place, with the
  // permissions the old file had (a new file gets the usual ones). False,
  // with the system's message in `error`, when that fails; the temporary is
  // then removed and the old file left as it was.
  bool commit(std::string& error);

  // Closes and removes the temporary: the old file is left as it was.
  void abandon();

 private:
  std::FILE* m_stream = nullptr;
  std::string m_temporary;  // empty when the output is written directly
  std::string m_target;     // the file the temporary replaces
};

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_PLATFORM_FILES_H_

#include "tools/kelconv/platform_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <atomic>
#include <cwchar>
#else
#include <fcntl.h>
#include <limits.h>
#include <setjmp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "tools/kelconv/platform_streams.h"

namespace kelconv {
namespace {

// The folder part of `path` ("." for none) and its last part.
std::string folderOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  if (slash == std::string::npos) return ".";
  return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

std::string lastPartOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

#if defined(_WIN32)

namespace {

std::string systemMessage(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return "No such file or directory";
    case ERROR_ACCESS_DENIED:
      return "Permission denied";
    default:
      break;
  }
  char* text = nullptr;
  FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
  std::string message = text != nullptr ? text : "error " + std::to_string(code);
  LocalFree(text);
  while (!message.empty() &&
         (message.back() == '\n' || message.back() == '\r' || message.back() == '.')) {
    message.pop_back();
  }
  return message;
}

HANDLE openForQuery(const std::wstring& name) {
  return CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                     nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

FileIdentity identityOfHandle(HANDLE handle) {
  FileIdentity identity;
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileType(handle) == FILE_TYPE_DISK && GetFileInformationByHandle(handle, &information)) {
    identity.device = information.dwVolumeSerialNumber;
    identity.file = (uint64_t{information.nFileIndexHigh} << 32) | information.nFileIndexLow;
    identity.known = true;
  }
  return identity;
}

// The temporary file being written, removed when the console is
// interrupted.
wchar_t g_temporary[32768];
std::atomic<bool> g_hasTemporary{false};

BOOL WINAPI removeTemporaryOnInterrupt(DWORD) {
  if (g_hasTemporary.load()) DeleteFileW(g_temporary);
  return FALSE;  // and end the program as usual
}

void rememberTemporary(const std::wstring& name) {
  static const bool installed = SetConsoleCtrlHandler(removeTemporaryOnInterrupt, TRUE) != 0;
  (void)installed;
  wcsncpy(g_temporary, name.c_str(), sizeof g_temporary / sizeof g_temporary[0] - 1);
  g_hasTemporary.store(true);
}

void forgetTemporary() { g_hasTemporary.store(false); }

}  // namespace

FileIdentity identityOfFile(const std::string& name) {
  const HANDLE handle = openForQuery(wideName(name));
  if (handle == INVALID_HANDLE_VALUE) return FileIdentity();
  const FileIdentity identity = identityOfHandle(handle);
  CloseHandle(handle);
  return identity;
}

MappedRead readMapped(std::FILE*, const std::function<bool(const unsigned char*, size_t)>&, int&) {
  return MappedRead::kNotMapped;  // read as a stream
}

FileIdentity identityOfStream(std::FILE* stream) {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  if (handle == INVALID_HANDLE_VALUE) return FileIdentity();
  return identityOfHandle(handle);
}

bool OutputFile::open(const std::string& name, std::string& error) {
  std::wstring target = wideName(name);
  // The file a symbolic link leads to, and whether it is a file on disk.
  bool onDisk = true;
  const HANDLE existing = openForQuery(target);
  if (existing != INVALID_HANDLE_VALUE) {
    onDisk = GetFileType(existing) == FILE_TYPE_DISK;
    wchar_t final[32768];
    const DWORD length = GetFinalPathNameByHandleW(existing, final, 32768, FILE_NAME_NORMALIZED);
    if (onDisk && length > 0 && length < 32768) target.assign(final, length);
    CloseHandle(existing);
    const DWORD attributes = onDisk ? GetFileAttributesW(target.c_str()) : 0;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      error = "Is a directory";
      return false;
    }
    // A read-only file is not replaced either.
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
      error = "Permission denied";
      return false;
    }
  }
  if (!onDisk) {
    m_stream = _wfopen(target.c_str(), L"wb");
    if (m_stream == nullptr) error = std::strerror(errno);
    return m_stream != nullptr;
  }
  const std::string targetName = utf8Name(target);
  const std::wstring folder = wideName(folderOf(targetName));
  const std::wstring prefix = folder + L"\\." + wideName(lastPartOf(targetName)) + L".kelconv-";
  HANDLE handle = INVALID_HANDLE_VALUE;
  std::wstring temporary;
  for (unsigned attempt = 0; attempt < 100 && handle == INVALID_HANDLE_VALUE; ++attempt) {
    temporary = prefix + std::to_wstring(GetCurrentProcessId()) + L"-" +
                std::to_wstring(GetTickCount() + attempt);
    handle = CreateFileW(temporary.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                         nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS) break;
  }
  if (handle == INVALID_HANDLE_VALUE) {
    error = systemMessage(GetLastError());
    return false;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_WRONLY | _O_BINARY);
  m_stream = descriptor >= 0 ? _fdopen(descriptor, "wb") : nullptr;
  if (m_stream == nullptr) {
    error = std::strerror(errno);
    if (descriptor >= 0) {
      _close(descriptor);
    } else {
      CloseHandle(handle);
    }
    DeleteFileW(temporary.c_str());
    return false;
  }
  rememberTemporary(temporary);
  m_temporary = utf8Name(temporary);
  m_target = utf8Name(target);
  return true;
}

namespace {

// Renames `temporary` over `target`; false with the system's message.
bool replaceFile(const std::string& temporary, const std::string& target, std::string& error) {
  if (MoveFileExW(wideName(temporary).c_str(), wideName(target).c_str(),
                  MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) {
    return true;
  }
  error = systemMessage(GetLastError());
  return false;
}

void removeFile(const std::string& name) { DeleteFileW(wideName(name).c_str()); }

}  // namespace

#else  // POSIX

namespace {

// The temporary file being written, removed when a signal ends the
// program (a fixed buffer: the handler may only call async-signal-safe
// functions).
char g_temporary[PATH_MAX];
volatile sig_atomic_t g_hasTemporary = 0;

extern "C" void removeTemporaryAndDie(int signal) {
  if (g_hasTemporary != 0) unlink(g_temporary);
  ::signal(signal, SIG_DFL);
  raise(signal);
}

void rememberTemporary(const std::string& name) {
  static const bool installed = [] {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction action = {};
      action.sa_handler = removeTemporaryAndDie;
      sigemptyset(&action.sa_mask);
      sigaction(signal, &action, nullptr);
    }
    return true;
  }();
  (void)installed;
  g_hasTemporary = 0;
  std::strncpy(g_temporary, name.c_str(), sizeof g_temporary - 1);
  g_hasTemporary = 1;
}

void forgetTemporary() { g_hasTemporary = 0; }

FileIdentity identityOf(const struct stat& status) {
  FileIdentity identity;
  identity.device = static_cast<uint64_t>(status.st_dev);
  identity.file = static_cast<uint64_t>(status.st_ino);
  identity.known = true;
  return identity;
}

// `name` with every symbolic link along it followed, as far as the links
// lead (the last one may name a file that does not exist yet).
std::string followLinks(std::string name) {
  for (int hop = 0; hop < 40; ++hop) {
    struct stat status;
    if (lstat(name.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return name;
    char link[PATH_MAX];
    const ssize_t length = readlink(name.c_str(), link, sizeof link - 1);
    if (length < 0) return name;
    const std::string leadsTo(link, static_cast<size_t>(length));
    name = leadsTo[0] == '/' ? leadsTo : folderOf(name) + "/" + leadsTo;
  }
  return name;
}

// The permissions a new file gets: all reading and writing but what the
// process's file-mode mask takes away.
mode_t newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Bytes of a file mapped at a time.
constexpr size_t kMappedWindow = 1 << 20;

// Where a read of mapped memory goes on when the file has shrunk under it:
// the access past the file's new end raises SIGBUS, and the handler jumps
// back into readMapped instead of ending the program.
sigjmp_buf g_mappedReadJump;
volatile sig_atomic_t g_inMappedRead = 0;

extern "C" void leaveMappedRead(int signal) {
  if (g_inMappedRead != 0) siglongjmp(g_mappedReadJump, 1);
  ::signal(signal, SIG_DFL);
  raise(signal);
}

}  // namespace

MappedRead readMapped(std::FILE* stream,
                      const std::function<bool(const unsigned char*, size_t)>& consume,
                      int& error) {
  struct stat status;
  const int descriptor = fileno(stream);
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return MappedRead::kNotMapped;
  static const bool installed = [] {
    struct sigaction action = {};
    action.sa_handler = leaveMappedRead;
    sigemptyset(&action.sa_mask);
    return sigaction(SIGBUS, &action, nullptr) == 0;
  }();
  if (!installed) return MappedRead::kNotMapped;
  const auto size = static_cast<uint64_t>(status.st_size);
  for (uint64_t offset = 0; offset < size; offset += kMappedWindow) {
    const size_t length = static_cast<size_t>(std::min<uint64_t>(kMappedWindow, size - offset));
    void* window =
        mmap(nullptr, length, PROT_READ, MAP_PRIVATE, descriptor, static_cast<off_t>(offset));
    if (window == MAP_FAILED) {
      if (offset == 0) return MappedRead::kNotMapped;
      error = errno;
      return MappedRead::kFailed;
    }
    madvise(window, length, MADV_SEQUENTIAL);
    bool goOn = false;
    if (sigsetjmp(g_mappedReadJump, 1) == 0) {
      g_inMappedRead = 1;
      goOn = consume(static_cast<const unsigned char*>(window), length);
      g_inMappedRead = 0;
    } else {
      g_inMappedRead = 0;
      munmap(window, length);
      error = EIO;
      return MappedRead::kFailed;
    }
    munmap(window, length);
    if (!goOn) break;
  }
  return MappedRead::kRead;
}

FileIdentity identityOfFile(const std::string& name) {
  struct stat status;
  if (stat(name.c_str(), &status) != 0) return FileIdentity();
  return identityOf(status);
}

FileIdentity identityOfStream(std::FILE* stream) {
  struct stat status;
  if (fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode)) return FileIdentity();
  return identityOf(status);
}

bool OutputFile::open(const std::string& name, std::string& error) {
  const std::string target = followLinks(name);
  struct stat status;
  const bool exists = stat(target.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) {
    error = std::strerror(EISDIR);
    return false;
  }
  if (exists && !S_ISREG(status.st_mode)) {
    m_stream = std::fopen(target.c_str(), "wb");
    if (m_stream == nullptr) error = std::strerror(errno);
    return m_stream != nullptr;
  }
  // A file the user may not write is not replaced either.
  if (exists && access(target.c_str(), W_OK) != 0) {
    error = std::strerror(errno);
    return false;
  }
  std::string temporary = folderOf(target) + "/." + lastPartOf(target) + ".kelconv-XXXXXX";
  const int descriptor = mkstemp(&temporary[0]);
  if (descriptor < 0) {
    error = std::strerror(errno);
    return false;
  }
  rememberTemporary(temporary);
  if (exists) {
    fchmod(descriptor, status.st_mode & 07777);
    // Keeps the owner where the system lets it (a user may not give files
    // away; the file is then the user's, as any new file is).
    if (fchown(descriptor, status.st_uid, status.st_gid) != 0) {
      fchmod(descriptor, status.st_mode & 0777);
    }
  } else {
    fchmod(descriptor, newFileMode());
  }
  m_stream = fdopen(descriptor, "wb");
  if (m_stream == nullptr) {
    error = std::strerror(errno);
    close(descriptor);
    unlink(temporary.c_str());
    forgetTemporary();
    return false;
  }
  m_temporary = temporary;
  m_target = target;
  return true;
}

namespace {

// Renames `temporary` over `target`; false with the system's message.
bool replaceFile(const std::string& temporary, const std::string& target, std::string& error) {
  if (std::rename(temporary.c_str(), target.c_str()) == 0) return true;
  error = std::strerror(errno);
  return false;
}

void removeFile(const std::string& name) { unlink(name.c_str()); }

}  // namespace

#endif

bool OutputFile::commit(std::string& error) {
  if (m_stream == nullptr) return true;
  const bool closed = std::fclose(m_stream) == 0;
  m_stream = nullptr;
  if (!closed) error = std::strerror(errno);
  if (m_temporary.empty()) return closed;
  const bool replaced = closed && replaceFile(m_temporary, m_target, error);
  if (!replaced) removeFile(m_temporary);
  forgetTemporary();
  m_temporary.clear();
  return replaced;
}

void OutputFile::abandon() {
  if (m_stream != nullptr) std::fclose(m_stream);
  m_stream = nullptr;
  if (m_temporary.empty()) return;
  removeFile(m_temporary);
  forgetTemporary();
  m_temporary.clear();
}

OutputFile::~OutputFile() { abandon(); }

}  // namespace kelconv

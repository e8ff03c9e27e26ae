#include "tools/kelconv/platform_streams.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace kelconv {

#if defined(_WIN32)

bool isTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

void useBinaryMode(std::FILE* stream) { _setmode(_fileno(stream), _O_BINARY); }

#else

bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

void useBinaryMode(std::FILE*) {}

#endif

}  // namespace kelconv

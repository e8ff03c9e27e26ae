// The little kelconv needs to know about the operating system's streams.
#ifndef KELULIB_TOOLS_KELCONV_PLATFORM_STREAMS_H_
#define KELULIB_TOOLS_KELCONV_PLATFORM_STREAMS_H_

#include <cstdio>

namespace kelconv {

// Whether `stream` is connected to a terminal.
bool isTerminal(std::FILE* stream);

// Makes `stream` pass bytes through unchanged (no newline translation),
// where the platform distinguishes text from binary streams.
void useBinaryMode(std::FILE* stream);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_PLATFORM_STREAMS_H_

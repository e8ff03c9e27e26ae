// kelconv as a program: its command line in, its exit status out.
#ifndef KELULIB_TOOLS_KELCONV_PROGRAM_H_
#define KELULIB_TOOLS_KELCONV_PROGRAM_H_

#include <string>
#include <vector>

namespace kelconv {

// Runs kelconv on the arguments after the program name (UTF-8); writes to
// the standard streams and returns the exit status.
int runKelconv(const std::vector<std::string>& arguments);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_PROGRAM_H_

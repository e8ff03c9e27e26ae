// kelconv's entry point: the command line, in UTF-8, to the program.
#include <string>
#include <vector>

#include "tools/kelconv/platform_streams.h"
#include "tools/kelconv/program.h"

#if defined(_WIN32)
// Windows passes the command line in UTF-16: a file name in any script
// arrives whole, whatever the ANSI code page (the program is linked with
// -municode).
int wmain(int argc, wchar_t** argv) {
  return kelconv::runKelconv(kelconv::utf8Arguments(argc, argv));
}
#else
int main(int argc, char** argv) {
  return kelconv::runKelconv(std::vector<std::string>(argv + 1, argv + argc));
}
#endif

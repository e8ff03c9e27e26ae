// kelconv: converts text between character sets with KelULib, in the
// manner of iconv(1). See kelconv.1 and `kelconv --help`.
#include <string>
#include <vector>

#include "tools/kelconv/program.h"

int main(int argc, char** argv) {
  return kelconv::runKelconv(std::vector<std::string>(argv + 1, argv + argc));
}

#include "tests/support/iconv_oracle.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace kelulib_test {

std::optional<std::string> iconvConvert(const std::string& input, const char* fromCode,
                                        const char* toCode) {
  iconv_t cd = iconv_open(toCode, fromCode);
  if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string output(input.size() * 8 + 16, '\0');
  char* in = const_cast<char*>(input.data());
  size_t inLeft = input.size();
  char* out = output.data();
  size_t outLeft = output.size();
  const size_t result = iconv(cd, &in, &inLeft, &out, &outLeft);
  const bool ok = result != static_cast<size_t>(-1) && inLeft == 0 &&
                  iconv(cd, nullptr, nullptr, &out, &outLeft) != static_cast<size_t>(-1);
  iconv_close(cd);
  if (!ok) return std::nullopt;
  output.resize(output.size() - outLeft);
  return output;
}

std::string unitsToBytes(const std::u16string& units) {
  std::string bytes(units.size() * sizeof(char16_t), '\0');
  std::memcpy(bytes.data(), units.data(), bytes.size());
  return bytes;
}

std::u16string bytesToUnits(const std::string& bytes) {
  std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
  std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
  return units;
}

}  // namespace kelulib_test

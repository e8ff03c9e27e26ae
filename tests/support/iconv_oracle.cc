#include "tests/support/iconv_oracle.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace kelulib_test {

namespace {

const auto kNotOpen = reinterpret_cast<iconv_t>(-1);

}  // namespace

IconvConverter::IconvConverter(const char* fromCode, const char* toCode)
    : m_descriptor(iconv_open(toCode, fromCode)) {}

IconvConverter::~IconvConverter() {
  if (isOpen()) iconv_close(m_descriptor);
}

bool IconvConverter::isOpen() const { return m_descriptor != kNotOpen; }

std::optional<std::string> IconvConverter::convert(const std::string& input) {
  if (!isOpen()) return std::nullopt;
  iconv(m_descriptor, nullptr, nullptr, nullptr, nullptr);  // back to the start state
  std::string output(input.size() * 8 + 16, '\0');
  char* in = const_cast<char*>(input.data());
  size_t inLeft = input.size();
  char* out = output.data();
  size_t outLeft = output.size();
  const size_t result = iconv(m_descriptor, &in, &inLeft, &out, &outLeft);
  const bool ok = result != static_cast<size_t>(-1) && inLeft == 0 &&
                  iconv(m_descriptor, nullptr, nullptr, &out, &outLeft) != static_cast<size_t>(-1);
  if (!ok) return std::nullopt;
  output.resize(output.size() - outLeft);
  return output;
}

std::optional<std::string> iconvConvert(const std::string& input, const char* fromCode,
                                        const char* toCode) {
  return IconvConverter(fromCode, toCode).convert(input);
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

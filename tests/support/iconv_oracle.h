// glibc iconv(3) as an independent oracle for conversion tests.
#ifndef KELULIB_TESTS_SUPPORT_ICONV_ORACLE_H_
#define KELULIB_TESTS_SUPPORT_ICONV_ORACLE_H_

#include <optional>
#include <string>
#include <vector>

namespace kelulib_test {

// One iconv conversion descriptor, reused for many small conversions.
class IconvConverter {
 public:
  IconvConverter(const char* fromCode, const char* toCode);
  ~IconvConverter();
  IconvConverter(const IconvConverter&) = delete;
  IconvConverter& operator=(const IconvConverter&) = delete;

  // False when iconv does not know either code.
  bool isOpen() const;

  // `input` converted from the start state; nullopt when iconv rejects any
  // of it (invalid or unmappable input) or the descriptor is not open.
  std::optional<std::string> convert(const std::string& input);

 private:
  void* m_descriptor;
};

// `input` converted from `fromCode` to `toCode` by iconv; nullopt when iconv
// rejects any of it (invalid or unmappable input) or does not know a code.
std::optional<std::string> iconvConvert(const std::string& input, const char* fromCode,
                                        const char* toCode);

// UTF-16 units (machine order) as bytes, and back.
std::string unitsToBytes(const std::u16string& units);
std::u16string bytesToUnits(const std::string& bytes);

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_ICONV_ORACLE_H_

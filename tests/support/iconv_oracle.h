// glibc iconv(3) as an independent oracle for conversion tests. Its answers
// come from the recordings in tests/oracle (see oracle_answers.h), so the
// same comparisons run where there is no glibc.
#ifndef KELULIB_TESTS_SUPPORT_ICONV_ORACLE_H_
#define KELULIB_TESTS_SUPPORT_ICONV_ORACLE_H_

#include <optional>
#include <string>
#include <vector>

#include "tests/support/oracle_answers.h"

namespace kelulib_test {

// iconv from one code to another, for many small conversions.
class IconvConverter {
 public:
  IconvConverter(const char* fromCode, const char* toCode);
  IconvConverter(const IconvConverter&) = delete;
  IconvConverter& operator=(const IconvConverter&) = delete;

  // False when iconv does not know either code (nothing was recorded).
  bool isOpen() const;

  // `input` converted from the start state; nullopt when iconv rejects any
  // of it (invalid or unmappable input) or the converter is not open.
  std::optional<std::string> convert(const std::string& input);

  // Whether iconv converts all of `input`.
  bool accepts(const std::string& input);

  // Whether iconv converts `input` to exactly `candidate` (for long outputs,
  // which the recordings keep as digests).
  bool writes(const std::string& input, const std::string& candidate);

  // iconv's answer to `input`, with at least what `need` asks for (a
  // rejection when the converter is not open).
  OracleAnswer answer(const std::string& input, OracleNeed need);

 private:
  OracleChannel& m_channel;
};

// `input` converted from `fromCode` to `toCode` by iconv; nullopt when iconv
// rejects any of it (invalid or unmappable input) or does not know a code.
std::optional<std::string> iconvConvert(const std::string& input, const char* fromCode,
                                        const char* toCode);

// The same as an answer that tells its size and whether a candidate is what
// iconv wrote, for long outputs (kept as digests).
OracleAnswer iconvAnswer(const std::string& input, const char* fromCode, const char* toCode);

// UTF-16 units (machine order) as bytes, and back.
std::string unitsToBytes(const std::u16string& units);
std::u16string bytesToUnits(const std::string& bytes);

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_ICONV_ORACLE_H_

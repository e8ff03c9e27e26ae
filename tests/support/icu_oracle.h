// An ICU converter (libicuuc) as an independent oracle for conversion
// tests: strict in both directions (no substitution, no best-fit mappings
// from Unicode). Its answers come from the recordings in tests/oracle (see
// oracle_answers.h), so the same comparisons run where there is no ICU.
#ifndef KELULIB_TESTS_SUPPORT_ICU_ORACLE_H_
#define KELULIB_TESTS_SUPPORT_ICU_ORACLE_H_

#include <optional>
#include <string>

#include "tests/support/oracle_answers.h"

namespace kelulib_test {

class IcuConverter {
 public:
  // The ICU converter `name` exactly (not through an alias that ICU would
  // resolve to another table).
  explicit IcuConverter(const char* name);
  IcuConverter(const IcuConverter&) = delete;
  IcuConverter& operator=(const IcuConverter&) = delete;

  // False when ICU does not know the name, or knows it as another table
  // (nothing was recorded).
  bool isOpen() const;

  // The code points `bytes` decode to; nullopt when ICU rejects any of them.
  std::optional<std::u32string> decode(const std::string& bytes);

  // The bytes of `text`; nullopt when ICU cannot map all of it.
  std::optional<std::string> encode(const std::u32string& text);

 private:
  OracleChannel& m_decoder;
  OracleChannel& m_encoder;
};

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_ICU_ORACLE_H_

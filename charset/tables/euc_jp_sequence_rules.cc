// Where the characters of EUC-JP end, as KelCharSetConverterEUC_JP reads
// them: it takes a two- or three-byte sequence as one character only when
// its tables map the code, and otherwise reads the first byte alone. So the
// rules ask the converter's own reading of one character.
#include "charset/sequence_rules.h"
#include "charset/tables/euc_jp_converter.h"
#include "charset/tables/mbcs_conversion.h"

namespace kelulib {

class KelEucJpSequenceRules : public KelSequenceRules {
 public:
  using EUC_JP = KelCharSetConverterEUC_JP;

  // Loads the converter's tables, which the rules read from then on.
  explicit KelEucJpSequenceRules(EUC_JP& converter) : m_converter(converter) { converter.load(); }

  size_t sequenceLength(const unsigned char* data, size_t available) const override {
    if (EUC_JP::isCS0(data[0])) return 1;
    const size_t longest = EUC_JP::isSS3(data[0]) ? 3 : 2;
    for (size_t i = 1; i < longest; ++i) {
      if (i == available) return 0;
      if (data[i] == 0) return 1;  // the text ends there: the byte is read alone
    }
    return m_converter.decodeAt(data).length;
  }

  // A byte below 0x7F ends a character, unless it may be the first of the
  // two bytes after SS3.
  size_t characterStartBefore(const unsigned char* data, size_t size) const override {
    for (size_t at = size; at > 0; --at) {
      if (EUC_JP::isCS0(data[at - 1]) && (at == 1 || !EUC_JP::isSS3(data[at - 2]))) return at;
    }
    return 0;
  }

 private:
  EUC_JP& m_converter;
};

std::unique_ptr<KelSequenceRules> eucJpSequenceRules(KelCharSetConverterEUC_JP& converter) {
  return std::make_unique<KelEucJpSequenceRules>(converter);
}

}  // namespace kelulib

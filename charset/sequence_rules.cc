#include "charset/sequence_rules.h"

#include "charset/tables/dbcs_converter.h"
#include "charset/tables/euc_cn_kr_converter.h"
#include "charset/tables/euc_jp_converter.h"
#include "charset/tables/gb18030_converter.h"
#include "charset/unicode/utf16_converters.h"
#include "charset/unicode/utf8_converter.h"

namespace kelulib {

size_t KelSequenceRules::characterStartBefore(const unsigned char*, size_t) const { return 0; }

size_t KelFixedSizeRules::sequenceLength(const unsigned char*, size_t available) const {
  return available >= m_unitSize ? m_unitSize : 0;
}

size_t KelFixedSizeRules::characterStartBefore(const unsigned char*, size_t size) const {
  return size - size % m_unitSize;
}

KelWholeCharacters wholeCharacters(const KelSequenceRules& rules, const unsigned char* data,
                                   size_t size) {
  constexpr size_t kNone = static_cast<size_t>(-1);
  size_t end = rules.characterStartBefore(data, size);
  size_t lastStart = kNone;
  while (end < size) {
    const size_t length = rules.sequenceLength(data + end, size - end);
    if (length == 0) break;
    lastStart = end;
    end += length;
  }
  if (lastStart == kNone && end > 0) {
    // No whole character after the marked start: the last one ends there.
    // Walk to it from a start that the bytes before it mark.
    for (size_t at = rules.characterStartBefore(data, end - 1); at < end;) {
      const size_t length = rules.sequenceLength(data + at, size - at);
      if (length == 0) break;
      lastStart = at;
      at += length;
    }
  }
  return {end, lastStart == kNone ? end : lastStart};
}

std::unique_ptr<KelSequenceRules> sequenceRulesOf(KelCharSetConverter& converter) {
  if (dynamic_cast<KelCharSetConverterUTF8*>(&converter) != nullptr) return utf8SequenceRules();
  if (dynamic_cast<KelCharSetConverterUTF16Esc*>(&converter) != nullptr) {
    return unitEscapeSequenceRules();
  }
  if (auto* dbcs = dynamic_cast<KelCharSetConverterDBCSBase*>(&converter)) {
    return dbcsSequenceRules(*dbcs);
  }
  if (dynamic_cast<KelCharSetConverterEUC_CN_KR*>(&converter) != nullptr) {
    return eucCnKrSequenceRules();
  }
  if (auto* eucJp = dynamic_cast<KelCharSetConverterEUC_JP*>(&converter)) {
    return eucJpSequenceRules(*eucJp);
  }
  if (dynamic_cast<KelCharSetConverterGB18030*>(&converter) != nullptr) {
    return gb18030SequenceRules();
  }
  // The single-byte sets, UTF-16 and UTF-32, and any other converter whose
  // characters are all of one size.
  const size_t size = converter.getMinUnitSize();
  if (size == converter.getMaxUnitSize() && (size == 1 || size == 2 || size == 4)) {
    return std::make_unique<KelFixedSizeRules>(size);
  }
  return nullptr;
}

}  // namespace kelulib

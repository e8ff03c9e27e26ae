// Where the characters of the lead/trail encodings end: the double-byte code
// pages (KelCharSetConverterDBCS, KelCharSetConverterDBCSEx), with the byte
// classes their converters were built with, and EUC-CN/EUC-KR
// (KelCharSetConverterEUC_CN_KR), whose bytes of a pair are both 0xA1-0xFE.
// A lead byte followed by a trail byte is a character of two bytes; every
// other byte, a lead byte without its trail included, is one.
#include "charset/sequence_rules.h"
#include "charset/tables/dbcs_converter.h"
#include "charset/tables/euc_cn_kr_converter.h"

namespace kelulib {
namespace {

template <typename Tests>
class LeadTrailRules : public KelSequenceRules {
 public:
  explicit LeadTrailRules(Tests tests) : m_tests(tests) {}

  size_t sequenceLength(const unsigned char* data, size_t available) const override {
    if (!m_tests.isLead(data[0])) return 1;
    if (available < 2) return 0;
    return m_tests.isTrail(data[1]) ? 2 : 1;
  }

  // A byte that is no lead byte ends a character: it is one alone or the
  // trail of the pair before it.
  size_t characterStartBefore(const unsigned char* data, size_t size) const override {
    for (size_t at = size; at > 0; --at) {
      if (!m_tests.isLead(data[at - 1])) return at;
    }
    return 0;
  }

 private:
  Tests m_tests;
};

struct DbcsTests {
  const KelCharSetConverterDBCSBase* converter;
  bool isLead(unsigned char b) const { return converter->isLeadByte(b); }
  bool isTrail(unsigned char b) const { return converter->isTrailByte(b); }
};

struct EucCnKrTests {
  static bool isLead(unsigned char b) { return KelCharSetConverterEUC_CN_KR::isLeadCS1(b); }
  static bool isTrail(unsigned char b) { return KelCharSetConverterEUC_CN_KR::isLeadCS1(b); }
};

}  // namespace

std::unique_ptr<KelSequenceRules> dbcsSequenceRules(const KelCharSetConverterDBCSBase& converter) {
  return std::make_unique<LeadTrailRules<DbcsTests>>(DbcsTests{&converter});
}

std::unique_ptr<KelSequenceRules> eucCnKrSequenceRules() {
  return std::make_unique<LeadTrailRules<EucCnKrTests>>(EucCnKrTests{});
}

}  // namespace kelulib

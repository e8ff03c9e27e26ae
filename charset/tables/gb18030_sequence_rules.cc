// Where the characters of GB18030 end, as KelCharSetConverterGB18030 reads
// them: a lead byte 0x81-0xFE with a trail byte is a pair; with a digit, a
// lead byte and a digit, four bytes; any other byte, a lead byte that starts
// neither included, is one.
#include "charset/sequence_rules.h"
#include "charset/tables/gb18030_converter.h"

namespace kelulib {
namespace {

using GB18030 = KelCharSetConverterGB18030;

class Gb18030Rules : public KelSequenceRules {
 public:
  size_t sequenceLength(const unsigned char* data, size_t available) const override {
    if (!GB18030::isLeadMBCS(data[0])) return 1;
    if (available < 2) return 0;
    if (GB18030::isTrailDBCS(data[1])) return 2;
    if (!GB18030::isFourthFBCS(data[1])) return 1;
    if (available < 3) return 0;
    if (!GB18030::isLeadMBCS(data[2])) return 1;
    if (available < 4) return 0;
    return GB18030::isFourthFBCS(data[3]) ? 4 : 1;
  }

  // A byte that neither leads (0x81-0xFE) nor is a digit (the second byte
  // of four) ends a character: it is one alone, or the last of a pair.
  size_t characterStartBefore(const unsigned char* data, size_t size) const override {
    for (size_t at = size; at > 0; --at) {
      const unsigned char b = data[at - 1];
      if (!GB18030::isLeadMBCS(b) && !GB18030::isFourthFBCS(b)) return at;
    }
    return 0;
  }
};

}  // namespace

std::unique_ptr<KelSequenceRules> gb18030SequenceRules() {
  return std::make_unique<Gb18030Rules>();
}

}  // namespace kelulib

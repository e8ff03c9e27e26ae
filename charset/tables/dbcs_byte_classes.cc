#include "charset/tables/dbcs_byte_classes.h"

#include <cstddef>

namespace kelulib {
namespace {

struct ByteRange {
  unsigned first;
  unsigned last;
};

constexpr unsigned char kLetter = 0x01;
constexpr unsigned char kPunctuation = 0x02;
constexpr unsigned char kDigit = 0x04;
constexpr unsigned char kSpace = 0x08;
constexpr unsigned char kLowerCase = 0x10;
constexpr unsigned char kUpperCase = 0x20;

// The character-type bits of an ASCII byte (none for other bytes).
constexpr unsigned char asciiType(unsigned b) {
  if (b >= 'A' && b <= 'Z') return kUpperCase | kLetter;
  if (b >= 'a' && b <= 'z') return kLowerCase | kLetter;
  if (b >= '0' && b <= '9') return kDigit;
  if (b == ' ' || (b >= '\t' && b <= '\r')) return kSpace;
  if (b > ' ' && b < 0x7F) return kPunctuation;
  return 0;
}

template <size_t kCount>
constexpr bool inRanges(unsigned b, const ByteRange (&ranges)[kCount]) {
  for (const ByteRange& range : ranges) {
    if (b >= range.first && b <= range.last) return true;
  }
  return false;
}

template <size_t kLeads, size_t kTrails>
constexpr KelByteClasses makeByteClasses(const ByteRange (&leads)[kLeads],
                                         const ByteRange (&trails)[kTrails]) {
  KelByteClasses classes{};
  for (unsigned b = 0; b < classes.size(); ++b) {
    unsigned value = asciiType(b);
    if (inRanges(b, leads)) value |= kLeadByteClass;
    if (inRanges(b, trails)) value |= kTrailByteClass;
    classes[b] = static_cast<unsigned char>(value);
  }
  return classes;
}

constexpr ByteRange kJapaneseLeads[] = {{0x81, 0x9F}, {0xE0, 0xFC}};
constexpr ByteRange kJapaneseTrails[] = {{0x40, 0x7E}, {0x80, 0xFC}};
constexpr ByteRange kWideLeads[] = {{0x81, 0xFE}};
constexpr ByteRange kChineseTrails[] = {{0x40, 0x7F}, {0xA1, 0xFE}};
constexpr ByteRange kKoreanTrails[] = {{0x41, 0x5A}, {0x61, 0x7A}, {0x81, 0xFE}};
constexpr ByteRange kBig5Trails[] = {{0x40, 0x7E}, {0xA1, 0xFE}};

// Lead bytes are never ASCII: the converters copy runs of ASCII bytes
// without looking at their classes.
template <size_t kCount>
constexpr bool leadsAboveAscii(const ByteRange (&leads)[kCount]) {
  for (const ByteRange& range : leads) {
    if (range.first < 0x80) return false;
  }
  return true;
}
static_assert(leadsAboveAscii(kJapaneseLeads) && leadsAboveAscii(kWideLeads));

constexpr KelByteClasses kJapanese = makeByteClasses(kJapaneseLeads, kJapaneseTrails);
constexpr KelByteClasses kChinese = makeByteClasses(kWideLeads, kChineseTrails);
constexpr KelByteClasses kKorean = makeByteClasses(kWideLeads, kKoreanTrails);
constexpr KelByteClasses kBig5 = makeByteClasses(kWideLeads, kBig5Trails);

constexpr KelPairDecoding pairDecoding(const KelByteClasses& classes) {
  return {makeByteSet([&classes](unsigned b) { return (classes[b] & kLeadByteClass) != 0; }),
          makeByteSet([&classes](unsigned b) { return (classes[b] & kTrailByteClass) != 0; }),
          0xFFFF, 0x80, true};
}

constexpr KelPairDecoding kJapanesePairs = pairDecoding(kJapanese);
constexpr KelPairDecoding kChinesePairs = pairDecoding(kChinese);
constexpr KelPairDecoding kKoreanPairs = pairDecoding(kKorean);
constexpr KelPairDecoding kBig5Pairs = pairDecoding(kBig5);

}  // namespace

const KelByteClasses kJapaneseByteClasses = kJapanese;
const KelByteClasses kSimplifiedChineseByteClasses = kChinese;
const KelByteClasses kKoreanByteClasses = kKorean;
const KelByteClasses kTraditionalChineseByteClasses = kChinese;
const KelByteClasses kBig5ByteClasses = kBig5;

const KelPairDecoding* pairDecodingOf(const unsigned char* byteClasses) {
  if (byteClasses == kJapaneseByteClasses.data()) return &kJapanesePairs;
  if (byteClasses == kSimplifiedChineseByteClasses.data() ||
      byteClasses == kTraditionalChineseByteClasses.data()) {
    return &kChinesePairs;
  }
  if (byteClasses == kKoreanByteClasses.data()) return &kKoreanPairs;
  if (byteClasses == kBig5ByteClasses.data()) return &kBig5Pairs;
  return nullptr;
}

}  // namespace kelulib

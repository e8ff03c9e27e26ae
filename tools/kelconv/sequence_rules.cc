#include "tools/kelconv/sequence_rules.h"

#include <initializer_list>

namespace kelconv {
namespace {

struct ByteRange {
  unsigned first;
  unsigned last;
};

// 256 flags, one per byte value, set over the given ranges.
struct ByteSet {
  bool flags[256] = {};
  ByteSet(std::initializer_list<ByteRange> ranges) {
    for (const ByteRange& range : ranges) {
      for (unsigned b = range.first; b <= range.last; ++b) flags[b] = true;
    }
  }
};

// Lead and trail bytes of the double-byte families and of EUC-CN/KR, as the
// library's converters classify them.
const ByteSet kJapaneseLead{{0x81, 0x9F}, {0xE0, 0xFC}};
const ByteSet kJapaneseTrail{{0x40, 0x7E}, {0x80, 0xFC}};
const ByteSet kChineseLead{{0x81, 0xFE}};
const ByteSet kChineseTrail{{0x40, 0x7F}, {0xA1, 0xFE}};  // code pages 936 and 950
const ByteSet kKoreanTrail{{0x41, 0x5A}, {0x61, 0x7A}, {0x81, 0xFE}};
const ByteSet kBig5Trail{{0x40, 0x7E}, {0xA1, 0xFE}};
const ByteSet kEucRow{{0xA1, 0xFE}};

using Form = SequenceRules::Form;

const SequenceRules kSingleByte(Form::kSingleByte, 1);
const SequenceRules kUtf8(Form::kUtf8, 1);
const SequenceRules kUtf16(Form::kUnits, 2);
const SequenceRules kUtf32(Form::kUnits, 4);
const SequenceRules kUnitEscape(Form::kUnitEscape, 1);
const SequenceRules kJapanese(Form::kLeadTrail, 1, kJapaneseLead.flags, kJapaneseTrail.flags);
const SequenceRules kChinese(Form::kLeadTrail, 1, kChineseLead.flags, kChineseTrail.flags);
const SequenceRules kKorean(Form::kLeadTrail, 1, kChineseLead.flags, kKoreanTrail.flags);
const SequenceRules kBig5(Form::kLeadTrail, 1, kChineseLead.flags, kBig5Trail.flags);
const SequenceRules kEucChineseKorean(Form::kLeadTrail, 1, kEucRow.flags, kEucRow.flags);
const SequenceRules kEucJapanese(Form::kEucJapanese, 1);
const SequenceRules kGb18030(Form::kGb18030, 1);

struct CharSetRules {
  KelCharSet id;
  const SequenceRules* rules;
};

// Every character set whose encoding is not one byte per character.
const CharSetRules kMultiByteCharSets[] = {
    {KelCS_UTF8, &kUtf8},          {KelCS_UTF16, &kUtf16},
    {KelCS_UTF32, &kUtf32},        {KelCS_UTF16ESC, &kUnitEscape},
    {KelCS_WCP932, &kJapanese},    {KelCS_SHIFTJIS, &kJapanese},
    {KelCS_SJIS0213, &kJapanese},  {KelCS_WCP936, &kChinese},
    {KelCS_WCP950, &kChinese},     {KelCS_WCP949, &kKorean},
    {KelCS_BIG5, &kBig5},          {KelCS_EUC_CN, &kEucChineseKorean},
    {KelCS_EUC_KR, &kEucChineseKorean}, {KelCS_EUC_JP, &kEucJapanese},
    {KelCS_GB18030, &kGb18030},
};

bool isContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }
bool isUpperHexDigit(unsigned char b) { return (b >= '0' && b <= '9') || (b >= 'A' && b <= 'F'); }
bool isDigit(unsigned char b) { return b >= 0x30 && b <= 0x39; }
bool inRange(unsigned char b, unsigned first, unsigned last) { return b >= first && b <= last; }

// `expected` bytes after data[0] must each pass `continues`: the length
// 1 + expected when they do, 1 when one of those at hand does not, 0 when
// all at hand do but some are still to come.
template <typename Test>
size_t followedBy(const unsigned char* data, size_t available, size_t expected, Test continues) {
  for (size_t i = 1; i <= expected; ++i) {
    if (i == available) return 0;
    if (!continues(i, data[i])) return 1;
  }
  return expected + 1;
}

size_t utf8Length(const unsigned char* data, size_t available) {
  // Sequence length by the high four bits of the lead byte; 0 for a
  // continuation byte, which the converter drops on its own.
  static constexpr unsigned char kLength[16] = {1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 2, 2, 3, 4};
  const size_t length = kLength[data[0] >> 4];
  if (length <= 1) return 1;
  return followedBy(data, available, length - 1,
                    [](size_t, unsigned char b) { return isContinuation(b); });
}

// Whether the EUC-JP converter reads the `length` bytes at `data` as one
// character: it decodes a two- or three-byte sequence only when the code
// it names is mapped, and otherwise reads the first byte alone. Asked of
// the converter itself, so that the stream cuts where the converter does.
bool eucJapaneseReadsAsOne(const unsigned char* data, size_t length) {
  static KelCharSetConverter* const converter = KelCharSetConverter::getConverter(KelCS_EUC_JP);
  unsigned char text[4] = {};
  for (size_t i = 0; i < length; ++i) {
    if (data[i] == 0) return false;
    text[i] = data[i];
  }
  wchar16 unit[2] = {};
  bool illegal = false;
  return converter->toUTF16(unit, text, 1, ILLCHAR_STOP, &illegal, -1) == 1 && !illegal;
}

// EUC-JP: 0x8E and one byte, 0x8F and two bytes, any other byte from 0x7F
// and one byte, each only when the converter maps the code; else one byte.
size_t eucJapaneseLength(const unsigned char* data, size_t available) {
  const unsigned char b = data[0];
  if (b < 0x7F) return 1;
  const size_t length = b == 0x8F ? 3 : 2;
  for (size_t i = 1; i < length; ++i) {
    if (i == available) return 0;
    if (data[i] == 0) return 1;  // the text ends there: the byte is read alone
  }
  return eucJapaneseReadsAsOne(data, length) ? length : 1;
}

size_t gb18030Length(const unsigned char* data, size_t available) {
  if (!inRange(data[0], 0x81, 0xFE)) return 1;
  if (available < 2) return 0;
  const unsigned char second = data[1];
  if (inRange(second, 0x40, 0x7E) || inRange(second, 0x80, 0xFE)) return 2;
  if (!isDigit(second)) return 1;
  return followedBy(data, available, 3, [](size_t i, unsigned char b) {
    return i == 2 ? inRange(b, 0x81, 0xFE) : isDigit(b);
  });
}

size_t unitEscapeLength(const unsigned char* data, size_t available) {
  if (data[0] != 'U') return 1;
  return followedBy(data, available, 5, [](size_t i, unsigned char b) {
    return i == 1 ? b == '+' : isUpperHexDigit(b);
  });
}

}  // namespace

SequenceRules::SequenceRules(Form form, size_t unitSize, const bool* leadBytes,
                             const bool* trailBytes)
    : m_form(form), m_unitSize(unitSize), m_leadBytes(leadBytes), m_trailBytes(trailBytes) {}

const SequenceRules& SequenceRules::forCharSet(KelCharSet id) {
  for (const CharSetRules& row : kMultiByteCharSets) {
    if (row.id == id) return *row.rules;
  }
  return kSingleByte;
}

size_t SequenceRules::leadTrailLength(const unsigned char* data, size_t available) const {
  if (!m_leadBytes[data[0]]) return 1;
  const bool* trail = m_trailBytes;
  return followedBy(data, available, 1, [trail](size_t, unsigned char t) { return trail[t]; });
}

size_t SequenceRules::sequenceLength(const unsigned char* data, size_t available) const {
  switch (m_form) {
    case Form::kUtf8:
      return utf8Length(data, available);
    case Form::kLeadTrail:
      return leadTrailLength(data, available);
    case Form::kEucJapanese:
      return eucJapaneseLength(data, available);
    case Form::kGb18030:
      return gb18030Length(data, available);
    case Form::kUnitEscape:
      return unitEscapeLength(data, available);
    case Form::kUnits:
    case Form::kSingleByte:
      break;
  }
  return available >= m_unitSize ? m_unitSize : 0;
}

CompletePrefix completePrefix(const SequenceRules& rules, const unsigned char* data, size_t size) {
  const size_t unit = rules.unitSize();
  const bool fixedWidth =
      rules.form() == SequenceRules::Form::kSingleByte || rules.form() == SequenceRules::Form::kUnits;
  if (fixedWidth) {
    const size_t length = size - size % unit;
    return {length, length >= unit ? length - unit : 0};
  }
  CompletePrefix prefix{0, 0};
  while (prefix.length < size) {
    const size_t length = rules.sequenceLength(data + prefix.length, size - prefix.length);
    if (length == 0) break;
    prefix.lastStart = prefix.length;
    prefix.length += length;
  }
  return prefix;
}

}  // namespace kelconv

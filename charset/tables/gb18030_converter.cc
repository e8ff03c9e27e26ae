#include "charset/tables/gb18030_converter.h"

#include "charset/obj_lock_guard.h"
#include "charset/tables/gb18030_ranges.h"
#include "charset/tables/locked_build.h"
#include "charset/tables/mbcs_conversion.h"
#include "charset/tables/mbcs_tables.h"
#include "charset/unmappable.h"

namespace {

using kelulib::gb18030TableData;

constexpr uint32_t kFirstFourByteScalar = 0x10000;
// GB scalars up to this bound are written as four bytes, those above it are
// unmappable. Every Unicode character lies well below it (U+10FFFF is
// 0x13E247; the last sequence, 0xFE 0x39 0xFE 0x39, is 0x19398F).
constexpr uint32_t kLastFourByteScalar = 0x193A8F;
// GB scalars from here on are Unicode scalars plus this offset.
constexpr uint32_t kFirstSupplementaryScalar = 254536;  // 0x90 0x30 0x81 0x30
constexpr uint32_t kSupplementaryOffset = 189000;
constexpr size_t kUnbounded = static_cast<size_t>(-1);

// The two-byte characters for the block kernel: a lead 0x81-0xFE and a
// trail 0x40-0x7E or 0x80-0xFE, looked up as lead * 256 + trail in the GBK
// table; bytes below 0x80 are their own units. A lead before a digit (a
// four-byte sequence), a single 0x80 or 0xFF, and a pair the GBK table
// lacks end the run.
constexpr kelulib::KelPairDecoding kGbkPairs = {
    kelulib::makeByteSet([](unsigned b) { return b >= 0x81 && b <= 0xFE; }),
    kelulib::makeByteSet(
        [](unsigned b) { return (b >= 0x40 && b <= 0x7E) || (b >= 0x80 && b <= 0xFE); }),
    0xFFFF, 0x80, false};

// Bytes a GB scalar is written as; 1 for one that cannot be written (its "?").
size_t bytesOf(uint32_t gbScalar) {
  if (gbScalar >= kFirstFourByteScalar && gbScalar <= kLastFourByteScalar) return 4;
  return gbScalar >= 0x100 && gbScalar < kFirstFourByteScalar ? 2 : 1;
}

// Writes GB scalar `gbScalar` (at most kLastFourByteScalar); false when it
// does not fit.
bool putGbScalar(kelulib::KelByteWriter& out, uint32_t gbScalar) {
  if (gbScalar < kFirstFourByteScalar) return out.put(gbScalar, bytesOf(gbScalar));
  const uint32_t i = gbScalar - kFirstFourByteScalar;
  const uint32_t bytes = (0x81 + i / 12600) << 24 | (0x30 + i / 1260 % 10) << 16 |
                         (0x81 + i / 10 % 126) << 8 | (0x30 + i % 10);
  return out.put(bytes, 4);
}

}  // namespace

KelCharSetConverterGB18030::KelCharSetConverterGB18030(const char* tableName, KelCharSet id)
    : KelCharSetConverterMBCS(tableName, id),
      m_gbToUnicodeIndex(nullptr),
      m_unicodeToGbIndex(nullptr) {}

KelCharSetConverterGB18030::~KelCharSetConverterGB18030() {
  delete[] m_gbToUnicodeIndex.load(std::memory_order_relaxed);
  delete[] m_unicodeToGbIndex.load(std::memory_order_relaxed);
}

void KelCharSetConverterGB18030::load() {
  KelCharSetConverterMBCS::load();
  if (kelulib::isPublished(m_gbToUnicodeIndex) && kelulib::isPublished(m_unicodeToGbIndex)) return;
  kelulib::ObjLockGuard guard(m_rangeLock);
  kelulib::buildIfMissing(m_gbToUnicodeIndex, [] {
    return kelulib::buildRangeIndex(kelulib::kGbToUnicodeRanges, kelulib::kGbToUnicodeIndexShape);
  });
  kelulib::buildIfMissing(m_unicodeToGbIndex, [] {
    return kelulib::buildRangeIndex(kelulib::kUnicodeToGbRanges, kelulib::kUnicodeToGbIndexShape);
  });
}

uint32_t KelCharSetConverterGB18030::makeScalar(unsigned char b1, unsigned char b2) {
  return uint32_t{b1} << 8 | b2;
}

uint32_t KelCharSetConverterGB18030::makeScalar(unsigned char b1, unsigned char b2,
                                                unsigned char b3, unsigned char b4) {
  return (((uint32_t{b1} - 0x81) * 10 + (b2 - 0x30)) * 126 + (b3 - 0x81)) * 10 + (b4 - 0x30) +
         kFirstFourByteScalar;
}

uint32_t KelCharSetConverterGB18030::makeScalar(wchar16 b1b2, wchar16 b3b4) {
  return makeScalar(static_cast<unsigned char>(b1b2 >> 8), static_cast<unsigned char>(b1b2),
                    static_cast<unsigned char>(b3b4 >> 8), static_cast<unsigned char>(b3b4));
}

const gb18030TableData* KelCharSetConverterGB18030::getGB2UniRange(uint32_t gbScalar) const {
  return kelulib::rangeSearchStart(m_gbToUnicodeIndex.load(std::memory_order_acquire),
                                   kelulib::kGbToUnicodeIndexShape, kelulib::kGbToUnicodeRanges,
                                   gbScalar);
}

const gb18030TableData* KelCharSetConverterGB18030::getUni2GBRange(wchar16 unit) const {
  return kelulib::rangeSearchStart(m_unicodeToGbIndex.load(std::memory_order_acquire),
                                   kelulib::kUnicodeToGbIndexShape, kelulib::kUnicodeToGbRanges,
                                   unit);
}

uint32_t KelCharSetConverterGB18030::unicodeOf(uint32_t gbScalar) const {
  if (gbScalar >= kFirstSupplementaryScalar) {
    const uint32_t scalar = gbScalar - kSupplementaryOffset;
    return scalar <= kelulib::kLastScalar ? scalar : 0;
  }
  if (gbScalar < kFirstFourByteScalar) {
    const uint32_t unit = tables().toUnicode(static_cast<uint16_t>(gbScalar));
    if (unit != 0) return unit;
  }
  return kelulib::mapThroughRanges(getGB2UniRange(gbScalar), gbScalar);
}

uint32_t KelCharSetConverterGB18030::gbScalarOf(wchar16 unit) const {
  const uint32_t code = tables().fromUnicode(unit);
  return code != 0 ? code : kelulib::mapThroughRanges(getUni2GBRange(unit), unit);
}

kelulib::KelDecoded KelCharSetConverterGB18030::decodeAt(const unsigned char* in,
                                                         size_t left) const {
  const unsigned char b = in[0];
  if (isSBCS(b)) {
    return {tables().toUnicode(b), 1, true};
  }
  // A lead byte that starts no sequence is illegal alone, and the budget is
  // deliberately not tested after it (nor after an unmapped sequence).
  const kelulib::KelDecoded leadAlone{0, 1, false};
  if (!isLeadMBCS(b)) return {0, 1, true};  // 0xFF
  if (left < 2) return leadAlone;
  uint32_t gbScalar = 0;
  size_t length = 2;
  if (isTrailDBCS(in[1])) {
    gbScalar = makeScalar(b, in[1]);
  } else if (isFourthFBCS(in[1])) {
    if (left < 4 || !isLeadMBCS(in[2]) || !isFourthFBCS(in[3])) return leadAlone;
    gbScalar = makeScalar(b, in[1], in[2], in[3]);
    length = 4;
  } else {
    return leadAlone;
  }
  const uint32_t scalar = unicodeOf(gbScalar);
  return {scalar, length, scalar != 0};
}

size_t KelCharSetConverterGB18030::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  load();
  const auto* in = static_cast<const unsigned char*>(src);
  size_t units = 0;
  for (size_t i = 0; i < srcBytes && in[i] != 0;) {
    const kelulib::KelDecoded decoded = decodeAt(in + i, srcBytes - i);
    units += kelulib::isSupplementary(decoded.scalar) ? 2 : 1;
    i += decoded.length;
  }
  return units;
}

size_t KelCharSetConverterGB18030::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                           ILLCHAR_OPTYPE op, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  const Tables& gbk = tables();
  const uint16_t* units = nullptr;
  if (kelulib::pairKernelsOn() && kelulib::asciiEndOf(gbk) == kelulib::kAsciiEnd) {
    units = codeUnits();
  }
  return kelulib::decodeText(
      dst, src, dstUnits, op, illegal, srcLimit,
      [this](const unsigned char* in) { return decodeAt(in, kUnbounded); },
      // Runs take single bytes and the two-byte characters of the GBK table;
      // four-byte sequences and anything unmapped go to decodeAt.
      [&gbk](const unsigned char* in) -> kelulib::KelRunUnit {
        const unsigned char b = in[0];
        if (isSBCS(b)) {
          const wchar16 unit = gbk.toUnicode(b);
          return {unit, unit != 0 ? size_t{1} : size_t{0}};
        }
        if (!isLeadMBCS(b) || !isTrailDBCS(in[1])) return {0, 0};
        const wchar16 unit = gbk.toUnicode(static_cast<uint16_t>(makeScalar(b, in[1])));
        return {unit, unit != 0 ? size_t{2} : size_t{0}};
      },
      kelulib::asciiEndOf(gbk),
      [units](const unsigned char* in, size_t count, wchar16* out) -> kelulib::KelKernelRun {
        if (units == nullptr) return {0, 0};
        return kelulib::pairsToUtf16(in, count, units, kGbkPairs, out);
      });
}

size_t KelCharSetConverterGB18030::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  load();
  size_t bytes = 0;
  for (size_t i = 0; i < srcUnits && src[i] != 0; ++i) {
    const wchar16 unit = src[i];
    if (!kelulib::isHighSurrogate(unit)) {
      bytes += bytesOf(gbScalarOf(unit));
      continue;
    }
    if (i + 1 >= srcUnits || !kelulib::isLowSurrogate(src[i + 1])) break;
    ++i;
    bytes += bytesOf(kelulib::combineSurrogates(unit, src[i]) + kSupplementaryOffset);
  }
  return bytes;
}

uint16_t KelCharSetConverterGB18030::gbkCodeOf(const KelCharSetConverterMBCS& self, wchar16 unit) {
  if (kelulib::isSurrogate(unit)) return 0;
  return static_cast<const KelCharSetConverterGB18030&>(self).tables().fromUnicode(unit);
}

size_t KelCharSetConverterGB18030::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                             ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  return kelulib::encodeText(
      dst, src, dstBytes, illegal,
      [&](const wchar16* at, kelulib::KelByteWriter& out, kelulib::KelIllegalFlag& flag) -> size_t {
        const wchar16 unit = at[0];
        if (!kelulib::isHighSurrogate(unit)) {
          const uint32_t gbScalar = gbScalarOf(unit);
          const bool written = gbScalar != 0 && gbScalar <= kLastFourByteScalar
                                   ? putGbScalar(out, gbScalar)
                                   : out.putUnmappableUnit(flag, unit, op);
          return written ? 1 : 0;
        }
        // A high surrogate without a low one ends the whole conversion.
        const wchar16 low = at[1];
        if (!kelulib::isLowSurrogate(low)) return 0;
        const uint32_t gbScalar = kelulib::combineSurrogates(unit, low) + kSupplementaryOffset;
        const bool written =
            gbScalar <= kLastFourByteScalar
                ? putGbScalar(out, gbScalar)
                : out.putUnmappable(flag, [&](unsigned char* escape, size_t room) {
                    return kelulib::writeUnmappablePair(escape, room, unit, low, op);
                  });
        return written ? 2 : 0;
      },
      // Runs take the units of the GBK table; the four-byte ranges and
      // surrogates go to the general step.
      [this](wchar16 unit) { return gbkCodeOf(*this, unit); }, kelulib::asciiEndOf(tables()),
      kelulib::tableKernelsOn() ? unitCodes(&gbkCodeOf) : nullptr);
}

size_t KelCharSetConverterGB18030::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterGB18030::getMaxUnitSize() const { return 4; }
size_t KelCharSetConverterGB18030::getNullCharSize() const { return 1; }

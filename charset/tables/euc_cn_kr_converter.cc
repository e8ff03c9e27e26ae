#include "charset/tables/euc_cn_kr_converter.h"

#include <cstdint>

#include "charset/tables/euc_codes.h"
#include "charset/tables/mbcs_conversion.h"
#include "charset/tables/mbcs_tables.h"

KelCharSetConverterEUC_CN_KR::KelCharSetConverterEUC_CN_KR(const char* tableName, KelCharSet id)
    : KelCharSetConverterMBCS(tableName, id) {}

size_t KelCharSetConverterEUC_CN_KR::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  const auto* in = static_cast<const unsigned char*>(src);
  size_t units = 0;
  for (size_t i = 0; i < srcBytes && in[i] != 0; ++units) {
    const bool pair = isLeadCS1(in[i]) && srcBytes - i >= 2 && isLeadCS1(in[i + 1]);
    i += pair ? 2 : 1;
  }
  return units;
}

size_t KelCharSetConverterEUC_CN_KR::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                             ILLCHAR_OPTYPE op, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  return kelulib::decodeText(
      dst, src, dstUnits, op, illegal, srcLimit,
      [this](const unsigned char* in) -> kelulib::KelDecoded {
        if (isCS0(in[0])) return {in[0], 1, true};
        // A byte 0x7F-0xA0 or 0xFF, or a 0xA1-0xFE byte
        // before any other, is illegal alone.
        if (!isLeadCS1(in[0]) || !isLeadCS1(in[1])) return {0, 1, true};
        return {tables().toUnicode(kelulib::rowCellCode(in[0], in[1])), 2, true};
      },
      [&tables = tables()](const unsigned char* in) -> kelulib::KelRunUnit {
        if (isCS0(in[0])) return {in[0], 1};
        if (!isLeadCS1(in[0]) || !isLeadCS1(in[1])) return {0, 0};
        const wchar16 unit = tables.toUnicode(kelulib::rowCellCode(in[0], in[1]));
        return {unit, unit != 0 ? size_t{2} : size_t{0}};
      },
      kEucAsciiEnd,
      [units = kelulib::pairKernelsOn() ? codeUnits() : nullptr,
       avx512 = kelulib::tableKernelsOn()](const unsigned char* in, size_t count,
                                           wchar16* out) -> kelulib::KelKernelRun {
        if (units == nullptr) return {0, 0};
        if (avx512) return kelulib::eucToUtf16(in, count, units, out);
        return kelulib::pairsToUtf16(in, count, units, kelulib::kEucPairs, out);
      });
}

size_t KelCharSetConverterEUC_CN_KR::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  load();
  size_t bytes = 0;
  for (size_t i = 0; i < srcUnits && src[i] != 0; ++i) {
    bytes += src[i] > 0x7E && tables().fromUnicode(src[i]) != 0 ? 2 : 1;
  }
  return bytes;
}

uint16_t KelCharSetConverterEUC_CN_KR::codeOf(const KelCharSetConverterMBCS& self, wchar16 unit) {
  if (isCS0(unit)) return unit;
  const uint16_t code =
      static_cast<const KelCharSetConverterEUC_CN_KR&>(self).tables().fromUnicode(unit);
  return code != 0 ? static_cast<uint16_t>(code + kelulib::kEucOffset) : 0;
}

size_t KelCharSetConverterEUC_CN_KR::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                               ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  return kelulib::encodeText(
      dst, src, dstBytes, illegal,
      [&](const wchar16* at, kelulib::KelByteWriter& out, kelulib::KelIllegalFlag& flag) -> size_t {
        const wchar16 unit = *at;
        if (isCS0(unit)) return out.put(unit, 1) ? 1 : 0;
        const uint16_t code = tables().fromUnicode(unit);
        const bool written = code != 0 ? out.put(code + kelulib::kEucOffset, 2)
                                       : out.putUnmappableUnit(flag, unit, op);
        return written ? 1 : 0;
      },
      [this](wchar16 unit) { return codeOf(*this, unit); }, kEucAsciiEnd,
      kelulib::tableKernelsOn() ? unitCodes(&codeOf) : nullptr);
}

size_t KelCharSetConverterEUC_CN_KR::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterEUC_CN_KR::getMaxUnitSize() const { return 2; }
size_t KelCharSetConverterEUC_CN_KR::getNullCharSize() const { return 1; }

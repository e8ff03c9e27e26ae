#include "charset/tables/euc_jp_converter.h"

#include <cstdint>
#include <new>

#include "charset/tables/euc_codes.h"
#include "charset/tables/locked_build.h"
#include "charset/tables/mbcs_conversion.h"
#include "charset/tables/mbcs_tables.h"

KelCharSetConverterEUC_JP::KelCharSetConverterEUC_JP(const char* jis0208Name,
                                                     const char* jis0201Name,
                                                     const char* jis0212Name, KelCharSet id)
    : KelCharSetConverterMBCS(jis0208Name, id),
      m_jis0201Name(jis0201Name),
      m_jis0212Name(jis0212Name),
      m_jis0212(nullptr) {}

KelCharSetConverterEUC_JP::~KelCharSetConverterEUC_JP() {
  delete m_jis0212.load(std::memory_order_relaxed);
}

void KelCharSetConverterEUC_JP::load() {
  KelCharSetConverterMBCS::load();
  // The JIS X 0212 tables are published only after JIS X 0201 has been
  // merged into the main ones, so a conversion that finds them published
  // (and goes on without the lock) never reads the main tables mid-merge;
  // one that does not waits here until the merge is done.
  kelulib::buildUnderLock(m_jis0212Lock, m_jis0212, [this]() -> Tables* {
    auto* supplementary = new (std::nothrow) Tables();
    if (supplementary != nullptr && supplementary->load(m_jis0212Name)) {
      Tables* main = tablesToExtend();
      if (main != nullptr) main->merge(m_jis0201Name);
    }
    return supplementary;
  });
}

bool KelCharSetConverterEUC_JP::supplementaryTablesLoaded() const {
  return m_jis0212.load(std::memory_order_acquire) != nullptr;
}

const KelCharSetConverterEUC_JP::Tables& KelCharSetConverterEUC_JP::supplementaryTables() const {
  return kelulib::builtOrEmpty(m_jis0212);
}

kelulib::KelDecoded KelCharSetConverterEUC_JP::decodeAt(const unsigned char* in) const {
  const unsigned char b = in[0];
  wchar16 unit = 0;
  size_t length = 2;
  if (isCS0(b)) {
    unit = b;
    length = 1;
  } else if (isSS2(b)) {
    if (isValidSS2(in[1])) unit = tables().toUnicode(in[1]);
  } else if (isSS3(b)) {
    // The second byte is read only when the first is not the end of the text.
    if (in[1] != 0) unit = supplementaryTables().toUnicode(kelulib::rowCellCode(in[1], in[2]));
    length = 3;
  } else {
    unit = tables().toUnicode(kelulib::rowCellCode(b, in[1]));
  }
  // An unmapped sequence leaves its first byte illegal alone.
  return {unit, unit != 0 ? length : 1, true};
}

namespace {

// Whether the `needed` bytes of a sequence starting at `in` are all there:
// within the `left` bytes of a counted text, or, for a text counted up to
// its zero byte (srcBytes (size_t)-1), before that zero.
bool sequenceIsWhole(const unsigned char* in, size_t needed, size_t left, bool upToTheZero) {
  if (left < needed) return false;
  if (!upToTheZero) return true;
  for (size_t k = 1; k < needed; ++k) {
    if (in[k] == 0) return false;
  }
  return true;
}

}  // namespace

size_t KelCharSetConverterEUC_JP::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  load();
  const auto* in = static_cast<const unsigned char*>(src);
  // The maximal count is the text up to its zero byte: a sequence that the
  // zero cuts is not counted, as one that a smaller count cuts.
  const bool upToTheZero = srcBytes == static_cast<size_t>(-1);
  size_t units = 0;
  for (size_t i = 0; i < srcBytes && in[i] != 0; ++units) {
    const unsigned char b = in[i];
    if (isCS0(b)) {
      i += 1;
      continue;
    }
    const size_t needed = isSS3(b) ? 3 : 2;
    if (!sequenceIsWhole(in + i, needed, srcBytes - i, upToTheZero)) break;
    if (isSS2(b)) {
      i += isValidSS2(in[i + 1]) ? 2 : 1;
    } else {
      i += decodeAt(in + i).length;
    }
  }
  return units;
}

size_t KelCharSetConverterEUC_JP::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                          ILLCHAR_OPTYPE op, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  // Blocks of text through the pairing kernel: the two-byte characters of
  // JIS X 0208 and the bytes below 0x7F; the single shifts and everything
  // else go to decodeAt.
  return kelulib::decodeText(
      dst, src, dstUnits, op, illegal, srcLimit,
      [this](const unsigned char* in) { return decodeAt(in); }, kelulib::KelNoRunStep{}, 0,
      [units = kelulib::pairKernelsOn() ? codeUnits() : nullptr](
          const unsigned char* in, size_t count, wchar16* out) -> kelulib::KelKernelRun {
        if (units == nullptr) return {0, 0};
        return kelulib::pairsToUtf16(in, count, units, kelulib::kEucPairs, out);
      });
}

size_t KelCharSetConverterEUC_JP::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  load();
  size_t bytes = 0;
  for (size_t i = 0; i < srcUnits && src[i] != 0; ++i) {
    const wchar16 unit = src[i];
    if (unit <= 0x7E) {
      bytes += 1;
    } else if (tables().fromUnicode(unit) != 0) {
      bytes += 2;
    } else {
      bytes += supplementaryTables().fromUnicode(unit) != 0 ? 3 : 1;
    }
  }
  return bytes;
}

size_t KelCharSetConverterEUC_JP::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                            ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  return kelulib::encodeText(
      dst, src, dstBytes, illegal,
      [&](const wchar16* at, kelulib::KelByteWriter& out, kelulib::KelIllegalFlag& flag) -> size_t {
        const wchar16 unit = *at;
        bool written = false;
        if (isCS0(unit)) {
          written = out.put(unit, 1);
        } else if (const uint16_t code = tables().fromUnicode(unit); code != 0) {
          written = isValidSS2(code) ? out.put(uint32_t{m_cSS2} << 8 | code, 2)
                                     : out.put(code + kelulib::kEucOffset, 2);
        } else if (const uint16_t supplementary = supplementaryTables().fromUnicode(unit);
                   supplementary != 0) {
          written = out.put(uint32_t{m_cSS3} << 16 | (supplementary + kelulib::kEucOffset), 3);
        } else {
          written = out.putUnmappableUnit(flag, unit, op);
        }
        return written ? 1 : 0;
      });
}

size_t KelCharSetConverterEUC_JP::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterEUC_JP::getMaxUnitSize() const { return 3; }
size_t KelCharSetConverterEUC_JP::getNullCharSize() const { return 1; }

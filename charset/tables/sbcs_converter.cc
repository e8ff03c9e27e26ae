#include "charset/tables/sbcs_converter.h"

#include <cstring>
#include <new>

#include "charset/obj_lock_guard.h"
#include "charset/simd/nonzero_run.h"
#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels.h"
#include "charset/tables/mapping_records.h"
#include "charset/tables/two_level_table.h"
#include "charset/unmappable.h"
#include "platform/embedded_resources.h"

namespace {
constexpr size_t kByteValues = 256;
// Shorter runs than this are left to the one-character-at-a-time code.
constexpr size_t kShortestRun = 32;
}  // namespace

KelCharSetConverterSBCS::KelCharSetConverterSBCS(const char* tableName, KelCharSet id)
    : KelCharSetConverter(id), m_tableName(tableName), m_toUnicode(nullptr), m_fromUnicode(nullptr) {}

KelCharSetConverterSBCS::KelCharSetConverterSBCS(const wchar16* table, KelCharSet id)
    : KelCharSetConverter(id), m_tableName(nullptr), m_toUnicode(table), m_fromUnicode(nullptr) {}

KelCharSetConverterSBCS::~KelCharSetConverterSBCS() {
  delete m_fromUnicode.load(std::memory_order_relaxed);
  // Only a table built from a mapping table belongs to the converter.
  if (m_tableName != nullptr) delete[] m_toUnicode.load(std::memory_order_relaxed);
}

bool KelCharSetConverterSBCS::loaded() const {
  return m_toUnicode.load(std::memory_order_acquire) != nullptr &&
         m_fromUnicode.load(std::memory_order_acquire) != nullptr;
}

void KelCharSetConverterSBCS::load() {
  if (loaded()) return;
  kelulib::ObjLockGuard guard(m_lock);
  if (m_toUnicode.load(std::memory_order_relaxed) == nullptr) {
    loadFromMappingTable();
  } else if (m_fromUnicode.load(std::memory_order_relaxed) == nullptr) {
    buildReverseTable();
  }
}

void KelCharSetConverterSBCS::loadFromMappingTable() {
  kelulib::ResourceBytes bytes;
  if (m_tableName == nullptr || !kelulib::findMappingTable(m_tableName, &bytes)) return;
  auto* table = new (std::nothrow) wchar16[kByteValues]();
  auto* reverse = new (std::nothrow) ReverseTable();
  if (table == nullptr || reverse == nullptr) {
    delete[] table;
    delete reverse;
    return;
  }
  kelulib::forEachRecord<kelulib::MappingRecord16>(
      bytes.data, bytes.size, [table, reverse](kelulib::MappingRecord16 record) {
        // Only the low byte of the code is the character's byte.
        const auto code = static_cast<unsigned char>(record.code & 0xFF);
        if (code == 0 && record.unicode == 0) return false;
        table[code] = record.unicode;
        // Of two bytes with the same unit, the higher one is written, in any
        // record order. A failed page allocation drops this entry only.
        if (reverse->get(record.unicode) < code) reverse->set(record.unicode, code);
        return true;
      });
  m_fromUnicode.store(reverse, std::memory_order_release);
  m_toUnicode.store(table, std::memory_order_release);
}

void KelCharSetConverterSBCS::buildReverseTable() {
  auto* reverse = new (std::nothrow) ReverseTable();
  if (reverse == nullptr) return;
  const wchar16* table = m_toUnicode.load(std::memory_order_relaxed);
  // Ascending bytes: a higher byte wins over a lower one with the same unit.
  for (size_t b = 0; b < kByteValues; ++b) {
    if (table[b] != 0) reverse->set(table[b], static_cast<unsigned char>(b));
  }
  m_fromUnicode.store(reverse, std::memory_order_release);
}

size_t KelCharSetConverterSBCS::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  const auto* bytes = static_cast<const unsigned char*>(src);
  size_t count = 0;
  while (count < srcBytes && bytes[count] != 0) ++count;
  return count;
}

size_t KelCharSetConverterSBCS::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                        ILLCHAR_OPTYPE op, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  if (illegal != nullptr) *illegal = false;
  const wchar16* table = m_toUnicode.load(std::memory_order_acquire);
  size_t count = 0;
  if (table != nullptr) {
    const auto* in = static_cast<const unsigned char*>(src);
    const bool fast = kelulib::fastPathsOn();
    kelulib::KelNonZeroRun<unsigned char> known(in);
    for (int budget = srcLimit; count < dstUnits && budget != 0; ++in) {
      if (fast && dstUnits - count >= kShortestRun) {
        // One byte per unit: the loop reads the room's worth of bytes, or
        // the budget's, unless a zero comes first.
        size_t window = dstUnits - count;
        if (budget > 0 && static_cast<size_t>(budget) < window) {
          window = static_cast<size_t>(budget);
        }
        const size_t readable = known.from(in, window);
        if (readable >= kShortestRun) {
          const size_t run = kelulib::mapBytesToUnits(in, readable, table, dst + count);
          in += run;
          count += run;
          if (budget > 0) budget -= static_cast<int>(run);
          if (count == dstUnits || budget == 0) break;
        }
      }
      if (*in == 0) break;
      if (budget > 0) --budget;
      wchar16 unit = table[*in];
      if (unit == 0) {
        if (illegal != nullptr) *illegal = true;
        if (op == ILLCHAR_STOP) break;
        unit = kelulib::kReplacementCharacter;
      }
      dst[count++] = unit;
    }
  }
  dst[count] = 0;
  return count;
}

size_t KelCharSetConverterSBCS::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  size_t count = 0;
  while (count < srcUnits && src[count] != 0) ++count;
  return count;
}

size_t KelCharSetConverterSBCS::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                          ILLCHAR_OPTYPE op, bool*) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  auto* const start = static_cast<unsigned char*>(dst);
  unsigned char* out = start;
  const ReverseTable* reverse = m_fromUnicode.load(std::memory_order_acquire);
  if (reverse != nullptr) {
    size_t room = dstBytes;
    const bool fast = kelulib::fastPathsOn();
    kelulib::KelNonZeroRun<wchar16> known(src);
    for (const wchar16* in = src; room > 0; ++in) {
      if (fast && room >= kShortestRun) {
        const size_t readable = known.from(in, room);
        if (readable >= kShortestRun) {
          const size_t run = kelulib::mapLowUnitsToBytes(in, readable, reverse->page(0), out);
          in += run;
          out += run;
          room -= run;
          if (room == 0) break;
        }
      }
      if (*in == 0) break;
      const unsigned char byte = reverse->get(*in);
      if (byte != 0) {
        *out++ = byte;
        room -= 1;
        continue;
      }
      const size_t written = kelulib::writeUnmappable(out, room, *in, op);
      if (written == 0) break;
      out += written;
      room -= written;
    }
  }
  *out = 0;
  return static_cast<size_t>(out - start);
}

size_t KelCharSetConverterSBCS::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterSBCS::getMaxUnitSize() const { return 1; }
size_t KelCharSetConverterSBCS::getNullCharSize() const { return 1; }

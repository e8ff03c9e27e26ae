#include "charset/tables/dbcs_converter.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "charset/tables/dbcs_byte_classes.h"
#include "charset/tables/mbcs_conversion.h"
#include "charset/tables/mbcs_tables.h"
#include "charset/unmappable.h"

namespace {

using kelulib::KelByteWriter;
using kelulib::KelIllegalFlag;

// True for the tables of 32-bit scalars (characters beyond the BMP).
template <typename Tables>
constexpr bool kBeyondBmp = std::is_same_v<typename Tables::Unicode, uint32_t>;

// Units of the characters in `in` (at most `srcBytes` bytes, up to a zero
// byte); unitsOfPair(code) gives a pair's units.
template <typename UnitsOfPair>
size_t countUnits(const KelCharSetConverterDBCSBase& classes, const unsigned char* in,
                  size_t srcBytes, UnitsOfPair unitsOfPair) {
  size_t units = 0;
  for (size_t i = 0; i < srcBytes && in[i] != 0;) {
    const unsigned char b = in[i];
    if (classes.isLeadByte(b) && srcBytes - i >= 2 && classes.isTrailByte(in[i + 1])) {
      units += unitsOfPair(static_cast<uint16_t>(b << 8 | in[i + 1]));
      i += 2;
    } else {
      units += 1;
      i += 1;
    }
  }
  return units;
}

// The run step of decode: single bytes and pairs that map to a unit of the
// BMP; characters beyond it (tables of 32-bit scalars) are left to the
// general step.
template <typename Tables>
auto runStep(const KelCharSetConverterDBCSBase& classes, const Tables& tables) {
  return [&classes, &tables](const unsigned char* in) -> kelulib::KelRunUnit {
    const unsigned char b = in[0];
    const bool pair = classes.isLeadByte(b);
    if (pair && !classes.isTrailByte(in[1])) return {0, 0};
    const auto scalar = tables.toUnicode(static_cast<uint16_t>(pair ? b << 8 | in[1] : b));
    if (scalar == 0 || scalar > 0xFFFF) return {0, 0};
    return {static_cast<wchar16>(scalar), pair ? size_t{2} : size_t{1}};
  };
}

// The run step of encode: BMP characters other than surrogates with a code.
template <typename Tables>
auto codeOfUnit(const Tables& tables) {
  return [&tables](wchar16 unit) -> uint16_t {
    return kelulib::isSurrogate(unit) ? 0 : tables.fromUnicode(unit);
  };
}

template <typename Tables, typename Kernel = kelulib::KelNoKernel>
size_t decode(const KelCharSetConverterDBCSBase& classes, const Tables& tables, wchar16* dst,
              const void* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal, int srcLimit,
              Kernel kernel = {}) {
  return kelulib::decodeText(
      dst, src, dstUnits, op, illegal, srcLimit,
      [&](const unsigned char* in) -> kelulib::KelDecoded {
        const unsigned char b = in[0];
        if (!classes.isLeadByte(b)) return {tables.toUnicode(b), 1, true};
        // A lead byte before a non-trail byte is illegal
        // alone, and the budget is not tested after it.
        if (!classes.isTrailByte(in[1])) return {0, 1, false};
        return {tables.toUnicode(static_cast<uint16_t>(b << 8 | in[1])), 2, true};
      },
      runStep(classes, tables), kelulib::asciiEndOf(tables), kernel);
}

// A character of the UTF-16 text: its scalar and the units it takes.
struct Character {
  uint32_t scalar;
  size_t units;
};

constexpr size_t kUpToTheZeroUnit = static_cast<size_t>(-1);

// The character at `at`, of which `available` units may be read: with
// tables beyond the BMP, a surrogate pair is one character.
template <typename Tables>
Character characterAt(const wchar16* at, size_t available) {
  if constexpr (kBeyondBmp<Tables>) {
    if (kelulib::isHighSurrogate(at[0]) && available >= 2 && kelulib::isLowSurrogate(at[1])) {
      return {kelulib::combineSurrogates(at[0], at[1]), 2};
    }
  }
  return {at[0], 1};
}

// The code of `character`, 0 when it has none. With tables beyond the BMP, a
// high surrogate left unpaired is unmappable without a look-up.
template <typename Tables>
uint16_t codeOf(const Tables& tables, uint32_t character) {
  if constexpr (kBeyondBmp<Tables>) {
    if (kelulib::isHighSurrogate(character)) return 0;
  }
  return tables.fromUnicode(character);
}

template <typename Tables>
size_t countBytes(const Tables& tables, const wchar16* src, size_t srcUnits) {
  size_t bytes = 0;
  for (size_t i = 0; i < srcUnits && src[i] != 0;) {
    const Character character = characterAt<Tables>(src + i, srcUnits - i);
    bytes += codeOf(tables, character.scalar) >= 0x100 ? 2 : 1;
    i += character.units;
  }
  return bytes;
}

// The escape of an unmappable character beyond the BMP: the high surrogate's
// "U+XXXX", then the literal "U+04X" and its terminating zero byte (12 bytes
// in all; the low surrogate does not appear). Callers depend on this form.
void formatBeyondBmpEscape(wchar16 high, unsigned char* out) {
  static constexpr char kTail[] = "U+04X";
  kelulib::formatUnitEscape(high, out);
  std::memcpy(out + kelulib::kUnitEscapeLength, kTail, sizeof kTail);
}

constexpr size_t kBeyondBmpEscapeLength = kelulib::kUnitEscapeLength + sizeof "U+04X";

bool putUnmappable(KelByteWriter& out, KelIllegalFlag& flag, uint32_t character,
                   ILLCHAR_OPTYPE op) {
  if (!kelulib::isSupplementary(character)) {
    return out.putUnmappableUnit(flag, static_cast<wchar16>(character), op);
  }
  const wchar16 high = kelulib::highSurrogateOf(character);
  return out.putUnmappable(flag, [&](unsigned char* at, size_t room) {
    return kelulib::writeUnmappableWith(
        at, room, op, kBeyondBmpEscapeLength,
        [high](unsigned char* escape) { formatBeyondBmpEscape(high, escape); });
  });
}

template <typename Tables>
size_t encode(const Tables& tables, void* dst, const wchar16* src, size_t dstBytes,
              ILLCHAR_OPTYPE op, bool* illegal, const uint16_t* unitCodes) {
  return kelulib::encodeText(
      dst, src, dstBytes, illegal,
      [&](const wchar16* at, KelByteWriter& out, KelIllegalFlag& flag) -> size_t {
        const Character character = characterAt<Tables>(at, kUpToTheZeroUnit);
        const uint16_t code = codeOf(tables, character.scalar);
        const bool written = code >= 0x100 ? out.put(code, 2)
                             : code != 0   ? out.put(code, 1)
                                           : putUnmappable(out, flag, character.scalar, op);
        return written ? character.units : 0;
      },
      codeOfUnit(tables), kelulib::asciiEndOf(tables), unitCodes);
}

}  // namespace

// --- KelCharSetConverterDBCSBase -----------------------------------------------

KelCharSetConverterDBCSBase::KelCharSetConverterDBCSBase(const unsigned char* byteClasses)
    : m_byteClasses(byteClasses) {}

// --- KelCharSetConverterDBCS ---------------------------------------------------

KelCharSetConverterDBCS::KelCharSetConverterDBCS(const char* tableName,
                                                 const unsigned char* byteClasses, KelCharSet id)
    : KelCharSetConverterMBCS(tableName, id), KelCharSetConverterDBCSBase(byteClasses) {}

size_t KelCharSetConverterDBCS::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  return countUnits(*this, static_cast<const unsigned char*>(src), srcBytes,
                    [](uint16_t) { return size_t{1}; });
}

// The pairing kernel of a converter with these classes and tables, where
// the classes are known to it (`codeUnits` gives the flat table of units it
// reads). Single bytes below 0x80 are their own units where the tables map
// them to themselves, and looked up like the others where not (Shift_JIS-
// 2004's 0x5C and 0x7E).
template <typename Tables, typename CodeUnits>
auto pairKernel(const KelCharSetConverterDBCSBase& classes, const Tables& tables,
                CodeUnits codeUnits) {
  kelulib::KelPairDecoding pairs{};
  const uint16_t* units = nullptr;
  if (kelulib::pairKernelsOn()) {
    if (const kelulib::KelPairDecoding* known = kelulib::pairDecodingOf(classes.byteClasses())) {
      pairs = *known;
      if (kelulib::asciiEndOf(tables) != kelulib::kAsciiEnd) pairs.asciiEnd = 0;
      units = codeUnits();
    }
  }
  return [pairs, units](const unsigned char* in, size_t count,
                        wchar16* out) -> kelulib::KelKernelRun {
    if (units == nullptr) return {0, 0};
    return kelulib::pairsToUtf16(in, count, units, pairs, out);
  };
}

size_t KelCharSetConverterDBCS::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                        ILLCHAR_OPTYPE op, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  return decode(*this, tables(), dst, src, dstUnits, op, illegal, srcLimit,
                pairKernel(*this, tables(), [this] { return codeUnits(); }));
}

size_t KelCharSetConverterDBCS::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  load();
  return countBytes(tables(), src, srcUnits);
}

size_t KelCharSetConverterDBCS::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                          ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  const uint16_t* codes = nullptr;
  if (kelulib::tableKernelsOn()) {
    codes = unitCodes([](const KelCharSetConverterMBCS& self, wchar16 unit) {
      return codeOfUnit(static_cast<const KelCharSetConverterDBCS&>(self).tables())(unit);
    });
  }
  return encode(tables(), dst, src, dstBytes, op, illegal, codes);
}

size_t KelCharSetConverterDBCS::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterDBCS::getMaxUnitSize() const { return 2; }
size_t KelCharSetConverterDBCS::getNullCharSize() const { return 1; }

// --- KelCharSetConverterDBCSEx -------------------------------------------------

KelCharSetConverterDBCSEx::KelCharSetConverterDBCSEx(const char* tableName,
                                                     const unsigned char* byteClasses,
                                                     KelCharSet id)
    : KelCharSetConverterMBCSEx(tableName, id), KelCharSetConverterDBCSBase(byteClasses) {}

size_t KelCharSetConverterDBCSEx::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  bool loaded = false;
  return countUnits(
      *this, static_cast<const unsigned char*>(src), srcBytes, [this, &loaded](uint16_t code) {
        if (!loaded) load();
        loaded = true;
        return kelulib::isSupplementary(tables().toUnicode(code)) ? size_t{2} : size_t{1};
      });
}

size_t KelCharSetConverterDBCSEx::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                          ILLCHAR_OPTYPE op, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  // The kernel takes the characters of the BMP; those beyond it (a unit of
  // 0 in its table) go to the plain code.
  return decode(*this, tables(), dst, src, dstUnits, op, illegal, srcLimit,
                pairKernel(*this, tables(), [this] { return codeUnits(); }));
}

size_t KelCharSetConverterDBCSEx::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  load();
  return countBytes(tables(), src, srcUnits);
}

size_t KelCharSetConverterDBCSEx::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                            ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  load();
  return encode(tables(), dst, src, dstBytes, op, illegal, nullptr);
}

size_t KelCharSetConverterDBCSEx::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterDBCSEx::getMaxUnitSize() const { return 2; }
size_t KelCharSetConverterDBCSEx::getNullCharSize() const { return 1; }

// The byte classes of the double-byte code pages: for each byte value, bit
// 0x80 says it may be the second byte of a pair (trail), bit 0x40 that it
// starts a pair (lead). The low six bits classify the ASCII bytes (0x01
// letter, 0x02 punctuation, 0x04 digit, 0x08 space, 0x10 lower case, 0x20
// upper case); no converter reads them.
//
//   Table                Lead bytes          Trail bytes
//   Japanese             0x81-0x9F 0xE0-0xFC 0x40-0x7E 0x80-0xFC
//   Simplified Chinese   0x81-0xFE           0x40-0x7F 0xA1-0xFE
//   Korean               0x81-0xFE           0x41-0x5A 0x61-0x7A 0x81-0xFE
//   Traditional Chinese  0x81-0xFE           0x40-0x7F 0xA1-0xFE
//   Big5                 0x81-0xFE           0x40-0x7E 0xA1-0xFE
//
// No lead byte is below 0x80 (checked when the tables are built), so a
// byte below 0x80 is always a character of its own.
//
// The two Chinese tables are the same, and both deliberately count 0x7F as
// a trail byte and 0x80-0xA0 as none: the pairs of code pages 936 and 950
// with such a second byte are written from Unicode but never read back
// (their first byte reads as an illegal sequence).
#ifndef KELULIB_CHARSET_TABLES_DBCS_BYTE_CLASSES_H_
#define KELULIB_CHARSET_TABLES_DBCS_BYTE_CLASSES_H_

#include <array>

#include "charset/simd/pair_decoding.h"

namespace kelulib {

using KelByteClasses = std::array<unsigned char, 256>;

constexpr unsigned char kLeadByteClass = 0x40;
constexpr unsigned char kTrailByteClass = 0x80;

extern const KelByteClasses kJapaneseByteClasses;
extern const KelByteClasses kSimplifiedChineseByteClasses;
extern const KelByteClasses kKoreanByteClasses;
extern const KelByteClasses kTraditionalChineseByteClasses;
extern const KelByteClasses kBig5ByteClasses;

// How the block kernel pairs the bytes of a set with the byte classes
// `byteClasses` (one of the five tables above; null for any other):
// codes lead * 256 + trail, bytes below 0x80 their own units, other single
// bytes looked up.
const KelPairDecoding* pairDecodingOf(const unsigned char* byteClasses);

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_DBCS_BYTE_CLASSES_H_

// How the bytes of a character set's encoding group into characters, as far
// as a stream needs it: where input read in chunks may be cut so that no
// character is split, and how long one character is.
//
// The rules follow the library's converters byte for byte: a lead byte
// whose next byte cannot continue it is a character of its own, exactly as
// the converter reads it. In EUC-JP, where the converter reads a two- or
// three-byte sequence as one character only when its code is mapped, the
// rules ask the converter.
#ifndef KELULIB_TOOLS_KELCONV_SEQUENCE_RULES_H_
#define KELULIB_TOOLS_KELCONV_SEQUENCE_RULES_H_

#include <KelULib.h>

#include <cstddef>

namespace kelconv {

class SequenceRules {
 public:
  // The encoding forms the library's converters read.
  enum class Form {
    kSingleByte,   // every byte is a character
    kUtf8,         // lead byte, then continuation bytes 10xxxxxx
    kLeadTrail,    // a lead byte, then a trail byte (double-byte and EUC-CN/KR)
    kEucJapanese,  // 0x8E + one byte, 0x8F + two bytes, high byte + one byte, when mapped
    kGb18030,      // one, two or four bytes
    kUnitEscape,   // bytes, with "U+XXXX" standing for one UTF-16 unit
    kUnits,        // fixed-size code units (UTF-16, UTF-32)
  };

  // The rules of the encoding that the converter of `id` reads; single bytes
  // for an id that has no multi-byte encoding.
  static const SequenceRules& forCharSet(KelCharSet id);

  Form form() const { return m_form; }

  // Bytes of one code unit: 2 for UTF-16, 4 for UTF-32, 1 for the rest. The
  // input's zero character is one unit of zero bytes.
  size_t unitSize() const { return m_unitSize; }

  // Length in bytes of the character that starts at data[0], when
  // `available` (at least 1) bytes are at hand; 0 when they do not decide it
  // and more must be read first.
  size_t sequenceLength(const unsigned char* data, size_t available) const;

  // Builds rules; `leadBytes` and `trailBytes` (256 flags each) are used by
  // kLeadTrail only and must outlive the rules.
  SequenceRules(Form form, size_t unitSize, const bool* leadBytes = nullptr,
                const bool* trailBytes = nullptr);

 private:
  size_t leadTrailLength(const unsigned char* data, size_t available) const;

  Form m_form;
  size_t m_unitSize;
  const bool* m_leadBytes;
  const bool* m_trailBytes;
};

// The longest prefix of data[0, size) that is made of whole characters,
// when data[0] starts a character.
struct CompletePrefix {
  size_t length;     // bytes of whole characters
  size_t lastStart;  // where the last of them starts (0 when there is none)
};
CompletePrefix completePrefix(const SequenceRules& rules, const unsigned char* data, size_t size);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_SEQUENCE_RULES_H_

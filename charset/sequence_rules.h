// Where the characters of an encoding begin and end, as its converter reads
// them: what a stream needs to cut its input only between characters, and
// to take it one character at a time.
//
// Each converter family defines its rules next to its converter (the
// *_sequence_rules.cc files of charset/unicode/ and charset/tables/), from
// the byte tests and tables that converter reads with; sequenceRulesOf()
// finds the rules of a converter. The rules agree with the converters'
// own reading byte for byte (tests/charset/sequence_rules_test.cc checks
// every converter over its code space): cutting a text where the rules say
// a character starts never changes what the converter makes of it.
#ifndef KELULIB_CHARSET_SEQUENCE_RULES_H_
#define KELULIB_CHARSET_SEQUENCE_RULES_H_

#include <cstddef>
#include <memory>

#include "charset/converter.h"

class KelCharSetConverterDBCSBase;
class KelCharSetConverterEUC_JP;

namespace kelulib {

class KelSequenceRules {
 public:
  virtual ~KelSequenceRules() = default;

  // Bytes of one code unit (1, 2 or 4). Characters are made of whole units,
  // and the text's zero character is one unit of zero bytes.
  virtual size_t unitSize() const { return 1; }

  // The length in bytes of the character that starts at data[0], when
  // `available` bytes (at least one unit) are at hand: how the converter
  // reads it when those bytes are followed by any others. 0 when they do
  // not decide it and more must be read first. A zero byte after data[0]
  // ends the text for the converter, and so the character too.
  virtual size_t sequenceLength(const unsigned char* data, size_t available) const = 0;

  // A place in data[0, size] where a character starts, found from the
  // bytes before `size` alone (and data[0] starting one): the last place the
  // bytes themselves mark, or 0 when none does. Lets a stream find the end
  // of its whole characters without walking the text from its start.
  virtual size_t characterStartBefore(const unsigned char* data, size_t size) const;
};

// Characters of one size: every unit is a character (single-byte sets,
// UTF-16, UTF-32).
class KelFixedSizeRules : public KelSequenceRules {
 public:
  explicit KelFixedSizeRules(size_t unitSize) : m_unitSize(unitSize) {}
  size_t unitSize() const override { return m_unitSize; }
  size_t sequenceLength(const unsigned char* data, size_t available) const override;
  size_t characterStartBefore(const unsigned char* data, size_t size) const override;

 private:
  size_t m_unitSize;
};

// The longest prefix of data[0, size) made of whole characters (data[0]
// starting one): its length, and where its last character starts (equal to
// `length` when it holds none).
struct KelWholeCharacters {
  size_t length;
  size_t lastStart;
};
KelWholeCharacters wholeCharacters(const KelSequenceRules& rules, const unsigned char* data,
                                   size_t size);

// The rules of the encoding `converter` reads: its family's for the
// library's own converters; for another converter whose characters are all
// of one size (getMinUnitSize() == getMaxUnitSize(), 1, 2 or 4 bytes),
// whole units of that size. Null for any other converter.
std::unique_ptr<KelSequenceRules> sequenceRulesOf(KelCharSetConverter& converter);

// The families' rules, each defined beside its converter.
std::unique_ptr<KelSequenceRules> utf8SequenceRules();
std::unique_ptr<KelSequenceRules> unitEscapeSequenceRules();
std::unique_ptr<KelSequenceRules> dbcsSequenceRules(const KelCharSetConverterDBCSBase& converter);
std::unique_ptr<KelSequenceRules> eucCnKrSequenceRules();
std::unique_ptr<KelSequenceRules> eucJpSequenceRules(KelCharSetConverterEUC_JP& converter);
std::unique_ptr<KelSequenceRules> gb18030SequenceRules();

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SEQUENCE_RULES_H_

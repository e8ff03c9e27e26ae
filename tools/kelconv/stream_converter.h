// Converts a stream of bytes from one character set to another in pieces of
// bounded size, through the library's converters and a UTF-16 text between
// them. The result is the same however the input is cut into writes:
//   - a character whose bytes are split between writes is kept back until
//     it is whole; so is a high surrogate whose pair may follow;
//   - the input's zero characters (one unit of zero bytes) come out as the
//     target's zero character, and the text between them is converted on
//     its own, as the converters end a text at its zero;
//   - UTF-16 and UTF-32 input is read in whole units;
//   - a high surrogate that no low surrogate follows is written on its own,
//     as the target's converter writes it alone (GB18030 has no form for
//     it: nothing is written, which Policy::kStop counts as a loss).
// Memory is bounded by the slice size, not by the length of a write.
#ifndef KELULIB_TOOLS_KELCONV_STREAM_CONVERTER_H_
#define KELULIB_TOOLS_KELCONV_STREAM_CONVERTER_H_

#include <KelULib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/kelconv/sequence_rules.h"

namespace kelconv {

// What happens to a character that cannot be converted.
enum class Policy {
  kReplace,  // U+FFFD when reading, "?" when writing
  kEscape,   // U+FFFD when reading, "U+XXXX" when writing
  kStop,     // the conversion ends before it
};

// Receives the converted bytes, in order.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual void write(const unsigned char* data, size_t size) = 0;
};

// Why a conversion under Policy::kStop ended.
struct ConversionFailure {
  enum class Kind {
    kNone,
    kInvalidInput,     // bytes that are no character of the source set
    kUnrepresentable,  // a character the target set lacks
  };
  Kind kind = Kind::kNone;
  uint64_t offset = 0;  // of the character's first byte in the input
  std::string bytes;    // kInvalidInput: the offending bytes
  char32_t character = 0;  // kUnrepresentable: the character (or lone surrogate)
};

struct StreamSettings {
  KelCharSet from = KelCS_UTF8;  // both ids must have converters
  KelCharSet to = KelCS_UTF8;
  Policy policy = Policy::kReplace;
  // Writes U+FEFF first, unless the converted text starts with it.
  bool addByteOrderMark = false;
};

class StreamConverter {
 public:
  // Input is taken in slices of at most this many bytes.
  static constexpr size_t kSliceBytes = 64 * 1024;

  StreamConverter(const StreamSettings& settings, ByteSink& sink);
  StreamConverter(const StreamConverter&) = delete;
  StreamConverter& operator=(const StreamConverter&) = delete;

  // Converts `size` more bytes of the current input and hands to the sink
  // all that they complete. Returns false once the conversion has stopped
  // at an unconvertible character (Policy::kStop); see failure(). The sink
  // then has everything before that character.
  bool write(const void* data, size_t size);

  // Ends the current input: converts what was kept back (an incomplete
  // character is converted as the converter reads it at the end of a text;
  // a partial UTF-16 or UTF-32 unit is invalid). The next write starts a new
  // input, at offset 0, on the same output. Returns false as write() does.
  bool finishInput();

  // Ends the output: writes a byte-order mark still owed (for an empty
  // text). Call once, after the last finishInput().
  void finishOutput();

  const ConversionFailure& failure() const { return m_failure; }
  bool stopped() const { return m_failure.kind != ConversionFailure::Kind::kNone; }

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  void convertPending(bool endOfInput);
  size_t convertPieces(size_t end, size_t keepBackFrom);
  size_t findZeroUnit(size_t begin, size_t end) const;
  size_t convertPiece(size_t begin, size_t end, size_t keepBackFrom);
  size_t decodeRange(size_t begin, size_t end);
  size_t convertSlowly(size_t begin, size_t end, size_t keepBackFrom);
  bool decodeSequence(size_t begin, size_t length, std::u16string& units);
  bool encodeCharacters(const std::u16string& units, size_t offset);
  void failOnInput(size_t begin, size_t length);
  bool encode(const wchar16* units, size_t count);
  bool encodeRun(const wchar16* units, size_t count);
  bool encodeUnpairedHighSurrogate(wchar16 unit);
  bool encodeWhole(const wchar16* units, size_t count);
  void convertPartialUnit(size_t size);
  void writeZeroCharacter();
  void settleByteOrderMark(wchar16 firstUnit);
  unsigned char* outputSpace(size_t bytes);
  void flushOutput();

  const SequenceRules& m_rules;
  KelCharSetConverter* m_decoder;
  KelCharSetConverter* m_encoder;
  bool m_stopAtFirstLoss;
  ILLCHAR_OPTYPE m_decodeOp;
  ILLCHAR_OPTYPE m_encodeOp;
  size_t m_bytesPerUnit;  // room for one UTF-16 unit in the target, policy included
  bool m_byteOrderMarkOwed;
  ByteSink& m_sink;

  std::vector<unsigned char> m_pending;  // input not yet converted; [0] starts a character
  uint64_t m_pendingOffset = 0;          // input offset of m_pending[0]
  std::vector<wchar16> m_units;          // UTF-16 between the two converters
  bool m_decodeFailed = false;           // the last decodeRange() met invalid input
  std::vector<unsigned char> m_output;   // converted bytes not yet handed on
  size_t m_outputSize = 0;
  ConversionFailure m_failure;
};

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_STREAM_CONVERTER_H_

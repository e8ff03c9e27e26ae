#include "charset/stream_converter.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <typeinfo>
#include <vector>

#include "charset/converter.h"
#include "charset/sequence_rules.h"
#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels.h"
#include "charset/tables/mbcs_converter.h"
#include "charset/tables/sbcs_converter.h"
#include "charset/unicode/utf16_converters.h"
#include "charset/unicode/utf32_converter.h"
#include "charset/unicode/utf8_converter.h"
#include "charset/unmappable.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

using kelulib::isHighSurrogate;
using kelulib::isLowSurrogate;

constexpr size_t kNone = static_cast<size_t>(-1);
constexpr size_t kSlice = KEL_STREAM_SLICE_BYTES;
// Room kept past the text in each buffer: the terminator a conversion
// needs, the byte the UTF-8 converter's escape may write past its room,
// and whole blocks that a scan for the terminator may read.
constexpr size_t kSlack = 32;
// The longest character the library's converters read (the escape form's
// "U+XXXX").
constexpr size_t kLongestCharacter = 6;
// The longest UTF-8 sequence of one UTF-16 unit.
constexpr size_t kMaxSequenceBytes = 3;

bool isValidPolicy(KelStreamPolicy policy) {
  return policy == KEL_STREAM_STOP || policy == KEL_STREAM_REPLACE || policy == KEL_STREAM_ESCAPE ||
         policy == KEL_STREAM_SKIP;
}

// The character of a surrogate pair or single unit.
uint32_t characterOf(const wchar16* units, size_t count) {
  if (count == 2) {
    return 0x10000 + ((uint32_t{units[0]} - 0xD800) << 10) + (uint32_t{units[1]} - 0xDC00);
  }
  return units[0];
}

// Room that one UTF-16 unit may need in the target: its largest form, or
// under the escape policy the six characters of "U+XXXX" in the target's
// units if that is more.
size_t bytesPerUnit(const KelCharSetConverter& target, KelStreamPolicy policy) {
  const size_t largest = target.getMaxUnitSize();
  if (policy != KEL_STREAM_ESCAPE) return largest;
  return std::max(largest, kelulib::kUnitEscapeLength * target.getMinUnitSize());
}

// Units to look at together: the units of one block that holds no zero
// unit and no high surrogate are skipped at once.
#if defined(__SSE2__)
constexpr size_t kBlockUnits = 8;

bool anyZeroOrHighSurrogate(const wchar16* units) {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
  const __m128i zero = _mm_cmpeq_epi16(block, _mm_setzero_si128());
  const __m128i high =
      _mm_cmpeq_epi16(_mm_and_si128(block, _mm_set1_epi16(static_cast<short>(0xFC00))),
                      _mm_set1_epi16(static_cast<short>(0xD800)));
  return _mm_movemask_epi8(_mm_or_si128(zero, high)) != 0;
}
#else
constexpr size_t kBlockUnits = 4;

// True when one of the four units in `lanes` is zero.
inline bool hasZeroUnit(uint64_t lanes) {
  return ((lanes - 0x0001000100010001u) & ~lanes & 0x8000800080008000u) != 0;
}

bool anyZeroOrHighSurrogate(const wchar16* units) {
  uint64_t lanes;
  std::memcpy(&lanes, units, sizeof lanes);
  return hasZeroUnit(lanes) || hasZeroUnit((lanes & 0xFC00FC00FC00FC00u) ^ 0xD800D800D800D800u);
}
#endif

// The first unit of units[at, count) that a conversion must take on its
// own: a zero unit (the target's zero character), or a high surrogate that
// no low surrogate follows. `count` when there is none.
size_t nextSpecialUnit(const wchar16* units, size_t at, size_t count) {
  while (at < count) {
    while (at + kBlockUnits <= count && !anyZeroOrHighSurrogate(units + at)) at += kBlockUnits;
    const size_t stop = std::min(count, at + kBlockUnits);
    for (; at < stop; ++at) {
      const wchar16 unit = units[at];
      if (unit == 0) return at;
      if (isHighSurrogate(unit)) {
        if (at + 1 < count && isLowSurrogate(units[at + 1])) {
          ++at;
          continue;
        }
        return at;
      }
    }
  }
  return count;
}

// The UTF-8 sequence of every byte that a single-byte set reads as one
// character, as mapBytesToUtf8 takes them: made by the two converters
// themselves, each byte read alone and its unit written alone, both under
// ILLCHAR_STOP. A byte that either fails on, or that reads as anything but
// one unit that is not a surrogate, gets 0 and is left to the plain way, as
// is the zero byte. Empty when the pair is not a single-byte set of the
// library's and the library's UTF-8, or when the set does not read the
// bytes 0x01-0x7F as themselves (the kernel copies those in blocks).
std::vector<uint32_t> byteSequencesOf(KelCharSetConverter& from, KelCharSetConverter& to) {
  if (typeid(from) != typeid(KelCharSetConverterSBCS) ||
      typeid(to) != typeid(KelCharSetConverterUTF8)) {
    return {};
  }
  std::vector<uint32_t> sequences(256, 0);
  for (unsigned byte = 1; byte < 256; ++byte) {
    const unsigned char text[2] = {static_cast<unsigned char>(byte), 0};
    wchar16 units[4] = {};
    bool illegal = false;
    if (from.toUTF16(units, text, 2, ILLCHAR_STOP, &illegal, 1) != 1 || illegal ||
        kelulib::isSurrogate(units[0])) {
      continue;
    }
    unsigned char bytes[8] = {};
    const size_t length = to.fromUTF16(bytes, units, 3, ILLCHAR_STOP, &illegal);
    if (illegal || length == 0 || length > 3) continue;
    sequences[byte] = uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
                      static_cast<uint32_t>(length) << 24;
  }
  for (unsigned byte = 1; byte < 0x80; ++byte) {
    if (sequences[byte] != (byte | uint32_t{1} << 24)) return {};
  }
  return sequences;
}

// Takes the output through a write function.
class FunctionSink : public KelStreamSink {
 public:
  FunctionSink(KelStreamWriteFunction write, void* context) : m_write(write), m_context(context) {}
  bool write(const void* bytes, size_t size) override {
    return m_write(m_context, bytes, size) == 0;
  }

 private:
  KelStreamWriteFunction m_write;
  void* m_context;
};

}  // namespace

KelStreamSink::~KelStreamSink() = default;

class KelStreamConverter::Impl {
 public:
  // A converter from `from` (read by `rules`) to `to`. The sink is `sink`,
  // or `ownedSink` when that is given.
  Impl(KelCharSetConverter& from, KelCharSetConverter& to,
       std::unique_ptr<kelulib::KelSequenceRules> rules, bool libraryDecoder,
       KelStreamPolicy policy, KelStreamSink* sink, std::unique_ptr<KelStreamSink> ownedSink)
      : m_decoder(from),
        m_encoder(to),
        m_rules(std::move(rules)),
        m_unit(m_rules->unitSize()),
        m_libraryDecoder(libraryDecoder),
        m_policy(policy),
        m_ownedSink(std::move(ownedSink)),
        m_sink(m_ownedSink != nullptr ? *m_ownedSink : *sink),
        m_bytesPerUnit(bytesPerUnit(to, policy)),
        m_oneBytePerUnit(to.getMinUnitSize() == 1 && to.getMaxUnitSize() == 1),
        m_nullSize(to.getNullCharSize()),
        m_pending(kSlice + kSlack),
        m_units(unitRoom(kSlice) + kSlack),
        m_output(unitRoom(kSlice) * m_bytesPerUnit + kSlack),
        m_byteSequences(byteSequencesOf(from, to)) {
    clearFailure();
  }

  KelStreamStatus convert(const unsigned char* bytes, size_t size) {
    while (size > 0 && m_failure.status == KEL_STREAM_OK) {
      const size_t taken = std::min(size, kSlice - m_pendingSize);
      std::memcpy(m_pending.data() + m_pendingSize, bytes, taken);
      m_pendingSize += taken;
      bytes += taken;
      size -= taken;
      convertPending(false);
      flush();
    }
    return m_failure.status;
  }

  KelStreamStatus finish() {
    if (m_failure.status == KEL_STREAM_OK) {
      convertPending(true);
      flush();
    }
    m_pendingSize = 0;
    m_offset = 0;
    return m_failure.status;
  }

  void reset() {
    m_pendingSize = 0;
    m_offset = 0;
    m_outputSize = 0;
    m_skipped = 0;
    clearFailure();
  }

  const KelStreamFailure& failure() const { return m_failure; }
  uint64_t skipped() const { return m_skipped; }

  void setSubstitution(KelStreamSubstituteFunction substitute, void* context) {
    m_substitute = substitute;
    m_substituteContext = context;
  }
  void setInvalidInputHandler(KelStreamInvalidInputFunction handler, void* context) {
    m_invalidInput = handler;
    m_invalidInputContext = context;
  }

 private:
  // A decoded high surrogate waiting for the character after it, which may
  // begin with its low surrogate.
  struct HeldSurrogate {
    wchar16 unit = 0;
    size_t start = kNone;  // of its character in m_pending
    bool held() const { return start != kNone; }
  };

  // UTF-16 units that `bytes` of input may become: the library's
  // converters make at most one of each byte (a surrogate pair of four
  // bytes, at the least); another converter, up to two of each unit.
  size_t unitRoom(size_t bytes) const { return m_libraryDecoder ? bytes : 2 * (bytes / m_unit); }

  // Whether every character must be checked on its way in or out (the
  // policy or a handler deals with those that fail), so that the converters
  // are asked to stop at the first and the stream goes on character by
  // character from there.
  bool checksInput() const {
    return m_policy == KEL_STREAM_STOP || m_policy == KEL_STREAM_SKIP || m_invalidInput != nullptr;
  }
  bool checksOutput() const {
    return m_policy == KEL_STREAM_STOP || m_policy == KEL_STREAM_SKIP || m_substitute != nullptr;
  }
  ILLCHAR_OPTYPE policyOutputOp() const {
    return m_policy == KEL_STREAM_ESCAPE ? ILLCHAR_ESCAPE : ILLCHAR_REPLACE;
  }
  bool stopped() const { return m_failure.status != KEL_STREAM_OK; }

  // Converts the whole characters of m_pending (all of it at the end of the
  // text) and keeps the rest for later.
  void convertPending(bool endOfText) {
    const size_t size = m_pendingSize;
    size_t complete = size - size % m_unit;
    size_t keepBackFrom = kNone;
    if (!endOfText) {
      const kelulib::KelWholeCharacters whole =
          kelulib::wholeCharacters(*m_rules, m_pending.data(), size);
      complete = whole.length;
      if (whole.lastStart < whole.length) keepBackFrom = whole.lastStart;
    }
    const size_t converted = convertRange(0, complete, keepBackFrom);
    if (converted == kNone) return;
    if (endOfText && complete < size) {
      // Bytes that make no whole unit.
      if (!convertInvalid(complete, size - complete)) return;
      m_pendingSize = 0;
      return;
    }
    std::memmove(m_pending.data(), m_pending.data() + converted, size - converted);
    m_pendingSize = size - converted;
    m_offset += converted;
  }

  // Converts m_pending[begin, end) text by text between its zero
  // characters. Returns where the conversion got to (before a last
  // character kept back, see convertText), kNone once it has stopped.
  size_t convertRange(size_t begin, size_t end, size_t keepBackFrom) {
    for (size_t at = begin;;) {
      const size_t zero = findZeroCharacter(at, end);
      if (zero == end) return convertText(at, end, keepBackFrom);
      if (convertText(at, zero, kNone) == kNone) return kNone;
      if (!writeZeroCharacter()) return kNone;
      at = zero + m_unit;
    }
  }

  size_t findZeroCharacter(size_t begin, size_t end) const {
    const unsigned char* bytes = m_pending.data();
    if (m_unit == 1) {
      const void* zero = std::memchr(bytes + begin, 0, end - begin);
      return zero != nullptr ? static_cast<size_t>(static_cast<const unsigned char*>(zero) - bytes)
                             : end;
    }
    for (size_t at = begin; at < end; at += m_unit) {
      bool zero = true;
      for (size_t i = 0; i < m_unit; ++i) zero = zero && bytes[at + i] == 0;
      if (zero) return at;
    }
    return end;
  }

  // Converts the text m_pending[begin, end), in which no zero character
  // lies. When `keepBackFrom` (the start of its last character, while more
  // input is to come) is given and the text ends in a high surrogate, the
  // text is converted only up to that character, whose surrogate may pair
  // with the next input, and `keepBackFrom` is returned. Otherwise returns
  // `end`; kNone once the conversion has stopped.
  size_t convertText(size_t begin, size_t end, size_t keepBackFrom) {
    if (begin == end) return end;
    if (!m_byteSequences.empty() && kelulib::fastPathsOn()) {
      return convertThroughSequences(begin, end, keepBackFrom);
    }
    return convertTextPlainly(begin, end, keepBackFrom);
  }

  // The fast path of a single-byte set to UTF-8: the runs of bytes that
  // have a sequence in m_byteSequences are written straight from it; the
  // bytes between them take the plain way, a run of them at a time, so that
  // a character made of several bytes' units stays whole. Returns as
  // convertText().
  size_t convertThroughSequences(size_t begin, size_t end, size_t keepBackFrom) {
    const unsigned char* bytes = m_pending.data();
    for (size_t at = begin; at < end;) {
      if (!reserveOutput(kMaxSequenceBytes * (end - at) + kSlack)) return kNone;
      const kelulib::KelKernelRun run =
          kelulib::mapBytesToUtf8(bytes + at, end - at, m_byteSequences.data(),
                                  m_output.data() + m_outputSize, m_output.size() - m_outputSize);
      at += run.read;
      m_outputSize += run.written;
      if (at == end) break;
      size_t next = at + 1;
      while (next < end && m_byteSequences[bytes[next]] == 0) ++next;
      const size_t converted = convertTextPlainly(at, next, next == end ? keepBackFrom : kNone);
      if (converted != next) return converted;  // stopped, or the last character kept back
      at = next;
    }
    return end;
  }

  // convertText() the plain way: the source's converter decodes the text
  // into m_units and the target's encodes them.
  size_t convertTextPlainly(size_t begin, size_t end, size_t keepBackFrom) {
    bool illegal = false;
    const ILLCHAR_OPTYPE inputOp = checksInput() ? ILLCHAR_STOP : ILLCHAR_REPLACE;
    size_t count = decode(begin, end, inputOp, &illegal);
    if (illegal && checksInput()) return convertSlowly(begin, end, keepBackFrom);
    size_t converted = end;
    if (keepBackFrom != kNone && keepBackFrom >= begin && count > 0 &&
        isHighSurrogate(m_units[count - 1])) {
      converted = keepBackFrom;
      count = decode(begin, keepBackFrom, inputOp, &illegal);
    }
    switch (encodeUnits(count)) {
      case Outcome::kDone:
        return converted;
      case Outcome::kStopped:
        return kNone;
      case Outcome::kFailedCheck:
        break;
    }
    return convertSlowly(begin, end, keepBackFrom);
  }

  // Decodes m_pending[begin, end) into m_units (terminated); returns the
  // units. The converters read up to a zero character: the text gets one
  // for the call, in the place of the bytes after it.
  size_t decode(size_t begin, size_t end, ILLCHAR_OPTYPE op, bool* illegal) {
    if (begin == end) return 0;
    unsigned char* bytes = m_pending.data();
    unsigned char saved[4];
    std::memcpy(saved, bytes + end, m_unit);
    std::memset(bytes + end, 0, m_unit);
    const size_t units = (end - begin) / m_unit;
    const size_t count = m_decoder.toUTF16(m_units.data(), bytes + begin, unitRoom(end - begin), op,
                                           illegal, static_cast<int>(units));
    std::memcpy(bytes + end, saved, m_unit);
    return count;
  }

  enum class Outcome { kDone, kFailedCheck, kStopped };

  // Encodes m_units[0, count) into the output. A zero unit among them
  // becomes the target's zero character; a high surrogate without its low
  // one is encoded alone, between the text before it and the text after it,
  // as the target's converter writes it alone: what a converter does with
  // one depends on the unit after it (GB18030 ends the whole text there,
  // the UTF-8 escape drops that unit), which may come from other input.
  // kFailedCheck (nothing written) when a unit failed the check.
  Outcome encodeUnits(size_t count) {
    if (count == 0) return Outcome::kDone;
    if (!reserveOutput(count * m_bytesPerUnit + kSlack)) return Outcome::kStopped;
    const size_t mark = m_outputSize;
    const ILLCHAR_OPTYPE op = checksOutput() ? ILLCHAR_STOP : policyOutputOp();
    for (size_t begin = 0;;) {
      const size_t special = nextSpecialUnit(m_units.data(), begin, count);
      if (special > begin && !encodeRun(begin, special, op)) {
        m_outputSize = mark;
        return Outcome::kFailedCheck;
      }
      if (special == count) return Outcome::kDone;
      if (m_units[special] == 0) {
        appendZeroCharacter();
      } else if (!encodeOne(&m_units[special], 1, op)) {
        m_outputSize = mark;
        return Outcome::kFailedCheck;
      }
      begin = special + 1;
    }
  }

  // Encodes m_units[begin, end), none of them special, into the output;
  // false when `op` is ILLCHAR_STOP and a unit could not be written.
  bool encodeRun(size_t begin, size_t end, ILLCHAR_OPTYPE op) {
    const wchar16 saved = m_units[end];
    m_units[end] = 0;
    bool illegal = false;
    const size_t count = end - begin;
    const size_t written = m_encoder.fromUTF16(m_output.data() + m_outputSize, &m_units[begin],
                                               count * m_bytesPerUnit, op, &illegal);
    m_units[end] = saved;
    m_outputSize += written;
    return op != ILLCHAR_STOP || wroteAll(written, count, illegal);
  }

  // Encodes one character's units (or a handler's text) on their own,
  // followed by two zero units (the UTF-8 converter's escape of a lone high
  // surrogate drops the unit after it and must meet a zero after that).
  bool encodeOne(const wchar16* units, size_t count, ILLCHAR_OPTYPE op) {
    wchar16 text[KEL_STREAM_HANDLER_UNITS + 2] = {};
    std::copy(units, units + count, text);
    bool illegal = false;
    const size_t written = m_encoder.fromUTF16(m_output.data() + m_outputSize, text,
                                               count * m_bytesPerUnit, op, &illegal);
    m_outputSize += written;
    return op != ILLCHAR_STOP || wroteAll(written, count, illegal);
  }

  // Whether a conversion under ILLCHAR_STOP of `count` units wrote them
  // all: the converters report a unit they cannot write through the flag,
  // except those that write one byte per unit and just stop short; and
  // writing nothing at all is a loss too (GB18030 writes nothing for a lone
  // high surrogate).
  bool wroteAll(size_t written, size_t count, bool illegal) const {
    return !illegal && written > 0 && (!m_oneBytePerUnit || written == count);
  }

  // --- One character at a time ----------------------------------------------------

  // Converts the text m_pending[begin, end) one character at a time, to
  // deal with each that cannot be converted where it is. Returns as
  // convertText().
  size_t convertSlowly(size_t begin, size_t end, size_t keepBackFrom) {
    HeldSurrogate held;
    for (size_t at = begin; at < end;) {
      // The last text before more input is measured over the bytes after
      // it, as wholeCharacters() measured it; any other text ends where it
      // ends.
      const size_t available = keepBackFrom != kNone ? m_pendingSize - at : end - at;
      size_t length = m_rules->sequenceLength(m_pending.data() + at, available);
      if (length == 0 || length > end - at) length = end - at;  // cut short by the end
      wchar16 units[KEL_STREAM_HANDLER_UNITS];
      size_t count = 0;
      bool illegal = false;
      if (length <= kLongestCharacter) {
        count = decodeOne(at, length, ILLCHAR_STOP, units, &illegal);
      } else {
        illegal = true;  // no character is that long
      }
      if (illegal) {
        if (held.held() && !flushHeld(held)) return kNone;
        const Read read = readInvalid(at, length, units, count);
        if (read == Read::kStopped) return kNone;
        if (read == Read::kSkipped) {
          at += length;
          continue;
        }
      }
      if (!takeCharacter(units, count, at, held)) return kNone;
      at += length;
    }
    if (!held.held()) return end;
    if (keepBackFrom != kNone) return held.start;
    return flushHeld(held) ? end : kNone;
  }

  // Decodes the `length` bytes at m_pending[begin] on their own.
  size_t decodeOne(size_t begin, size_t length, ILLCHAR_OPTYPE op, wchar16* units, bool* illegal) {
    unsigned char text[kLongestCharacter + 4] = {};
    std::memcpy(text, m_pending.data() + begin, length);
    return m_decoder.toUTF16(units, text, unitRoom(std::max(length, m_unit)), op, illegal,
                             static_cast<int>(length / m_unit));
  }

  enum class Read { kUnits, kSkipped, kStopped };

  // Bytes m_pending[at, at + length) that the source cannot read: the
  // handler's text, or the policy's. kUnits leaves the text to write in
  // `units`, `count`.
  Read readInvalid(size_t at, size_t length, wchar16* units, size_t& count) {
    const unsigned char* bytes = m_pending.data() + at;
    if (m_invalidInput != nullptr) {
      count = std::min<size_t>(
          m_invalidInput(m_invalidInputContext, bytes, length, units, KEL_STREAM_HANDLER_UNITS),
          KEL_STREAM_HANDLER_UNITS);
      if (count > 0) return Read::kUnits;
    }
    switch (m_policy) {
      case KEL_STREAM_STOP:
        failInvalid(at, length);
        return Read::kStopped;
      case KEL_STREAM_SKIP:
        ++m_skipped;
        return Read::kSkipped;
      default:
        break;
    }
    // What the source's converter reads for them when it replaces.
    bool illegal = false;
    count =
        length <= kLongestCharacter ? decodeOne(at, length, ILLCHAR_REPLACE, units, &illegal) : 0;
    if (count == 0 && m_unit > 1) {
      units[0] = kelulib::kReplacementCharacter;  // an incomplete unit
      count = 1;
    }
    return Read::kUnits;
  }

  // Writes the units read for the character at m_pending[start]; a last
  // high surrogate is held for the character after it.
  bool takeCharacter(const wchar16* units, size_t count, size_t start, HeldSurrogate& held) {
    size_t first = 0;
    if (held.held()) {
      if (count > 0 && isLowSurrogate(units[0])) {
        const wchar16 pair[2] = {held.unit, units[0]};
        if (!encodeCharacter(pair, 2, held.start)) return false;
        first = 1;
      } else if (!flushHeld(held)) {
        return false;
      }
      held = HeldSurrogate();
    }
    if (count - first == 1 && isHighSurrogate(units[first])) {
      held.unit = units[first];
      held.start = start;
      return true;
    }
    return encodeCharacters(units + first, count - first, start);
  }

  bool flushHeld(HeldSurrogate& held) {
    const wchar16 unit = held.unit;
    const size_t start = held.start;
    held = HeldSurrogate();
    return encodeCharacter(&unit, 1, start);
  }

  // Writes `units` character by character, each found at m_pending[start].
  bool encodeCharacters(const wchar16* units, size_t count, size_t start) {
    for (size_t i = 0; i < count;) {
      size_t length = 1;
      if (units[i] == 0) {
        if (!writeZeroCharacter()) return false;
      } else {
        if (i + 1 < count && isHighSurrogate(units[i]) && isLowSurrogate(units[i + 1])) length = 2;
        if (!encodeCharacter(units + i, length, start)) return false;
      }
      i += length;
    }
    return true;
  }

  // Writes one character found at m_pending[start]; one the target cannot
  // take goes to the substitution handler, then to the policy. False once
  // the conversion has stopped.
  bool encodeCharacter(const wchar16* units, size_t count, size_t start) {
    if (!reserveOutput(KEL_STREAM_HANDLER_UNITS * m_bytesPerUnit + kSlack)) return false;
    const size_t mark = m_outputSize;
    if (!checksOutput()) {
      encodeOne(units, count, policyOutputOp());
      return true;
    }
    if (encodeOne(units, count, ILLCHAR_STOP)) return true;
    m_outputSize = mark;
    const uint32_t character = characterOf(units, count);
    if (m_substitute != nullptr && substitute(character)) return true;
    switch (m_policy) {
      case KEL_STREAM_STOP:
        failUnrepresentable(start, character);
        return false;
      case KEL_STREAM_SKIP:
        ++m_skipped;
        return true;
      default:
        encodeOne(units, count, policyOutputOp());
        return true;
    }
  }

  // Writes the substitution handler's text for `character`, when it gives
  // one that the target can take whole.
  bool substitute(uint32_t character) {
    wchar16 text[KEL_STREAM_HANDLER_UNITS];
    size_t count = std::min<size_t>(
        m_substitute(m_substituteContext, character, text, KEL_STREAM_HANDLER_UNITS),
        KEL_STREAM_HANDLER_UNITS);
    count = static_cast<size_t>(std::find(text, text + count, wchar16{0}) - text);
    if (count == 0) return false;
    const size_t mark = m_outputSize;
    if (encodeOne(text, count, ILLCHAR_STOP)) return true;
    m_outputSize = mark;
    return false;
  }

  // Bytes m_pending[at, at + length) that make no character (at the end of
  // the text).
  bool convertInvalid(size_t at, size_t length) {
    wchar16 units[KEL_STREAM_HANDLER_UNITS];
    size_t count = 0;
    switch (readInvalid(at, length, units, count)) {
      case Read::kStopped:
        return false;
      case Read::kSkipped:
        return true;
      case Read::kUnits:
        break;
    }
    return encodeCharacters(units, count, at);
  }

  // --- Output ---------------------------------------------------------------------

  bool writeZeroCharacter() {
    if (!reserveOutput(m_nullSize)) return false;
    appendZeroCharacter();
    return true;
  }

  void appendZeroCharacter() {
    std::memset(m_output.data() + m_outputSize, 0, m_nullSize);
    m_outputSize += m_nullSize;
  }

  // Makes room for `bytes` more output, handing what there is to the sink
  // first if need be. False when the sink refused it.
  bool reserveOutput(size_t bytes) {
    if (m_output.size() - m_outputSize >= bytes) return true;
    if (!flush()) return false;
    if (m_output.size() < bytes) m_output.resize(bytes);
    return true;
  }

  bool flush() {
    if (m_outputSize == 0) return true;
    const size_t size = m_outputSize;
    m_outputSize = 0;
    if (stopped() && m_failure.status == KEL_STREAM_OUTPUT_FAILED) return false;
    if (m_sink.write(m_output.data(), size)) return true;
    clearFailure();
    m_failure.status = KEL_STREAM_OUTPUT_FAILED;
    return false;
  }

  // --- Failures -------------------------------------------------------------------

  void clearFailure() {
    m_failure = KelStreamFailure();
    m_failure.status = KEL_STREAM_OK;
  }

  void failInvalid(size_t at, size_t length) {
    clearFailure();
    m_failure.status = KEL_STREAM_INVALID_INPUT;
    m_failure.offset = m_offset + at;
    m_failure.byteCount = std::min<size_t>(length, KEL_STREAM_FAILURE_BYTES);
    std::memcpy(m_failure.bytes, m_pending.data() + at, m_failure.byteCount);
  }

  void failUnrepresentable(size_t at, uint32_t character) {
    clearFailure();
    m_failure.status = KEL_STREAM_UNREPRESENTABLE;
    m_failure.offset = m_offset + at;
    m_failure.character = character;
  }

  KelCharSetConverter& m_decoder;
  KelCharSetConverter& m_encoder;
  std::unique_ptr<kelulib::KelSequenceRules> m_rules;
  size_t m_unit;  // bytes of a unit of the source
  bool m_libraryDecoder;
  KelStreamPolicy m_policy;
  std::unique_ptr<KelStreamSink> m_ownedSink;
  KelStreamSink& m_sink;
  size_t m_bytesPerUnit;  // output one UTF-16 unit may need, escape included
  bool m_oneBytePerUnit;
  size_t m_nullSize;

  KelStreamSubstituteFunction m_substitute = nullptr;
  void* m_substituteContext = nullptr;
  KelStreamInvalidInputFunction m_invalidInput = nullptr;
  void* m_invalidInputContext = nullptr;

  std::vector<unsigned char> m_pending;  // input not converted yet; [0] starts a character
  size_t m_pendingSize = 0;
  uint64_t m_offset = 0;  // of m_pending[0] in the text
  std::vector<wchar16> m_units;
  std::vector<unsigned char> m_output;
  size_t m_outputSize = 0;
  // The fast path's UTF-8 sequences of the source's bytes (byteSequencesOf);
  // empty when there is none.
  std::vector<uint32_t> m_byteSequences;
  KelStreamFailure m_failure;
  uint64_t m_skipped = 0;
};

namespace {

// Whether `converter` is one of the library's own, whose reading never
// makes more UTF-16 units than it reads units of its encoding.
bool isLibraryConverter(KelCharSetConverter& converter) {
  KelCharSetConverter* c = &converter;
  return dynamic_cast<KelCharSetConverterMBCS*>(c) != nullptr ||
         dynamic_cast<KelCharSetConverterMBCSEx*>(c) != nullptr ||
         dynamic_cast<KelCharSetConverterSBCS*>(c) != nullptr ||
         dynamic_cast<KelCharSetConverterUTF8*>(c) != nullptr ||
         dynamic_cast<KelCharSetConverterUTF16*>(c) != nullptr ||
         dynamic_cast<KelCharSetConverterUTF16Esc*>(c) != nullptr ||
         dynamic_cast<KelCharSetConverterUTF32*>(c) != nullptr;
}

}  // namespace

KelStreamConverter::KelStreamConverter(KelCharSet from, KelCharSet to, KelStreamPolicy policy,
                                       KelStreamSink& sink)
    : KelStreamConverter(KelCharSetConverter::getConverter(from),
                         KelCharSetConverter::getConverter(to), policy, sink) {}

KelStreamConverter::KelStreamConverter(KelCharSet from, KelCharSet to, KelStreamPolicy policy,
                                       KelStreamWriteFunction write, void* context)
    : m_impl(nullptr) {
  if (write == nullptr) throw std::invalid_argument("null KelStreamWriteFunction");
  if (!isValidPolicy(policy)) throw std::invalid_argument("unknown KelStreamPolicy");
  KelCharSetConverter* decoder = KelCharSetConverter::getConverter(from);
  m_impl =
      new Impl(*decoder, *KelCharSetConverter::getConverter(to), kelulib::sequenceRulesOf(*decoder),
               true, policy, nullptr, std::make_unique<FunctionSink>(write, context));
}

KelStreamConverter::KelStreamConverter(KelCharSetConverter* from, KelCharSetConverter* to,
                                       KelStreamPolicy policy, KelStreamSink& sink)
    : m_impl(nullptr) {
  if (from == nullptr || to == nullptr) throw std::invalid_argument("null KelCharSetConverter");
  if (!isValidPolicy(policy)) throw std::invalid_argument("unknown KelStreamPolicy");
  std::unique_ptr<kelulib::KelSequenceRules> rules = kelulib::sequenceRulesOf(*from);
  if (rules == nullptr) {
    throw std::invalid_argument("source converter reads characters of more than one size");
  }
  m_impl =
      new Impl(*from, *to, std::move(rules), isLibraryConverter(*from), policy, &sink, nullptr);
}

KelStreamConverter::~KelStreamConverter() { delete m_impl; }

KelStreamStatus KelStreamConverter::convert(const void* bytes, size_t size) {
  if (bytes == nullptr) size = 0;
  return m_impl->convert(static_cast<const unsigned char*>(bytes), size);
}

KelStreamStatus KelStreamConverter::finish() { return m_impl->finish(); }
void KelStreamConverter::reset() { m_impl->reset(); }
KelStreamStatus KelStreamConverter::status() const { return m_impl->failure().status; }
const KelStreamFailure& KelStreamConverter::failure() const { return m_impl->failure(); }
uint64_t KelStreamConverter::skippedCount() const { return m_impl->skipped(); }

void KelStreamConverter::setSubstitution(KelStreamSubstituteFunction substitute, void* context) {
  m_impl->setSubstitution(substitute, context);
}

void KelStreamConverter::setInvalidInputHandler(KelStreamInvalidInputFunction handler,
                                                void* context) {
  m_impl->setInvalidInputHandler(handler, context);
}

// --- The C interface ------------------------------------------------------------------

extern "C" {

KelStreamConverter* KelStreamCreate(KelCharSet from, KelCharSet to, KelStreamPolicy policy,
                                    KelStreamWriteFunction write, void* context) {
  if (write == nullptr || !isValidPolicy(policy)) return nullptr;
  try {
    return new KelStreamConverter(from, to, policy, write, context);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void KelStreamDestroy(KelStreamConverter* stream) { delete stream; }

KelStreamStatus KelStreamConvert(KelStreamConverter* stream, const void* bytes, size_t size) {
  return stream != nullptr ? stream->convert(bytes, size) : KEL_STREAM_OUTPUT_FAILED;
}

KelStreamStatus KelStreamFinish(KelStreamConverter* stream) {
  return stream != nullptr ? stream->finish() : KEL_STREAM_OUTPUT_FAILED;
}

void KelStreamReset(KelStreamConverter* stream) {
  if (stream != nullptr) stream->reset();
}

KelStreamStatus KelStreamGetFailure(const KelStreamConverter* stream, KelStreamFailure* failure) {
  if (stream == nullptr) return KEL_STREAM_OUTPUT_FAILED;
  if (failure != nullptr) *failure = stream->failure();
  return stream->status();
}

uint64_t KelStreamSkippedCount(const KelStreamConverter* stream) {
  return stream != nullptr ? stream->skippedCount() : 0;
}

void KelStreamSetSubstitution(KelStreamConverter* stream, KelStreamSubstituteFunction substitute,
                              void* context) {
  if (stream != nullptr) stream->setSubstitution(substitute, context);
}

void KelStreamSetInvalidInputHandler(KelStreamConverter* stream,
                                     KelStreamInvalidInputFunction handler, void* context) {
  if (stream != nullptr) stream->setInvalidInputHandler(handler, context);
}

}  // extern "C"

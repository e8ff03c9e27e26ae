#include "tools/kelconv/stream_converter.h"

#include <algorithm>
#include <cstring>

namespace kelconv {
namespace {

constexpr wchar16 kByteOrderMark = 0xFEFF;
constexpr wchar16 kReplacementCharacter = 0xFFFD;
constexpr size_t kUnitEscapeLength = 6;  // "U+XXXX"

bool isHighSurrogate(wchar16 unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(wchar16 unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Room that one UTF-16 unit may need in the target: its largest form, or
// under the escape policy the six characters of "U+XXXX" in the target's
// units if that is more.
size_t bytesPerUnit(const KelCharSetConverter& encoder, Policy policy) {
  const size_t largest = encoder.getMaxUnitSize();
  if (policy != Policy::kEscape) return largest;
  return std::max(largest, kUnitEscapeLength * encoder.getMinUnitSize());
}

ILLCHAR_OPTYPE encodeOpFor(Policy policy) {
  switch (policy) {
    case Policy::kStop:
      return ILLCHAR_STOP;
    case Policy::kEscape:
      return ILLCHAR_ESCAPE;
    case Policy::kReplace:
      break;
  }
  return ILLCHAR_REPLACE;
}

// The character of units[0, length): a surrogate pair or a single unit.
char32_t characterOf(const wchar16* units, size_t length) {
  if (length == 2) {
    return 0x10000 + ((static_cast<char32_t>(units[0]) - 0xD800) << 10) + (units[1] - 0xDC00);
  }
  return units[0];
}

}  // namespace

StreamConverter::StreamConverter(const StreamSettings& settings, ByteSink& sink)
    : m_rules(SequenceRules::forCharSet(settings.from)),
      m_decoder(KelCharSetConverter::getConverter(settings.from)),
      m_encoder(KelCharSetConverter::getConverter(settings.to)),
      m_stopAtFirstLoss(settings.policy == Policy::kStop),
      m_decodeOp(settings.policy == Policy::kStop ? ILLCHAR_STOP : ILLCHAR_REPLACE),
      m_encodeOp(encodeOpFor(settings.policy)),
      m_bytesPerUnit(bytesPerUnit(*m_encoder, settings.policy)),
      m_byteOrderMarkOwed(settings.addByteOrderMark),
      m_sink(sink) {}

bool StreamConverter::write(const void* data, size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (size > 0 && !stopped()) {
    const size_t slice = std::min(size, kSliceBytes);
    m_pending.insert(m_pending.end(), bytes, bytes + slice);
    bytes += slice;
    size -= slice;
    convertPending(false);
    flushOutput();
  }
  return !stopped();
}

bool StreamConverter::finishInput() {
  if (!stopped()) {
    convertPending(true);
    flushOutput();
  }
  m_pending.clear();
  m_pendingOffset = 0;
  return !stopped();
}

void StreamConverter::finishOutput() {
  settleByteOrderMark(0);
  flushOutput();
}

// Converts the whole characters of m_pending (all of it at the end of the
// input) and keeps the rest for the next write.
void StreamConverter::convertPending(bool endOfInput) {
  const size_t unit = m_rules.unitSize();
  size_t complete = m_pending.size() - m_pending.size() % unit;
  size_t keepBackFrom = kNone;
  if (!endOfInput) {
    const CompletePrefix prefix = completePrefix(m_rules, m_pending.data(), m_pending.size());
    complete = prefix.length;
    keepBackFrom = prefix.lastStart;
  }
  // The converters read up to a zero character: each text gets one for the
  // call (decodeRange), in the place of the bytes after it, which need room
  // for it. Those bytes stay in m_pending meanwhile, so that the slow path
  // measures the characters before them as completePrefix() did.
  const size_t total = m_pending.size();
  if (total < complete + unit) m_pending.resize(complete + unit, 0);

  const size_t converted = convertPieces(complete, keepBackFrom);
  if (stopped()) return;
  m_pending.resize(total);
  m_pending.erase(m_pending.begin(), m_pending.begin() + converted);
  m_pendingOffset += converted;
  if (endOfInput && !m_pending.empty()) convertPartialUnit(m_pending.size());
}

// Converts m_pending[0, end) piece by piece between its zero characters;
// returns how much of it was converted (less than `end` when a last high
// surrogate is kept back).
size_t StreamConverter::convertPieces(size_t end, size_t keepBackFrom) {
  const size_t unit = m_rules.unitSize();
  size_t begin = 0;
  for (size_t zero = findZeroUnit(begin, end); zero < end; zero = findZeroUnit(begin, end)) {
    convertPiece(begin, zero, kNone);
    if (stopped()) return 0;
    writeZeroCharacter();
    begin = zero + unit;
  }
  return convertPiece(begin, end, keepBackFrom);
}

size_t StreamConverter::findZeroUnit(size_t begin, size_t end) const {
  const size_t unit = m_rules.unitSize();
  const unsigned char* bytes = m_pending.data();
  if (unit == 1) {
    const void* zero = std::memchr(bytes + begin, 0, end - begin);
    return zero != nullptr ? static_cast<size_t>(static_cast<const unsigned char*>(zero) - bytes)
                           : end;
  }
  for (size_t at = begin; at < end; at += unit) {
    if (std::all_of(bytes + at, bytes + at + unit, [](unsigned char b) { return b == 0; })) {
      return at;
    }
  }
  return end;
}

// Converts the text m_pending[begin, end), which a zero unit follows. When
// `keepBackFrom` (the start of its last character) is given and that
// character ends in a high surrogate, the text is converted only up to it
// and `keepBackFrom` is returned; otherwise `end`.
size_t StreamConverter::convertPiece(size_t begin, size_t end, size_t keepBackFrom) {
  size_t converted = end;
  size_t count = decodeRange(begin, end);
  if (m_decodeFailed) return convertSlowly(begin, end, keepBackFrom);
  if (keepBackFrom != kNone && keepBackFrom >= begin && count > 0 &&
      isHighSurrogate(m_units[count - 1])) {
    converted = keepBackFrom;
    count = decodeRange(begin, keepBackFrom);
    if (m_decodeFailed) return convertSlowly(begin, end, keepBackFrom);
  }
  if (count == 0) return converted;
  settleByteOrderMark(m_units[0]);
  const size_t outputMark = m_outputSize;
  if (encode(m_units.data(), count)) return converted;
  m_outputSize = outputMark;
  return convertSlowly(begin, end, keepBackFrom);
}

// Decodes m_pending[begin, end) into m_units (terminated); returns the
// units. Sets m_decodeFailed when input was invalid and the policy stops.
size_t StreamConverter::decodeRange(size_t begin, size_t end) {
  m_decodeFailed = false;
  if (begin == end) return 0;
  const size_t bytes = end - begin;
  const size_t unit = m_rules.unitSize();
  if (m_units.size() < bytes + 1) m_units.resize(bytes + 1);
  // The converters read up to a zero character (UTF-16 counts its bound in
  // units as well): end the text there for the call.
  unsigned char saved[4];
  std::memcpy(saved, m_pending.data() + end, unit);
  std::memset(m_pending.data() + end, 0, unit);
  bool illegal = false;
  const size_t count = m_decoder->toUTF16(m_units.data(), m_pending.data() + begin, bytes,
                                          m_decodeOp, &illegal, static_cast<int>(bytes / unit));
  std::memcpy(m_pending.data() + end, saved, unit);
  m_decodeFailed = illegal && m_stopAtFirstLoss;
  return count;
}

// The slow path under Policy::kStop: converts m_pending[begin, end) one
// character at a time, to stop exactly before the first that cannot be
// converted and to know its offset. Returns as convertPiece().
size_t StreamConverter::convertSlowly(size_t begin, size_t end, size_t keepBackFrom) {
  std::u16string held;  // a high surrogate whose pair may follow
  size_t heldStart = begin;
  for (size_t position = begin; position < end;) {
    // The text before a write's held-back bytes (keepBackFrom given) is
    // measured over those bytes too, as completePrefix() measured it: up to
    // `end` alone, a sequence that the bytes after it break off would look
    // unfinished and take in the bytes before the cut. A text that ends at
    // a zero character or at the end of the input ends there.
    const size_t available =
        keepBackFrom != kNone ? m_pending.size() - position : end - position;
    size_t length = m_rules.sequenceLength(m_pending.data() + position, available);
    // Cut short by the end of the text.
    if (length == 0 || length > end - position) length = end - position;
    std::u16string decoded;
    const bool valid = decodeSequence(position, length, decoded);
    const bool pairsWithHeld = !held.empty() && !decoded.empty() && isLowSurrogate(decoded[0]);
    if (!held.empty() && !pairsWithHeld) {
      if (!encodeCharacters(held, heldStart)) return 0;
      held.clear();
    }
    if (!valid) {
      failOnInput(position, length);
      return 0;
    }
    if (held.empty() && decoded.size() == 1 && isHighSurrogate(decoded[0])) {
      held = decoded;
      heldStart = position;
    } else {
      const size_t start = held.empty() ? position : heldStart;
      if (!encodeCharacters(held + decoded, start)) return 0;
      held.clear();
    }
    position += length;
  }
  if (held.empty()) return end;
  if (keepBackFrom != kNone) return heldStart;
  return encodeCharacters(held, heldStart) ? end : 0;
}

// Decodes the `length` bytes at m_pending[begin] alone, appending the units
// to `units`; false when they are not valid input.
bool StreamConverter::decodeSequence(size_t begin, size_t length, std::u16string& units) {
  std::vector<unsigned char> sequence(m_pending.begin() + begin,
                                      m_pending.begin() + begin + length);
  sequence.resize(length + m_rules.unitSize(), 0);
  std::vector<wchar16> decoded(length + 2);
  bool illegal = false;
  const size_t count =
      m_decoder->toUTF16(decoded.data(), sequence.data(), length + 1, ILLCHAR_STOP, &illegal,
                         static_cast<int>(length / m_rules.unitSize()));
  units.append(decoded.data(), count);
  return !illegal;
}

// Writes `units` character by character; on the first that the target
// cannot take, records it at `offset` (in m_pending) and returns false.
bool StreamConverter::encodeCharacters(const std::u16string& units, size_t offset) {
  for (size_t i = 0; i < units.size();) {
    const size_t length =
        i + 1 < units.size() && isHighSurrogate(units[i]) && isLowSurrogate(units[i + 1]) ? 2 : 1;
    const wchar16 character[3] = {units[i], length == 2 ? units[i + 1] : wchar16{0}, 0};
    settleByteOrderMark(character[0]);
    if (!encode(character, length)) {
      m_failure.kind = ConversionFailure::Kind::kUnrepresentable;
      m_failure.offset = m_pendingOffset + offset;
      m_failure.character = characterOf(character, length);
      return false;
    }
    i += length;
  }
  return true;
}

void StreamConverter::failOnInput(size_t begin, size_t length) {
  m_failure.kind = ConversionFailure::Kind::kInvalidInput;
  m_failure.offset = m_pendingOffset + begin;
  m_failure.bytes.assign(reinterpret_cast<const char*>(m_pending.data() + begin), length);
}

// Encodes units[0, count) (units[count] is 0) into the output; a zero unit
// among them becomes the target's zero character. False when, under
// Policy::kStop, a unit could not be converted.
bool StreamConverter::encode(const wchar16* units, size_t count) {
  for (size_t begin = 0;;) {
    const size_t run = std::char_traits<char16_t>::length(units + begin);
    if (run > 0 && !encodeRun(units + begin, run)) return false;
    begin += run;
    if (begin >= count) return true;
    writeZeroCharacter();
    ++begin;
  }
}

// Encodes the zero-terminated units[0, count), none of them zero. Each
// unpaired high surrogate is encoded on its own, between the text before it
// and the text after it: what a converter does with one depends on the unit
// after it (GB18030 ends the whole text there, the UTF-8 escape drops that
// unit), and that unit may come from another write.
bool StreamConverter::encodeRun(const wchar16* units, size_t count) {
  size_t begin = 0;
  for (size_t at = 0; at < count; ++at) {
    if (!isHighSurrogate(units[at])) continue;
    if (at + 1 < count && isLowSurrogate(units[at + 1])) {
      ++at;
      continue;
    }
    if (at > begin) {
      const std::u16string before(units + begin, at - begin);
      if (!encodeWhole(before.c_str(), before.size())) return false;
    }
    if (!encodeUnpairedHighSurrogate(units[at])) return false;
    begin = at + 1;
  }
  return begin == count || encodeWhole(units + begin, count - begin);
}

// An unpaired high surrogate alone, followed by two zero units: the UTF-8
// converter's escape drops the unit after the surrogate and must meet a
// zero after that, and it writes six bytes for the five it counts, so the
// output has one byte to spare. Nothing written is a loss too (GB18030
// writes nothing for it).
bool StreamConverter::encodeUnpairedHighSurrogate(wchar16 unit) {
  const wchar16 text[3] = {unit, 0, 0};
  unsigned char* out = outputSpace(m_bytesPerUnit + 1 + m_encoder->getNullCharSize());
  bool illegal = false;
  const size_t written = m_encoder->fromUTF16(out, text, m_bytesPerUnit, m_encodeOp, &illegal);
  m_outputSize += written;
  return !m_stopAtFirstLoss || (!illegal && written > 0);
}

// Encodes the zero-terminated units[0, count), none of them zero and none
// an unpaired high surrogate.
bool StreamConverter::encodeWhole(const wchar16* units, size_t count) {
  const size_t room = count * m_bytesPerUnit;
  unsigned char* out = outputSpace(room + m_encoder->getNullCharSize());
  bool illegal = false;
  const size_t written = m_encoder->fromUTF16(out, units, room, m_encodeOp, &illegal);
  m_outputSize += written;
  if (!m_stopAtFirstLoss) return true;
  // Not every converter reports through the flag; each counts a unit it
  // cannot convert, though, and then stops short of the count.
  return !illegal && written >= m_encoder->getNumBytes(units, count);
}

// The bytes of an incomplete UTF-16 or UTF-32 unit at the end of the input.
void StreamConverter::convertPartialUnit(size_t size) {
  if (m_stopAtFirstLoss) {
    failOnInput(0, size);
    return;
  }
  const wchar16 replacement[2] = {kReplacementCharacter, 0};
  settleByteOrderMark(replacement[0]);
  encode(replacement, 1);
  m_pending.clear();
}

void StreamConverter::writeZeroCharacter() {
  settleByteOrderMark(0);
  const size_t size = m_encoder->getNullCharSize();
  std::memset(outputSpace(size), 0, size);
  m_outputSize += size;
}

// Called with the first unit of the output before it is written: the mark
// goes first unless the text starts with one itself.
void StreamConverter::settleByteOrderMark(wchar16 firstUnit) {
  if (!m_byteOrderMarkOwed) return;
  m_byteOrderMarkOwed = false;
  if (firstUnit == kByteOrderMark) return;
  const wchar16 mark[2] = {kByteOrderMark, 0};
  encodeRun(mark, 1);
}

unsigned char* StreamConverter::outputSpace(size_t bytes) {
  if (m_output.size() < m_outputSize + bytes) m_output.resize(m_outputSize + bytes);
  return m_output.data() + m_outputSize;
}

void StreamConverter::flushOutput() {
  if (m_outputSize == 0) return;
  m_sink.write(m_output.data(), m_outputSize);
  m_outputSize = 0;
}

}  // namespace kelconv

#include "tests/support/oracle_answers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tests/support/sha256.h"

namespace kelulib_test {
namespace {

// Answers longer than this are kept as their digest only: a test that needs
// such an output compares its own with OracleAnswer::wrote().
constexpr size_t kLongestKeptAnswer = 4 * 1024;

// Inputs of up to this many bytes are kept as they are; longer ones by their
// length and the first bytes of their SHA-256.
constexpr size_t kKeptInputBytes = 8;

// Inputs of up to four bytes are numbers (the bytes read in one order or
// the other): the questions asked are kept as ranges of numbers and only
// the accepted ones with their answers.
constexpr size_t kLongestNumberInput = 4;

constexpr char kMagic[] = "KORA\x01";
constexpr size_t kMagicSize = sizeof kMagic - 1;

const char* recordFolder() {
  const char* folder = std::getenv("KELULIB_ORACLE_RECORD");
  return folder != nullptr && *folder != '\0' ? folder : nullptr;
}

int rank(OracleAnswer::Kind kind) { return static_cast<int>(kind); }

int rank(OracleNeed need) {
  switch (need) {
    case OracleNeed::kAcceptance:
      return rank(OracleAnswer::Kind::kAccepted);
    case OracleNeed::kDigest:
      return rank(OracleAnswer::Kind::kDigest);
    default:
      return rank(OracleAnswer::Kind::kBytes);
  }
}

std::string hexOf(const std::string& bytes, size_t limit = 24) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (size_t i = 0; i < bytes.size() && i < limit; ++i) {
    if (i > 0) text += ' ';
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  if (bytes.size() > limit) text += " ... (" + std::to_string(bytes.size()) + " bytes)";
  return text.empty() ? "(empty)" : text;
}

std::array<unsigned char, 32> digestOf(const std::string& bytes) {
  return sha256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

// --- byte-level encoding -----------------------------------------------------------------

void putVarint(std::string& out, uint64_t value) {
  while (value >= 0x80) {
    out += static_cast<char>(0x80 | (value & 0x7F));
    value >>= 7;
  }
  out += static_cast<char>(value);
}

class Reader {
 public:
  Reader(const std::string& bytes, size_t at) : m_bytes(bytes), m_at(at) {}

  bool ok() const { return m_ok; }
  bool atEnd() const { return m_at == m_bytes.size(); }

  uint64_t varint() {
    uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      if (m_at >= m_bytes.size()) break;
      const auto byte = static_cast<unsigned char>(m_bytes[m_at++]);
      value |= static_cast<uint64_t>(byte & 0x7F) << shift;
      if ((byte & 0x80) == 0) return value;
    }
    m_ok = false;
    return 0;
  }

  unsigned char byte() { return static_cast<unsigned char>(take(1)[0]); }

  std::string take(size_t count) {
    if (count > m_bytes.size() - m_at) {
      m_ok = false;
      return std::string(count == 0 ? 0 : 1, '\0');
    }
    std::string part = m_bytes.substr(m_at, count);
    m_at += count;
    return part;
  }

 private:
  const std::string& m_bytes;
  size_t m_at;
  bool m_ok = true;
};

void putAnswer(std::string& out, const OracleAnswer& answer) {
  out += static_cast<char>(answer.kind);
  switch (answer.kind) {
    case OracleAnswer::Kind::kBytes:
      putVarint(out, answer.bytes.size());
      out += answer.bytes;
      break;
    case OracleAnswer::Kind::kDigest:
      putVarint(out, answer.size);
      out.append(reinterpret_cast<const char*>(answer.digest.data()), answer.digest.size());
      break;
    default:
      break;
  }
}

// In a block of numbered inputs an answer of up to eight bytes may be kept
// as a step from the block's last answer of the same length: the bytes read
// as a little-endian (or big-endian) number, plus a signed difference. Runs
// of consecutive mappings then take a byte or two each. The kind of such an
// answer tells the length and the byte order.
constexpr unsigned char kFirstStepKind = 8;
constexpr size_t kLongestStepped = 8;

unsigned char stepKind(size_t length, bool littleEndian) {
  return static_cast<unsigned char>(kFirstStepKind + 2 * (length - 1) + (littleEndian ? 0 : 1));
}

// The last answer with bytes of each length, in a block being read or written.
struct LastAnswers {
  std::array<std::string, kLongestStepped + 1> ofLength;
  std::array<bool, kLongestStepped + 1> seen{};

  void note(const OracleAnswer& answer) {
    if (answer.kind != OracleAnswer::Kind::kBytes || answer.bytes.empty() ||
        answer.bytes.size() > kLongestStepped) {
      return;
    }
    ofLength[answer.bytes.size()] = answer.bytes;
    seen[answer.bytes.size()] = true;
  }
};

// `bytes` (at most eight) as a number, read little-endian or big-endian.
uint64_t valueOf(const std::string& bytes, bool littleEndian) {
  uint64_t value = 0;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const size_t at = littleEndian ? bytes.size() - 1 - i : i;
    value = value << 8 | static_cast<unsigned char>(bytes[at]);
  }
  return value;
}

std::string bytesOfValue(uint64_t value, size_t length, bool littleEndian) {
  std::string bytes(length, '\0');
  for (size_t i = 0; i < length; ++i) {
    bytes[littleEndian ? i : length - 1 - i] = static_cast<char>(value >> (8 * i));
  }
  return bytes;
}

uint64_t lengthMask(size_t length) {
  return length >= 8 ? ~uint64_t{0} : (uint64_t{1} << (8 * length)) - 1;
}

// The step from `before` to `after` (equal lengths) as a zigzag number:
// the difference modulo 2^(8 * length), taken as the smallest signed value.
uint64_t stepBetween(const std::string& before, const std::string& after, bool littleEndian) {
  const uint64_t mask = lengthMask(after.size());
  const uint64_t difference =
      (valueOf(after, littleEndian) - valueOf(before, littleEndian)) & mask;
  const bool negative = (difference >> (8 * after.size() - 1)) != 0;
  const uint64_t magnitude = negative ? ((~difference + 1) & mask) : difference;
  return negative ? magnitude * 2 - 1 : magnitude * 2;
}

std::string steppedFrom(const std::string& before, uint64_t step, bool littleEndian) {
  const uint64_t magnitude = (step + 1) / 2;
  const uint64_t base = valueOf(before, littleEndian);
  const uint64_t value = (step & 1) != 0 ? base - magnitude : base + magnitude;
  return bytesOfValue(value & lengthMask(before.size()), before.size(), littleEndian);
}

size_t varintSize(uint64_t value) {
  size_t size = 1;
  for (; value >= 0x80; value >>= 7) ++size;
  return size;
}

// An answer of a block of numbered inputs: a step when that is shorter.
void putAnswerAfter(std::string& out, const OracleAnswer& answer, const LastAnswers& last) {
  const size_t length = answer.bytes.size();
  if (answer.kind == OracleAnswer::Kind::kBytes && length > 0 && length <= kLongestStepped &&
      last.seen[length]) {
    const uint64_t little = stepBetween(last.ofLength[length], answer.bytes, true);
    const uint64_t big = stepBetween(last.ofLength[length], answer.bytes, false);
    const bool useLittle = little <= big;
    const uint64_t step = useLittle ? little : big;
    if (varintSize(step) < varintSize(length) + length) {
      out += static_cast<char>(stepKind(length, useLittle));
      putVarint(out, step);
      return;
    }
  }
  putAnswer(out, answer);
}

OracleAnswer readAnswer(Reader& in, const LastAnswers* last = nullptr) {
  OracleAnswer answer;
  const unsigned char kind = in.byte();
  if (kind >= kFirstStepKind && kind < stepKind(kLongestStepped + 1, true) && last != nullptr) {
    const size_t length = (kind - kFirstStepKind) / 2 + 1;
    if (!last->seen[length]) {
      in.take(~size_t{0});  // a step from nothing: a bad file
      return answer;
    }
    const bool littleEndian = (kind - kFirstStepKind) % 2 == 0;
    return OracleAnswer::written(steppedFrom(last->ofLength[length], in.varint(), littleEndian));
  }
  if (kind > rank(OracleAnswer::Kind::kBytes)) {
    // Left to the caller's check of in.ok(): an unknown kind is a bad file.
    in.take(~size_t{0});
    return answer;
  }
  answer.kind = static_cast<OracleAnswer::Kind>(kind);
  if (answer.kind == OracleAnswer::Kind::kBytes) {
    answer.bytes = in.take(in.varint());
    answer.size = answer.bytes.size();
  } else if (answer.kind == OracleAnswer::Kind::kDigest) {
    answer.size = in.varint();
    const std::string digest = in.take(answer.digest.size());
    std::copy(digest.begin(), digest.end(), answer.digest.begin());
  }
  return answer;
}

// An input of up to four bytes as a number: big-endian or little-endian.
uint32_t numberOf(const std::string& input, bool littleEndian) {
  return static_cast<uint32_t>(valueOf(input, littleEndian));
}

uint32_t reversedBytes(uint32_t value, size_t length) {
  uint32_t reversed = 0;
  for (size_t i = 0; i < length; ++i) {
    reversed = reversed << 8 | (value & 0xFF);
    value >>= 8;
  }
  return reversed;
}

using Ranges = std::vector<std::pair<uint32_t, uint32_t>>;

// Sorted, distinct numbers as ranges of consecutive numbers.
Ranges rangesOf(const std::vector<uint32_t>& sorted) {
  Ranges ranges;
  for (uint32_t value : sorted) {
    if (!ranges.empty() && ranges.back().second + 1 == value) {
      ranges.back().second = value;
    } else {
      ranges.emplace_back(value, value);
    }
  }
  return ranges;
}

// The key of a longer input: its length and its first bytes, or the first
// bytes of its SHA-256.
std::string keyOf(const std::string& input) {
  std::string key;
  putVarint(key, input.size());
  if (input.size() <= kKeptInputBytes) return key + input;
  const std::array<unsigned char, 32> digest = digestOf(input);
  return key + std::string(reinterpret_cast<const char*>(digest.data()), kKeptInputBytes);
}

}  // namespace

// --- answers ---------------------------------------------------------------------------

OracleAnswer OracleAnswer::written(std::string bytes) {
  OracleAnswer answer;
  answer.kind = Kind::kBytes;
  answer.size = bytes.size();
  answer.bytes = std::move(bytes);
  return answer;
}

bool OracleAnswer::wrote(const std::string& candidate) const {
  switch (kind) {
    case Kind::kBytes:
      return bytes == candidate;
    case Kind::kDigest:
      return size == candidate.size() && digest == digestOf(candidate);
    default:
      return false;
  }
}

// --- the answers of one channel ----------------------------------------------------------

// The questions and answers of a channel. Inputs of one to four bytes are
// numbers; for each length the questions asked are ranges of numbers
// (`ranges`, or, while recording, every number in `asked`) and only the
// answers that are no rejection are kept. Longer (and empty) inputs are kept
// by key, with every answer.
class OracleChannel::Table {
 public:
  struct Numbers {
    bool littleEndian = false;
    Ranges ranges;                                     // when read for look-ups
    std::vector<uint32_t> asked;                       // while recording (big-endian numbers)
    std::unordered_map<uint32_t, OracleAnswer> answers;  // accepted inputs only
  };

  // Reads a file's body; false when it is not one.
  bool read(const std::string& file, bool forRecording) {
    const size_t body = file.find("\n\n");
    if (body == std::string::npos) return false;
    Reader in(file, body + 2);
    if (in.take(kMagicSize) != std::string(kMagic, kMagicSize)) return false;
    for (uint64_t blocks = in.varint(); in.ok() && blocks > 0; --blocks) {
      const unsigned length = in.byte();
      if (length == 0 || length > kLongestNumberInput) return false;
      Numbers& numbers = m_numbers[length];
      numbers.littleEndian = in.byte() != 0;
      uint64_t next = 0;
      for (uint64_t count = in.varint(); in.ok() && count > 0; --count) {
        const uint64_t first = next + in.varint();
        const uint64_t last = first + in.varint();
        numbers.ranges.emplace_back(static_cast<uint32_t>(first), static_cast<uint32_t>(last));
        next = last + 1;
      }
      next = 0;
      LastAnswers last;
      for (uint64_t count = in.varint(); in.ok() && count > 0; --count) {
        const uint64_t number = next + in.varint();
        OracleAnswer answer = readAnswer(in, &last);
        last.note(answer);
        numbers.answers[static_cast<uint32_t>(number)] = std::move(answer);
        next = number + 1;
      }
      if (forRecording) toBigEndianList(numbers, length);
    }
    for (uint64_t count = in.varint(); in.ok() && count > 0; --count) {
      const uint64_t size = in.varint();
      std::string key;
      putVarint(key, size);
      key += in.take(size < kKeptInputBytes ? size : kKeptInputBytes);
      m_keyed[key] = readAnswer(in);
    }
    return in.ok() && in.atEnd();
  }

  // The answer to `input`; nullopt when the question was never recorded.
  std::optional<OracleAnswer> find(const std::string& input) const {
    if (input.empty() || input.size() > kLongestNumberInput) {
      const auto found = m_keyed.find(keyOf(input));
      if (found == m_keyed.end()) return std::nullopt;
      return found->second;
    }
    const Numbers& numbers = m_numbers[input.size()];
    const uint32_t number = numberOf(input, numbers.littleEndian);
    const auto answer = numbers.answers.find(number);
    if (answer != numbers.answers.end()) return answer->second;
    const auto after = std::upper_bound(
        numbers.ranges.begin(), numbers.ranges.end(), std::make_pair(number, ~uint32_t{0}));
    if (after == numbers.ranges.begin() || std::prev(after)->second < number) return std::nullopt;
    return OracleAnswer::rejected();
  }

  // Records `answer` to `input`, keeping the more complete of two answers.
  void add(const std::string& input, const OracleAnswer& answer, const std::string& channel) {
    OracleAnswer* kept = nullptr;
    if (input.empty() || input.size() > kLongestNumberInput) {
      const auto inserted = m_keyed.emplace(keyOf(input), answer);
      if (inserted.second) return;
      kept = &inserted.first->second;
    } else {
      Numbers& numbers = m_numbers[input.size()];
      const uint32_t number = numberOf(input, false);
      numbers.asked.push_back(number);
      if (!answer.accepted()) {
        kept = nullptr;
        const auto found = numbers.answers.find(number);
        if (found == numbers.answers.end()) return;
        kept = &found->second;
      } else {
        const auto inserted = numbers.answers.emplace(number, answer);
        if (inserted.second) return;
        kept = &inserted.first->second;
      }
    }
    if (kept->accepted() != answer.accepted() ||
        (kept->kind == OracleAnswer::Kind::kBytes && answer.kind == OracleAnswer::Kind::kBytes &&
         kept->bytes != answer.bytes)) {
      ADD_FAILURE() << channel << " answered " << hexOf(input) << " differently before";
    }
    if (rank(answer.kind) > rank(kept->kind)) *kept = answer;
  }

  // The file: `header`, then the body (see tests/oracle/README.md).
  std::string write(const std::string& header) const {
    std::string out = header + "\n" + std::string(kMagic, kMagicSize);
    std::string blocks;
    uint64_t blockCount = 0;
    for (size_t length = 1; length <= kLongestNumberInput; ++length) {
      std::vector<uint32_t> asked = m_numbers[length].asked;
      if (asked.empty()) continue;
      ++blockCount;
      std::sort(asked.begin(), asked.end());
      asked.erase(std::unique(asked.begin(), asked.end()), asked.end());
      // Whichever order gives fewer ranges.
      std::vector<uint32_t> reversed;
      for (uint32_t number : asked) reversed.push_back(reversedBytes(number, length));
      std::sort(reversed.begin(), reversed.end());
      const Ranges bigEndian = rangesOf(asked);
      const Ranges littleEndian = rangesOf(reversed);
      const bool useLittleEndian = littleEndian.size() < bigEndian.size();
      const Ranges& ranges = useLittleEndian ? littleEndian : bigEndian;
      blocks += static_cast<char>(length);
      blocks += static_cast<char>(useLittleEndian ? 1 : 0);
      putVarint(blocks, ranges.size());
      uint64_t next = 0;
      for (const auto& [first, last] : ranges) {
        putVarint(blocks, first - next);
        putVarint(blocks, last - first);
        next = uint64_t{last} + 1;
      }
      std::map<uint32_t, const OracleAnswer*> answers;
      for (const auto& [number, answer] : m_numbers[length].answers) {
        answers[useLittleEndian ? reversedBytes(number, length) : number] = &answer;
      }
      putVarint(blocks, answers.size());
      next = 0;
      LastAnswers last;
      for (const auto& [number, answer] : answers) {
        putVarint(blocks, number - next);
        putAnswerAfter(blocks, *answer, last);
        last.note(*answer);
        next = uint64_t{number} + 1;
      }
    }
    putVarint(out, blockCount);
    out += blocks;
    putVarint(out, m_keyed.size());
    for (const auto& [key, answer] : m_keyed) {
      out += key;
      putAnswer(out, answer);
    }
    return out;
  }

 private:
  // Turns what was read for look-ups into the recording form.
  static void toBigEndianList(Numbers& numbers, size_t length) {
    for (const auto& [first, last] : numbers.ranges) {
      for (uint64_t number = first; number <= last; ++number) {
        numbers.asked.push_back(numbers.littleEndian
                                    ? reversedBytes(static_cast<uint32_t>(number), length)
                                    : static_cast<uint32_t>(number));
      }
    }
    numbers.ranges.clear();
    if (numbers.littleEndian) {
      std::unordered_map<uint32_t, OracleAnswer> answers;
      for (auto& [number, answer] : numbers.answers) {
        answers[reversedBytes(number, length)] = std::move(answer);
      }
      numbers.answers = std::move(answers);
    }
    numbers.littleEndian = false;
  }

  std::array<Numbers, kLongestNumberInput + 1> m_numbers;
  std::map<std::string, OracleAnswer> m_keyed;
};

// --- channels ----------------------------------------------------------------------------

namespace {

// Every channel of the process; while recording, each is saved at exit.
struct Channels {
  std::map<std::string, std::unique_ptr<OracleChannel>> byName;
  ~Channels() {
    for (const auto& entry : byName) entry.second->save();
  }
};

Channels& channels() {
  static Channels all;
  return all;
}

std::string fileName(const std::string& folder, const std::string& channel) {
  return folder + "/" + channel + ".answers";
}

std::string readFile(const std::string& name, bool* found) {
  std::ifstream file(name, std::ios::binary);
  *found = static_cast<bool>(file);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// What a recording keeps of `answer` for a test that needs `need`.
OracleAnswer kept(const OracleAnswer& answer, OracleNeed need, const std::string& channel) {
  if (!answer.accepted()) return answer;
  OracleAnswer result;
  result.size = answer.size;
  if (need == OracleNeed::kAcceptance) {
    result.kind = OracleAnswer::Kind::kAccepted;
    return result;
  }
  if (need == OracleNeed::kBytes && answer.size <= kLongestKeptAnswer) return answer;
  if (need == OracleNeed::kBytes) {
    ADD_FAILURE() << channel << " wrote " << answer.size
                  << " bytes, more than a recording keeps: compare with OracleAnswer::wrote()";
  }
  result.kind = OracleAnswer::Kind::kDigest;
  result.digest = digestOf(answer.bytes);
  return result;
}

}  // namespace

OracleChannel::OracleChannel(std::string name)
    : m_name(std::move(name)), m_table(std::make_unique<Table>()) {}

OracleChannel::~OracleChannel() = default;

OracleChannel& OracleChannel::named(const std::string& name) {
  std::unique_ptr<OracleChannel>& channel = channels().byName[name];
  if (!channel) channel.reset(new OracleChannel(name));
  return *channel;
}

bool OracleChannel::recording() { return recordFolder() != nullptr; }

void OracleChannel::setLive(Live live) { m_live = std::move(live); }

void OracleChannel::loadOnce() {
  if (m_loaded) return;
  m_loaded = true;
  // While recording, what earlier runs recorded is added to; otherwise the
  // committed answers are read.
  const bool forRecording = recording();
  const std::string name =
      fileName(forRecording ? recordFolder() : KELULIB_ORACLE_ANSWERS_DIR, m_name);
  const std::string file = readFile(name, &m_fileFound);
  if (m_fileFound && !m_table->read(file, forRecording)) {
    ADD_FAILURE() << name << " is not a file of recorded answers";
    *m_table = Table();
    m_fileFound = false;
  }
}

bool OracleChannel::available() {
  loadOnce();
  return recording() ? static_cast<bool>(m_live) : m_fileFound;
}

OracleAnswer OracleChannel::ask(const std::string& input, OracleNeed need) {
  loadOnce();
  if (recording()) {
    if (!m_live) {
      ADD_FAILURE() << "no converter to record " << m_name << " from";
      return OracleAnswer::rejected();
    }
    const std::optional<std::string> output = m_live(input);
    const OracleAnswer answer = output ? OracleAnswer::written(*output) : OracleAnswer::rejected();
    m_table->add(input, kept(answer, need, m_name), m_name);
    m_changed = true;
    return answer;
  }
  const std::optional<OracleAnswer> found = m_table->find(input);
  if (!found) {
    ADD_FAILURE() << m_name << " has no recorded answer for " << hexOf(input)
                  << ": record the answers again (tools/record_oracle_answers.cmake)";
    return OracleAnswer::rejected();
  }
  if (found->accepted() && rank(found->kind) < rank(need)) {
    ADD_FAILURE() << m_name << " kept less of its answer for " << hexOf(input)
                  << " than this test needs: record the answers again "
                     "(tools/record_oracle_answers.cmake)";
  }
  return *found;
}

void OracleChannel::save() const {
  if (!recording() || !m_changed) return;
  const std::string header =
      "# " + m_name +
      ": what the oracle answered to the tests' questions.\n"
      "# Recorded by tools/record_oracle_answers.cmake; regenerate with it, do not edit.\n"
      "# Format: tests/oracle/README.md.\n";
  const std::string name = fileName(recordFolder(), m_name);
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  file << m_table->write(header);
  if (!file) std::fprintf(stderr, "cannot write %s\n", name.c_str());
}

}  // namespace kelulib_test

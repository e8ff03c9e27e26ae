// Every converter's operations on fuzzer-made text, with the converter, the
// room, the policy and the source limit chosen by the fuzzer. Sources and
// destinations are heap buffers of exactly the size a call may touch.
//
// Invariants:
// - toUTF16 writes at most its room and then one zero unit; ILLCHAR_ESCAPE
//   and any policy value but 0 and 2 decode as ILLCHAR_REPLACE; under
//   ILLCHAR_STOP the output is a prefix of the ILLCHAR_REPLACE output.
// - getNumUnits reads at most the bytes it is given; toUTF16 into a buffer
//   sized from it never overruns, and converts the whole text for the
//   converters whose count is exact.
// - fromUTF16 writes at most its room and then a zero of the null size;
//   the one exception is the UTF-8 converter's escape of an unpaired high
//   surrogate, which may put each escape one byte past the room.
// - getNumBytes reads at most the units it is given and equals what
//   fromUTF16 writes under ILLCHAR_REPLACE into exactly that room.
// - Every character a table-driven converter decodes encodes back to bytes
//   that decode to it again.
// - At every vector level this processor has, toUTF16 and fromUTF16 give
//   the same output and illegal flag as the plain code (the fast paths
//   off), whatever the room, source limit and policy.
// - UTF-32's toUTF8 stays within five bytes past its room (no terminator
//   then); fromUTF8 within its room; UTF-8 -> UTF-32 -> UTF-8 -> UTF-32 is
//   stable. The other converters do not offer the direct operations.
#include <string>
#include <utility>

#include "charset/simd/simd_level.h"
#include "fuzz/fuzz_input.h"

namespace {

using kelulib_fuzz::ExactBuffer;
using kelulib_fuzz::FuzzInput;
using kelulib_fuzz::terminatedText;
using kelulib_fuzz::unitsOf;
using kelulib_fuzz::upToZero;
using kelulib::KelSimdLevel;

constexpr size_t kAllUnits = static_cast<size_t>(-1);

bool isHigh(wchar16 unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

struct Decoded {
  std::u16string units;
  bool illegal = false;
};

// toUTF16 of the terminated source into exactly room + 1 units.
template <typename Unit>
Decoded decode(KelCharSetConverter* converter, const ExactBuffer<Unit>& source, size_t room,
               ILLCHAR_OPTYPE op, int srcLimit) {
  ExactBuffer<wchar16> dst(room + 1);
  Decoded decoded;
  decoded.illegal = true;  // must be cleared on entry
  const size_t written =
      converter->toUTF16(dst.data(), source.data(), room, op, &decoded.illegal, srcLimit);
  KELULIB_FUZZ_CHECK(written <= room, "toUTF16 wrote more units than its room");
  KELULIB_FUZZ_CHECK(dst[written] == 0, "toUTF16 did not end its output with a zero unit");
  decoded.units.assign(dst.data(), written);
  return decoded;
}

// fromUTF16 of `text` (terminated) into exactly room + overrun + the null
// size bytes; `overrun` is what the converter may write past its room. The
// text starts `offset` units into its heap block (which ends with its
// terminator), so that block reads meet it at every alignment.
std::string encode(KelCharSetConverter* converter, const std::u16string& text, size_t room,
                   ILLCHAR_OPTYPE op, size_t overrun, bool* illegal = nullptr,
                   size_t offset = 0) {
  const size_t nullSize = converter->getNullCharSize();
  ExactBuffer<wchar16> source(offset + text.size() + 1, 0);
  if (!text.empty()) std::memcpy(source.data() + offset, text.data(), text.size() * 2);
  ExactBuffer<char> dst(room + overrun + nullSize);
  const size_t written =
      converter->fromUTF16(dst.data(), source.data() + offset, room, op, illegal);
  KELULIB_FUZZ_CHECK(written <= room + overrun, "fromUTF16 wrote more bytes than its room");
  for (size_t i = 0; i < nullSize; ++i) {
    KELULIB_FUZZ_CHECK(dst[written + i] == 0, "fromUTF16 did not end its output with a zero");
  }
  return std::string(dst.data(), written);
}

// The units of `text` before its first zero unit; for the UTF-8
// converter's escape, without the unpaired high surrogates at its end,
// which that escape must not be given.
std::u16string encodableUnits(const std::u16string& text, KelCharSet id, ILLCHAR_OPTYPE op) {
  std::u16string units = upToZero(text);
  if (id == KelCS_UTF8 && op == ILLCHAR_ESCAPE) {
    while (!units.empty() && isHigh(units.back())) units.pop_back();
  }
  return units;
}

// How far past its room fromUTF16 may write: one byte for each escape of
// the UTF-8 converter, which escapes only unpaired high surrogates.
size_t encodeOverrun(KelCharSetConverter* converter, const std::u16string& units,
                     ILLCHAR_OPTYPE op) {
  if (converter != KelCharSetConverter::getConverter(KelCS_UTF8) || op != ILLCHAR_ESCAPE) {
    return 0;
  }
  size_t highs = 0;
  for (wchar16 unit : units) highs += isHigh(unit) ? 1 : 0;
  return highs;
}

// Calls `call` (which returns what a conversion gave) with the fast paths
// off and at each vector level the processor has, and checks that every
// level gives what the plain code gives.
template <typename Call>
void checkEveryLevelLikePlainCode(const Call& call, const char* message) {
  const KelSimdLevel before = kelulib::setActiveSimdLevel(KelSimdLevel::kScalar);
  const auto plain = call();
  for (int level = static_cast<int>(KelSimdLevel::kSse2);
       level <= static_cast<int>(kelulib::supportedSimdLevel()); ++level) {
    kelulib::setActiveSimdLevel(static_cast<KelSimdLevel>(level));
    KELULIB_FUZZ_CHECK(call() == plain, message);
  }
  kelulib::setActiveSimdLevel(before);
}

bool isPrefix(const std::u16string& prefix, const std::u16string& text) {
  return text.compare(0, prefix.size(), prefix) == 0 && prefix.size() <= text.size();
}

// The converters whose getNumUnits counts exactly the units toUTF16 writes
// for a whole terminated text.
bool countIsExact(KelCharSet id) {
  const int32_t n = id;
  return n != KelCS_UTF8 && n != KelCS_UTF16 && n != KelCS_UTF32 && n != KelCS_EUC_JP &&
         n != KelCS_GB18030 && n != KelCS_OS_DEFAULT && n != KelCS_UTF16BE && n != 437;
}

// Decoding under every policy, at the fuzzer's room and source limit.
template <typename Unit>
void checkDecoding(KelCharSetConverter* converter, const std::basic_string<Unit>& text,
                   FuzzInput& in) {
  const ExactBuffer<Unit> source = terminatedText(text);
  const size_t room = in.room(text.size() * 2);
  const int srcLimit = in.srcLimit(text.size() * sizeof(Unit));
  const Decoded replaced = decode(converter, source, room, ILLCHAR_REPLACE, srcLimit);
  const Decoded escaped = decode(converter, source, room, ILLCHAR_ESCAPE, srcLimit);
  const Decoded other = decode(converter, source, room, static_cast<ILLCHAR_OPTYPE>(3), srcLimit);
  const Decoded stopped = decode(converter, source, room, ILLCHAR_STOP, srcLimit);
  KELULIB_FUZZ_CHECK(escaped.units == replaced.units, "toUTF16 escapes unlike it replaces");
  KELULIB_FUZZ_CHECK(other.units == replaced.units, "toUTF16 policy 3 is not ILLCHAR_REPLACE");
  KELULIB_FUZZ_CHECK(escaped.illegal == replaced.illegal, "illegal flag differs by policy");
  KELULIB_FUZZ_CHECK(isPrefix(stopped.units, replaced.units),
                     "ILLCHAR_STOP output is no prefix of the ILLCHAR_REPLACE output");
  if (!replaced.illegal) {
    KELULIB_FUZZ_CHECK(stopped.units == replaced.units, "ILLCHAR_STOP stopped on legal input");
  }
  for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE}) {
    checkEveryLevelLikePlainCode(
        [&] {
          const Decoded decoded = decode(converter, source, room, op, srcLimit);
          return std::make_pair(decoded.units, decoded.illegal);
        },
        "toUTF16 at a vector level differs from the plain code");
  }
}

// Counting, then converting into what the count asked for.
template <typename Unit>
void checkCounting(KelCharSetConverter* converter, KelCharSet id,
                   const std::basic_string<Unit>& text, FuzzInput& in) {
  const ExactBuffer<Unit> source = terminatedText(text);
  const size_t units = converter->getNumUnits(source.data(), kAllUnits);
  const ILLCHAR_OPTYPE op = in.policy();
  const Decoded decoded = decode(converter, source, units, op, -1);
  if (countIsExact(id) && op != ILLCHAR_STOP) {
    KELULIB_FUZZ_CHECK(decoded.units.size() == units,
                       "toUTF16 wrote other than getNumUnits counted");
  }
  // A count over part of the text reads only that part: the bytes are given
  // without a terminator.
  const size_t bytes = in.below(text.size() * sizeof(Unit) + 1);
  ExactBuffer<char> part(bytes);
  std::memcpy(part.data(), text.data(), bytes);
  const size_t partUnits = converter->getNumUnits(part.data(), bytes);
  KELULIB_FUZZ_CHECK(partUnits <= bytes * 2, "getNumUnits counted more units than bytes allow");
  KELULIB_FUZZ_CHECK(converter->getNumUnits(part.data(), 0) == 0, "getNumUnits of 0 bytes");
}

// Encoding under every policy, at the fuzzer's room.
void checkEncoding(KelCharSetConverter* converter, KelCharSet id, const std::u16string& text,
                   FuzzInput& in) {
  const size_t room = in.room(text.size() * 6);
  const size_t offset = in.byte() % 16;
  std::string byPolicy[4];
  for (int op = 0; op < 4; ++op) {
    const auto policy = static_cast<ILLCHAR_OPTYPE>(op);
    const std::u16string units = encodableUnits(text, id, policy);
    bool illegal = true;
    byPolicy[op] = encode(converter, units, room, policy, encodeOverrun(converter, units, policy),
                          &illegal, offset);
    if (op == 3) continue;
    checkEveryLevelLikePlainCode(
        [&] {
          bool flag = true;
          std::string bytes = encode(converter, units, room, policy,
                                     encodeOverrun(converter, units, policy), &flag, offset);
          return std::make_pair(bytes, flag);
        },
        "fromUTF16 at a vector level differs from the plain code");
  }
  KELULIB_FUZZ_CHECK(byPolicy[3] == byPolicy[ILLCHAR_REPLACE],
                     "fromUTF16 policy 3 is not ILLCHAR_REPLACE");
  const std::string& stopped = byPolicy[ILLCHAR_STOP];
  KELULIB_FUZZ_CHECK(byPolicy[ILLCHAR_REPLACE].compare(0, stopped.size(), stopped) == 0,
                     "ILLCHAR_STOP output is no prefix of the ILLCHAR_REPLACE output");
}

// getNumBytes against fromUTF16 under ILLCHAR_REPLACE.
void checkByteCount(KelCharSetConverter* converter, const std::u16string& text, FuzzInput& in) {
  const std::u16string units = upToZero(text);
  const size_t bytes = converter->getNumBytes(terminatedText(units).data(), kAllUnits);
  const std::string encoded = encode(converter, units, bytes, ILLCHAR_REPLACE, 0);
  KELULIB_FUZZ_CHECK(encoded.size() == bytes,
                     "fromUTF16 under ILLCHAR_REPLACE wrote other than getNumBytes counted");
  // A count over part of the text reads only that part: the units are
  // given without a terminator.
  const size_t count = in.below(text.size() + 1);
  ExactBuffer<wchar16> part(count);
  if (count > 0) std::memcpy(part.data(), text.data(), count * sizeof(wchar16));
  const size_t partBytes = converter->getNumBytes(part.data(), count);
  KELULIB_FUZZ_CHECK(partBytes <= count * 6, "getNumBytes counted more than 6 bytes a unit");
  KELULIB_FUZZ_CHECK(converter->getNumBytes(part.data(), 0) == 0, "getNumBytes of 0 units");
}

// What a table-driven converter decodes, it encodes to bytes that decode to
// the same text.
void checkRoundTrip(KelCharSetConverter* converter, const std::string& bytes) {
  const ExactBuffer<char> source = terminatedText(bytes);
  std::u16string decoded = decode(converter, source, bytes.size(), ILLCHAR_REPLACE, -1).units;
  std::u16string mapped;
  for (wchar16 unit : decoded) {
    if (unit != 0xFFFD) mapped += unit;
  }
  const size_t room = converter->getNumBytes(terminatedText(mapped).data(), kAllUnits);
  bool illegal = true;
  const std::string encoded = encode(converter, mapped, room, ILLCHAR_STOP, 0, &illegal);
  KELULIB_FUZZ_CHECK(encoded.size() == room, "a decoded character did not encode back");
  const Decoded again =
      decode(converter, terminatedText(encoded), encoded.size(), ILLCHAR_STOP, -1);
  KELULIB_FUZZ_CHECK(!again.illegal, "re-encoded text does not decode");
  KELULIB_FUZZ_CHECK(again.units == mapped, "a decoded character did not come back");
}

// UTF-32's direct UTF-8 operations; every other converter returns 0 from
// them and writes nothing.
void checkDirectUtf8(KelCharSetConverter* converter, const std::string& payload, FuzzInput& in) {
  const bool offered = converter == KelCharSetConverter::getConverter(KelCS_UTF32);
  const std::string utf8 = upToZero(payload);
  const ExactBuffer<unsigned char> utf8Source =
      terminatedText(std::basic_string<unsigned char>(utf8.begin(), utf8.end()));
  const std::u32string values = upToZero(unitsOf<char32_t>(payload));
  const ExactBuffer<char32_t> valueSource = terminatedText(values);
  bool illegal = false;
  if (!offered) {
    ExactBuffer<unsigned char> dst(8);
    KELULIB_FUZZ_CHECK(converter->toUTF8(dst.data(), valueSource.data(), 4, ILLCHAR_REPLACE,
                                         &illegal) == 0 &&
                           converter->fromUTF8(dst.data(), utf8Source.data(), 1, ILLCHAR_REPLACE,
                                               &illegal) == 0,
                       "a converter other than UTF-32 offers the direct UTF-8 operations");
    for (size_t i = 0; i < 8; ++i) KELULIB_FUZZ_CHECK(dst[i] == 0xA5, "wrote without offering");
    return;
  }
  // UTF-32 to UTF-8: room checked between characters only, so the last one
  // may run up to five bytes past it, and then there is no terminator.
  const size_t room = in.room(values.size() * 6);
  ExactBuffer<unsigned char> bytes(room + 5);
  const size_t written =
      converter->toUTF8(bytes.data(), valueSource.data(), room, in.policy(), &illegal);
  KELULIB_FUZZ_CHECK(written <= room + 5, "toUTF8 ran more than five bytes past its room");
  if (written <= room) KELULIB_FUZZ_CHECK(bytes[written] == 0, "toUTF8 without terminator");

  // UTF-8 to UTF-32 within the room.
  const size_t valueRoom = in.room(utf8.size());
  ExactBuffer<char32_t> out(valueRoom + 1);
  const size_t count =
      converter->fromUTF8(out.data(), utf8Source.data(), valueRoom, in.policy(), &illegal);
  KELULIB_FUZZ_CHECK(count <= valueRoom, "fromUTF8 wrote more values than its room");
  KELULIB_FUZZ_CHECK(out[count] == 0, "fromUTF8 did not end its output with a zero value");

  // What the decoder makes of any bytes encodes and decodes back to itself.
  const std::u32string first(out.data(), count);
  const size_t encodedRoom = first.size() * 6;
  ExactBuffer<unsigned char> encoded(encodedRoom + 5);
  const size_t encodedSize = converter->toUTF8(encoded.data(), terminatedText(first).data(),
                                               encodedRoom, ILLCHAR_REPLACE, &illegal);
  KELULIB_FUZZ_CHECK(encodedSize <= encodedRoom && !illegal, "decoded values do not encode");
  ExactBuffer<char32_t> again(first.size() + 1);
  const size_t againCount = converter->fromUTF8(again.data(), encoded.data(), first.size(),
                                                ILLCHAR_REPLACE, &illegal);
  KELULIB_FUZZ_CHECK(std::u32string(again.data(), againCount) == first,
                     "UTF-8 -> UTF-32 -> UTF-8 -> UTF-32 is not stable");
}

// The UTF-16 text the encoding checks work on: the payload's bytes as
// units, or the payload read as UTF-8 (so that real text in the corpus
// gives real characters).
std::u16string unitsToEncode(const std::string& payload, bool asUtf8) {
  if (!asUtf8) return unitsOf<wchar16>(payload);
  const ExactBuffer<char> source = terminatedText(payload);
  return decode(KelCharSetConverter::getConverter(KelCS_UTF8), source, payload.size(),
                ILLCHAR_REPLACE, -1)
      .units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The converter, the operation and the form of the text come first, then
  // the choices of the checks (room, policy, limit, ...), then the text.
  FuzzInput in(data, size);
  const KelCharSet id = in.pick(kelulib_fuzz::kCharSets);
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  const unsigned operation = in.byte() % 6;
  const bool asUtf8 = in.flag();
  FuzzInput choices = in.split(8);
  const std::string payload = in.rest();

  const size_t unitSize = converter->getNullCharSize();
  switch (operation) {
    case 0:
      if (unitSize == 1) checkDecoding(converter, payload, choices);
      if (unitSize == 2) checkDecoding(converter, unitsOf<char16_t>(payload), choices);
      if (unitSize == 4) checkDecoding(converter, unitsOf<char32_t>(payload), choices);
      break;
    case 1:
      if (unitSize == 1) checkCounting(converter, id, payload, choices);
      if (unitSize == 2) checkCounting(converter, id, unitsOf<char16_t>(payload), choices);
      if (unitSize == 4) checkCounting(converter, id, unitsOf<char32_t>(payload), choices);
      break;
    case 2:
      checkEncoding(converter, id, unitsToEncode(payload, asUtf8), choices);
      break;
    case 3:
      checkByteCount(converter, unitsToEncode(payload, asUtf8), choices);
      break;
    case 4:
      if (kelulib_fuzz::isTableDriven(id)) checkRoundTrip(converter, upToZero(payload));
      break;
    default:
      checkDirectUtf8(converter, payload, choices);
      break;
  }
  return 0;
}

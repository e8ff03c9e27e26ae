#include "tests/support/iconv_oracle.h"

#include <cstring>
#include <memory>

#if defined(KELULIB_LIVE_ICONV)
#include <iconv.h>
#endif

namespace kelulib_test {

namespace {

// The channel's name is a file name: the slashes of a suffix such as
// "//TRANSLIT" become '+'.
std::string channelName(const char* fromCode, const char* toCode) {
  std::string name = std::string("iconv_") + fromCode + "_to_" + toCode;
  for (char& c : name) {
    if (c == '/') c = '+';
  }
  return name;
}

#if defined(KELULIB_LIVE_ICONV)

// The real iconv, used while recording.
class LiveIconv {
 public:
  LiveIconv(const char* fromCode, const char* toCode)
      : m_descriptor(iconv_open(toCode, fromCode)) {}
  ~LiveIconv() {
    if (isOpen()) iconv_close(m_descriptor);
  }
  LiveIconv(const LiveIconv&) = delete;
  LiveIconv& operator=(const LiveIconv&) = delete;

  bool isOpen() const { return m_descriptor != reinterpret_cast<iconv_t>(-1); }

  std::optional<std::string> convert(const std::string& input) {
    iconv(m_descriptor, nullptr, nullptr, nullptr, nullptr);  // back to the start state
    std::string output(input.size() * 8 + 16, '\0');
    char* in = const_cast<char*>(input.data());
    size_t inLeft = input.size();
    char* out = output.data();
    size_t outLeft = output.size();
    const size_t result = iconv(m_descriptor, &in, &inLeft, &out, &outLeft);
    const bool ok = result != static_cast<size_t>(-1) && inLeft == 0 &&
                    iconv(m_descriptor, nullptr, nullptr, &out, &outLeft) != static_cast<size_t>(-1);
    if (!ok) return std::nullopt;
    output.resize(output.size() - outLeft);
    return output;
  }

 private:
  iconv_t m_descriptor;
};

#endif

}  // namespace

IconvConverter::IconvConverter(const char* fromCode, const char* toCode)
    : m_channel(OracleChannel::named(channelName(fromCode, toCode))) {
#if defined(KELULIB_LIVE_ICONV)
  if (OracleChannel::recording() && !m_channel.available()) {
    auto live = std::make_shared<LiveIconv>(fromCode, toCode);
    if (live->isOpen()) {
      m_channel.setLive([live](const std::string& input) { return live->convert(input); });
    }
  }
#endif
}

bool IconvConverter::isOpen() const { return m_channel.available(); }

std::optional<std::string> IconvConverter::convert(const std::string& input) {
  if (!isOpen()) return std::nullopt;
  OracleAnswer answer = m_channel.ask(input, OracleNeed::kBytes);
  if (answer.kind != OracleAnswer::Kind::kBytes) return std::nullopt;
  return std::move(answer.bytes);
}

bool IconvConverter::accepts(const std::string& input) {
  return isOpen() && m_channel.ask(input, OracleNeed::kAcceptance).accepted();
}

bool IconvConverter::writes(const std::string& input, const std::string& candidate) {
  return answer(input, OracleNeed::kDigest).wrote(candidate);
}

OracleAnswer IconvConverter::answer(const std::string& input, OracleNeed need) {
  if (!isOpen()) return OracleAnswer::rejected();
  return m_channel.ask(input, need);
}

std::optional<std::string> iconvConvert(const std::string& input, const char* fromCode,
                                        const char* toCode) {
  return IconvConverter(fromCode, toCode).convert(input);
}

OracleAnswer iconvAnswer(const std::string& input, const char* fromCode, const char* toCode) {
  return IconvConverter(fromCode, toCode).answer(input, OracleNeed::kDigest);
}

std::string unitsToBytes(const std::u16string& units) {
  std::string bytes(units.size() * sizeof(char16_t), '\0');
  std::memcpy(bytes.data(), units.data(), bytes.size());
  return bytes;
}

std::u16string bytesToUnits(const std::string& bytes) {
  std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
  std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
  return units;
}

}  // namespace kelulib_test

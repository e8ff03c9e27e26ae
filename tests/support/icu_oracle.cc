#include "tests/support/icu_oracle.h"

#include <cstring>
#include <memory>
#include <vector>

#if defined(KELULIB_LIVE_ICU)
#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#endif

namespace kelulib_test {

namespace {

// Texts travel through the recordings as UTF-32LE bytes.
std::string utf32Bytes(const std::u32string& text) {
  std::string bytes;
  for (char32_t c : text) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(c >> shift);
  }
  return bytes;
}

std::u32string utf32Text(const std::string& bytes) {
  std::u32string text;
  for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
    char32_t c = 0;
    for (size_t k = 4; k > 0; --k) c = c << 8 | static_cast<unsigned char>(bytes[i + k - 1]);
    text += c;
  }
  return text;
}

#if defined(KELULIB_LIVE_ICU)

// The real ICU converter, used while recording.
class LiveIcu {
 public:
  explicit LiveIcu(const char* name) : m_converter(nullptr) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    if (U_FAILURE(status)) return;
    const char* opened = ucnv_getName(converter, &status);
    if (U_FAILURE(status) || std::strcmp(opened, name) != 0) {
      ucnv_close(converter);
      return;
    }
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &status);
    ucnv_setFallback(converter, false);
    if (U_FAILURE(status)) {
      ucnv_close(converter);
      return;
    }
    m_converter = converter;
  }
  ~LiveIcu() {
    if (m_converter != nullptr) ucnv_close(m_converter);
  }
  LiveIcu(const LiveIcu&) = delete;
  LiveIcu& operator=(const LiveIcu&) = delete;

  bool isOpen() const { return m_converter != nullptr; }

  // UTF-32LE bytes of the code points `bytes` decode to.
  std::optional<std::string> decode(const std::string& bytes) {
    ucnv_reset(m_converter);
    std::vector<UChar> units(bytes.size() * 2 + 4);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t count =
        ucnv_toUChars(m_converter, units.data(), static_cast<int32_t>(units.size()), bytes.data(),
                      static_cast<int32_t>(bytes.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    std::u32string text;
    for (int32_t i = 0; i < count;) {
      UChar32 c;
      U16_NEXT(units.data(), i, count, c);
      text += static_cast<char32_t>(c);
    }
    return utf32Bytes(text);
  }

  // The bytes of the text given as UTF-32LE bytes.
  std::optional<std::string> encode(const std::string& utf32) {
    ucnv_reset(m_converter);
    std::vector<UChar> units;
    for (char32_t c : utf32Text(utf32)) {
      if (c >= 0x10000) {
        units.push_back(U16_LEAD(c));
        units.push_back(U16_TRAIL(c));
      } else {
        units.push_back(static_cast<UChar>(c));
      }
    }
    std::string bytes(units.size() * 4 + 8, '\0');
    UErrorCode status = U_ZERO_ERROR;
    const int32_t count =
        ucnv_fromUChars(m_converter, bytes.data(), static_cast<int32_t>(bytes.size()),
                        units.data(), static_cast<int32_t>(units.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    bytes.resize(static_cast<size_t>(count));
    return bytes;
  }

 private:
  UConverter* m_converter;
};

#endif

}  // namespace

IcuConverter::IcuConverter(const char* name)
    : m_decoder(OracleChannel::named(std::string("icu_") + name + "_decode")),
      m_encoder(OracleChannel::named(std::string("icu_") + name + "_encode")) {
#if defined(KELULIB_LIVE_ICU)
  if (OracleChannel::recording() && !m_decoder.available()) {
    auto live = std::make_shared<LiveIcu>(name);
    if (live->isOpen()) {
      m_decoder.setLive([live](const std::string& bytes) { return live->decode(bytes); });
      m_encoder.setLive([live](const std::string& utf32) { return live->encode(utf32); });
    }
  }
#endif
}

bool IcuConverter::isOpen() const { return m_decoder.available() && m_encoder.available(); }

std::optional<std::u32string> IcuConverter::decode(const std::string& bytes) {
  if (!isOpen()) return std::nullopt;
  const OracleAnswer answer = m_decoder.ask(bytes, OracleNeed::kBytes);
  if (answer.kind != OracleAnswer::Kind::kBytes) return std::nullopt;
  return utf32Text(answer.bytes);
}

std::optional<std::string> IcuConverter::encode(const std::u32string& text) {
  if (!isOpen()) return std::nullopt;
  OracleAnswer answer = m_encoder.ask(utf32Bytes(text), OracleNeed::kBytes);
  if (answer.kind != OracleAnswer::Kind::kBytes) return std::nullopt;
  return std::move(answer.bytes);
}

}  // namespace kelulib_test

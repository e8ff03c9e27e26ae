#include "tests/support/icu_oracle.h"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <cstring>
#include <vector>

namespace kelulib_test {

IcuConverter::IcuConverter(const char* name) : m_converter(nullptr) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) return;
  const char* opened = ucnv_getName(converter, &status);
  if (U_FAILURE(status) || std::strcmp(opened, name) != 0) {
    ucnv_close(converter);
    return;
  }
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setFallback(converter, false);
  if (U_FAILURE(status)) {
    ucnv_close(converter);
    return;
  }
  m_converter = converter;
}

IcuConverter::~IcuConverter() {
  if (m_converter != nullptr) ucnv_close(m_converter);
}

bool IcuConverter::isOpen() const { return m_converter != nullptr; }

std::optional<std::u32string> IcuConverter::decode(const std::string& bytes) {
  if (m_converter == nullptr) return std::nullopt;
  ucnv_reset(m_converter);
  std::vector<UChar> units(bytes.size() * 2 + 4);
  UErrorCode status = U_ZERO_ERROR;
  const int32_t count = ucnv_toUChars(m_converter, units.data(), static_cast<int32_t>(units.size()),
                                      bytes.data(), static_cast<int32_t>(bytes.size()), &status);
  if (U_FAILURE(status)) return std::nullopt;
  std::u32string text;
  for (int32_t i = 0; i < count;) {
    UChar32 c;
    U16_NEXT(units.data(), i, count, c);
    text += static_cast<char32_t>(c);
  }
  return text;
}

std::optional<std::string> IcuConverter::encode(const std::u32string& text) {
  if (m_converter == nullptr) return std::nullopt;
  ucnv_reset(m_converter);
  std::vector<UChar> units;
  for (char32_t c : text) {
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
      ucnv_fromUChars(m_converter, bytes.data(), static_cast<int32_t>(bytes.size()), units.data(),
                      static_cast<int32_t>(units.size()), &status);
  if (U_FAILURE(status)) return std::nullopt;
  bytes.resize(static_cast<size_t>(count));
  return bytes;
}

}  // namespace kelulib_test

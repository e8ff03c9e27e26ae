#include "charset/converter.h"

KelCharSetConverter::KelCharSetConverter(KelCharSet charSet) : m_charSet(charSet) {}

KelCharSetConverter::KelCharSetConverter(const KelCharSetConverter& other) = default;

KelCharSetConverter& KelCharSetConverter::operator=(const KelCharSetConverter& other) = default;

KelCharSetConverter::~KelCharSetConverter() = default;

size_t KelCharSetConverter::fromUTF8(void*, unsigned char const*, size_t, ILLCHAR_OPTYPE, bool*) {
  return 0;
}

size_t KelCharSetConverter::toUTF8(unsigned char*, void const*, size_t, ILLCHAR_OPTYPE, bool*) {
  return 0;
}

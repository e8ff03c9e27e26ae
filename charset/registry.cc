#include "charset/registry.h"

#include <atomic>

#include "charset/charset_name_table.h"

KelCharSetRegistry::KelCharSetRegistry(int32_t osCodePage,
                                       std::initializer_list<Registration> converters,
                                       KelCharSetConverter* fallback)
    : m_osCodePage(osCodePage), m_fallback(fallback) {
  for (const Registration& registration : converters) {
    m_converters.emplace(registration.id, registration.converter);
  }
  for (size_t i = 0; i < kelulib::kCharSetNameCount; ++i) {
    const kelulib::CharSetName& row = kelulib::kCharSetNames[i];
    m_names.emplace(row.id, KelUString(row.name));
    m_ids.emplace(KelUString(row.name), row.id);
  }
}

const char* KelCharSetRegistry::nameText(KelCharSet id) const {
  const auto found = m_names.find(id);
  if (found == m_names.end()) return nullptr;
  // An empty name gives the string's shared empty text.
  return found->second.c_str(KelCS_ISO_8859_1);
}

void KelCharSetRegistry::renderNames() const {
  for (const auto& entry : m_names) nameText(entry.first);
}

KelCharSet KelCharSetRegistry::idNamed(const KelUString& name) const {
  const auto found = m_ids.find(name);
  return found != m_ids.end() ? found->second : KelCS_OS_DEFAULT;
}

KelCharSetConverter* KelCharSetRegistry::lookUp(KelCharSet id) const {
  if (id == KelCS_OS_DEFAULT) id = static_cast<KelCharSet>(m_osCodePage);
  const auto found = m_converters.find(id);
  return found != m_converters.end() ? found->second : m_fallback;
}

namespace {

// Look-up results shared by every thread. They are written without a lock:
// every writer stores the same pointer, and the converters they point at
// were built when the library was loaded, before any caller could run.
std::atomic<KelCharSetConverter*> g_osDefaultConverter{nullptr};
std::atomic<KelCharSetConverter*> g_utf8Converter{nullptr};

KelCharSetConverter* cachedOr(std::atomic<KelCharSetConverter*>& cache, KelCharSet id) {
  KelCharSetConverter* converter = cache.load(std::memory_order_relaxed);
  if (converter == nullptr) {
    converter = kelulib::charSetRegistry().lookUp(id);
    cache.store(converter, std::memory_order_relaxed);
  }
  return converter;
}

}  // namespace

KelCharSetConverter* KelCharSetConverter::getConverter(KelCharSet id) {
  if (id == KelCS_OS_DEFAULT) return cachedOr(g_osDefaultConverter, id);
  if (id == KelCS_UTF8) return cachedOr(g_utf8Converter, id);
  return kelulib::charSetRegistry().lookUp(id);
}

namespace kelulib {

KelCharSetConverter* cachedUtf8Converter() { return cachedOr(g_utf8Converter, KelCS_UTF8); }

KelCharSetConverter* cachedOsConverter() {
  return cachedOr(g_osDefaultConverter,
                  static_cast<KelCharSet>(charSetRegistry().osCodePage()));
}

}  // namespace kelulib

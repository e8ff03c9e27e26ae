// The converter registry: which converter serves which character set, and
// the operating system's code page that KelCS_OS_DEFAULT stands for.
#ifndef KELULIB_CHARSET_REGISTRY_H_
#define KELULIB_CHARSET_REGISTRY_H_

#include <cstdint>
#include <initializer_list>
#include <map>

#include "charset/converter.h"
#include "ustring/ustring.h"

class KelCharSetRegistry {
 public:
  struct Registration {
    KelCharSet id;
    KelCharSetConverter* converter;
  };

  // Stores the code page and registers `converters` in the order given (a
  // repeated id keeps its first converter). `fallback` serves every id
  // without a converter. Does not own the converters.
  KelCharSetRegistry(int32_t osCodePage, std::initializer_list<Registration> converters,
                     KelCharSetConverter* fallback);

  int32_t osCodePage() const { return m_osCodePage; }

  // The converter of `id`, with KelCS_OS_DEFAULT resolved to the operating
  // system's code page; the fallback when there is none. Touches no cache.
  KelCharSetConverter* lookUp(KelCharSet id) const;

  // The ISO 8859-1 text of the name of `id` (made on first request and kept
  // in the name's narrow cache); null when `id` has no name. Not safe to
  // call from two threads before renderNames has run.
  const char* nameText(KelCharSet id) const;
  // Makes the text of every name, so that nameText only reads afterwards.
  void renderNames() const;
  // The id named exactly `name`; KelCS_OS_DEFAULT when none is.
  KelCharSet idNamed(const KelUString& name) const;

 private:
  int32_t m_osCodePage;
  std::map<KelCharSet, KelCharSetConverter*> m_converters;
  // Filled from the name table; the narrow caches of the names are the
  // texts nameText hands out.
  mutable std::map<KelCharSet, KelUString> m_names;
  std::map<KelUString, KelCharSet> m_ids;
  KelCharSetConverter* m_fallback;
};

namespace kelulib {

// The library's registry, built when the library is loaded.
const KelCharSetRegistry& charSetRegistry();

// The UTF-8 converter as cached by getConverter, filling the cache from a
// direct look-up of KelCS_UTF8 when it is still empty.
KelCharSetConverter* cachedUtf8Converter();

// The operating system's converter as cached by getConverter, filling the
// cache from a direct look-up of the stored code page when it is empty.
KelCharSetConverter* cachedOsConverter();

}  // namespace kelulib

#endif  // KELULIB_CHARSET_REGISTRY_H_

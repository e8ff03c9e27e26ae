#include "charset/charset_names.h"

#include <mutex>

#include "charset/registry.h"
#include "ustring/ustring.h"

namespace {

// Every name's ISO 8859-1 text is made once, on the first request, so that
// threads asking for names at the same time only ever read them.
void makeNameTexts() {
  static std::once_flag made;
  std::call_once(made, [] { kelulib::charSetRegistry().renderNames(); });
}

}  // namespace

const char* KelCharSetToString(KelCharSet id) {
  makeNameTexts();
  const char* name = kelulib::charSetRegistry().nameText(id);
  return name != nullptr ? name : "KelCS_OS_DEFAULT";
}

KelCharSet KelCharSetFromString(const char* name) {
  if (name == nullptr || name[0] == 0) return KelCS_OS_DEFAULT;
  return kelulib::charSetRegistry().idNamed(KelUString(name, KelCS_ISO_8859_1));
}

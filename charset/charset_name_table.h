// The names of the character sets, in the order they are registered.
#ifndef KELULIB_CHARSET_CHARSET_NAME_TABLE_H_
#define KELULIB_CHARSET_CHARSET_NAME_TABLE_H_

#include <cstddef>

#include "charset/charset_id.h"

namespace kelulib {

struct CharSetName {
  KelCharSet id;
  const char16_t* name;
};

// Every id with its name; the first row for an id or a name wins.
extern const CharSetName kCharSetNames[];
extern const size_t kCharSetNameCount;

}  // namespace kelulib

#endif  // KELULIB_CHARSET_CHARSET_NAME_TABLE_H_

// KelUString on the standard narrow streams, whose bytes are text in the
// OS character set (KelCS_OS_DEFAULT).
//
// Input works on the stream buffer byte by byte, without a sentry and
// without testing the stream's state first, and differs from the standard
// extractors on purpose: a byte 0xFF ends the input like the end of the
// stream (and sets eofbit), at most width() - 1 bytes are taken when a width
// is set, and reading nothing (an empty line included) sets failbit. The
// target string is emptied (and its narrow cache dropped) before reading.
// An exception from the stream buffer sets badbit and is passed on only
// when the stream's exception mask asks for badbit.
#ifndef KELULIB_USTRING_USTRING_STREAM_H_
#define KELULIB_USTRING_USTRING_STREAM_H_

#include <iosfwd>

#include "../platform/export.h"
#include "ustring.h"

// Writes the text in the OS character set (what it cannot express
// replaced) through the standard inserter, so width, fill and adjustment
// apply; the text ends at a U+0000. The string's own cache is not touched.
KELULIB_API std::ostream& operator<<(std::ostream& os, const KelUString& s);

// Skips white space, then reads bytes up to the next white space (left in
// the stream), the end of input or a 0xFF byte, within the width.
KELULIB_API std::istream& operator>>(std::istream& is, KelUString& s);

// Reads bytes up to `delim` (consumed, not stored), the end of input or a
// 0xFF byte, within the width.
KELULIB_API std::istream& getline(std::istream& is, KelUString& s, char delim);

// getline(is, s, '\n').
KELULIB_API std::istream& getline(std::istream& is, KelUString& s);

#endif  // KELULIB_USTRING_USTRING_STREAM_H_

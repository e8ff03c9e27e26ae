// Helpers for the KelUString tests: the text as a std::u16string, a view of
// the storage record, and checks that a failed edit changed nothing.
#ifndef KELULIB_TESTS_USTRING_USTRING_TEST_SUPPORT_H_
#define KELULIB_TESTS_USTRING_USTRING_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "ustring/ustring.h"

namespace kelulib_test {

inline std::u16string textOf(const KelUString& s) { return std::u16string(s.c_wstr(), s.size()); }

// A KelUString whose storage record the tests may read.
class InspectableString : public KelUString {
 public:
  using KelUString::KelUString;
  using KelUString::operator=;
  InspectableString() = default;
  // The copy constructor of KelUString.
  explicit InspectableString(const KelUString& s) : KelUString(s) {}

  const KelStrData& record() const { return *m_pStrData; }
  bool onHeap() const { return m_pStrData->m_bHeap != 0; }
  bool usesLocalBuffer() const { return m_pStrData->m_pData == m_pStrData->m_aLocal; }
  const char* narrowCache() const { return m_pStrData->m_pNarrow; }
  KelCharSet narrowCharSet() const { return m_pStrData->m_eNarrowCharSet; }
  size_t narrowLength() const { return m_pStrData->m_nNarrowLength; }
  bool pointsAtOwnRecord() const { return m_pStrData == &m_localData; }

  KelStrData* setupSpace() { return SetupSpace(); }
  KelStrData* setupSpace(size_t n) { return SetupSpace(n); }
  KelStrData* assureSpace(size_t n) { return AssureSpace(n); }
  void raiseRangeError() const { range_error(); }
  void raiseLengthError() const { length_error(); }
};

// Everything an edit must leave alone when it throws.
struct StringSnapshot {
  explicit StringSnapshot(const InspectableString& s)
      : text(textOf(s)),
        capacity(s.allocSize()),
        buffer(s.c_wstr()),
        narrow(s.narrowCache()) {}
  std::u16string text;
  size_t capacity;
  const wchar16* buffer;
  const char* narrow;
};

inline void expectUnchanged(const InspectableString& s, const StringSnapshot& before) {
  EXPECT_EQ(textOf(s), before.text);
  EXPECT_EQ(s.allocSize(), before.capacity);
  EXPECT_EQ(s.c_wstr(), before.buffer);
  EXPECT_EQ(s.narrowCache(), before.narrow);
}

// Runs `edit`, expecting exception type `Error` with `message` and no change
// to `s`.
template <typename Error, typename Edit>
void expectFailureLeavesStringUnchanged(InspectableString& s, const char* message, Edit edit) {
  const StringSnapshot before(s);
  try {
    edit(s);
    ADD_FAILURE() << "expected an exception with \"" << message << "\"";
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), message);
  }
  expectUnchanged(s, before);
}

template <typename Edit>
void expectIndexError(InspectableString& s, Edit edit) {
  expectFailureLeavesStringUnchanged<std::out_of_range>(s, "invalid string index given", edit);
}

template <typename Edit>
void expectLengthError(InspectableString& s, Edit edit) {
  expectFailureLeavesStringUnchanged<std::length_error>(s, "exceed maximum string length", edit);
}

// `n` units counting up from 'a' (wrapping within the Latin letters), so that
// every position of a long text is recognisable.
inline std::u16string lettersOfLength(size_t n) {
  std::u16string text(n, u'a');
  for (size_t i = 0; i < n; ++i) text[i] = static_cast<char16_t>(u'a' + i % 26);
  return text;
}

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_USTRING_USTRING_TEST_SUPPORT_H_

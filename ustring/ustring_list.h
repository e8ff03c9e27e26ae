// KelUStringList: an ordered list of KelUString values, with index-checked
// access and changes, joining, and construction by splitting a string.
//
// Errors: a bad index throws std::out_of_range("invalid string list index
// given"), a list that would outgrow max_size() throws
// std::length_error("exceed maximum string list length"); both before the
// list changes. Members that change the list return it.
#ifndef KELULIB_USTRING_USTRING_LIST_H_
#define KELULIB_USTRING_USTRING_LIST_H_

#include <cstddef>
#include <vector>

#include "../charset/charset_id.h"
#include "../platform/export.h"
#include "ustring.h"

class KELULIB_API KelUStringList {
 public:
  using const_iterator = std::vector<KelUString>::const_iterator;
  using const_reverse_iterator = std::vector<KelUString>::const_reverse_iterator;

  // The empty list.
  KelUStringList();
  // The one element `s`.
  explicit KelUStringList(const KelUString& s);
  // The pieces of `s` between the units `sep`: a leading separator gives an
  // empty first piece and adjacent ones an empty piece between them, but a
  // trailing one gives no empty last piece; an empty `s` gives no pieces.
  // Unit 0 gives the one element `s`.
  KelUStringList(const KelUString& s, wchar16 sep);
  // The same at the string `sep`; an empty `sep` gives the one element `s`.
  KelUStringList(const KelUString& s, const KelUString& sep);
  KelUStringList(const KelUStringList& other);
  virtual ~KelUStringList();

  // Copies every element; self-assignment changes nothing.
  const KelUStringList& operator=(const KelUStringList& other);
  // The one element `s`.
  const KelUStringList& operator=(const KelUString& s);

  size_t size() const { return m_strings.size(); }
  bool empty() const { return m_strings.empty(); }
  size_t max_size() const { return m_strings.max_size(); }
  const KelUStringList& clear();

  // Element `i`; at() throws for i >= size(), operator[] does not check.
  const KelUString& at(size_t i) const;
  const KelUString& operator[](size_t i) const { return m_strings[i]; }
  const_iterator begin() const { return m_strings.begin(); }
  const_iterator end() const { return m_strings.end(); }
  const_reverse_iterator rbegin() const { return m_strings.rbegin(); }
  const_reverse_iterator rend() const { return m_strings.rend(); }

  // Appends `s`.
  const KelUStringList& operator+=(const KelUString& s);
  // Appends the elements of `other`; appending a list to itself does
  // nothing.
  const KelUStringList& operator+=(const KelUStringList& other);
  const KelUStringList& append(const KelUStringList& other);
  // Inserts `s` before element `i` (i == size() appends); i > size() throws.
  const KelUStringList& insert(size_t i, const KelUString& s);
  // Inserts the elements of `other` at i, i + 1, ...; an empty `other`
  // inserts nothing and checks nothing, and inserting a list into itself
  // does nothing.
  const KelUStringList& insert(size_t i, const KelUStringList& other);
  // Removes element `i`; i >= size() throws.
  const KelUStringList& erase(size_t i);

  // The elements joined, with the separator between each two of them.
  KelUString combine(const KelUString& sep) const;
  KelUString combine() const;
  // Unit 0 means no separator.
  KelUString combine(wchar16 c) const;
  // The separator is the text the byte `c` converts to in `cs`.
  KelUString combine(char c, KelCharSet cs = KelCS_OS_DEFAULT) const;

 protected:
  [[noreturn]] void range_error() const;
  [[noreturn]] void length_error() const;

 private:
  void appendRest(const KelUString& s, size_t start);

  std::vector<KelUString> m_strings;
};

#endif  // KELULIB_USTRING_USTRING_LIST_H_

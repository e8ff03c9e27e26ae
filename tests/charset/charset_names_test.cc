// Character-set names: id to name and back.
#include "charset/charset_names.h"

#include <gtest/gtest.h>

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include "tests/charset/charset_name_rows.h"
#include "tests/charset/charset_names_from_c.h"

namespace {

using kelulib_test::charSet;
using kelulib_test::kNames;
using kelulib_test::NameRow;

TEST(CharSetNames, ThereAreFiftyFourNames) { EXPECT_EQ(std::size(kNames), 54u); }

TEST(CharSetNames, EveryIdHasItsName) {
  for (const NameRow& row : kNames) {
    EXPECT_STREQ(KelCharSetToString(charSet(row.id)), row.name) << row.id;
  }
}

TEST(CharSetNames, EveryNameGivesItsId) {
  for (const NameRow& row : kNames) {
    EXPECT_EQ(KelCharSetFromString(row.name), row.id) << row.name;
  }
}

TEST(CharSetNames, NameOfIdGivesIdBack) {
  for (const NameRow& row : kNames) {
    EXPECT_EQ(KelCharSetFromString(KelCharSetToString(charSet(row.id))), row.id) << row.id;
  }
}

TEST(CharSetNames, OsDefaultHasItsOwnName) {
  EXPECT_STREQ(KelCharSetToString(KelCS_OS_DEFAULT), "KelCS_OS_DEFAULT");
}

TEST(CharSetNames, UnknownIdIsOsDefault) {
  EXPECT_STREQ(KelCharSetToString(charSet(437)), "KelCS_OS_DEFAULT");
  EXPECT_STREQ(KelCharSetToString(charSet(0)), "KelCS_OS_DEFAULT");
}

TEST(CharSetNames, IdWithoutConverterHasName) {
  EXPECT_STREQ(KelCharSetToString(KelCS_ISO_2022JP), "KelCS_ISO_2022JP");
  EXPECT_STREQ(KelCharSetToString(KelCS_UTF16ESC), "KelCS_UTF16ESC");
}

TEST(CharSetNames, SamePointerOnEveryCall) {
  const char* first = KelCharSetToString(KelCS_UTF8);
  EXPECT_EQ(KelCharSetToString(KelCS_UTF8), first);
  EXPECT_EQ(KelCharSetToString(KelCS_UTF8), first);
}

TEST(CharSetNames, NullOrEmptyNameIsOsDefault) {
  EXPECT_EQ(KelCharSetFromString(nullptr), KelCS_OS_DEFAULT);
  EXPECT_EQ(KelCharSetFromString(""), KelCS_OS_DEFAULT);
}

TEST(CharSetNames, MatchingIsExact) {
  EXPECT_EQ(KelCharSetFromString("KelCS_UTF8"), KelCS_UTF8);
  EXPECT_EQ(KelCharSetFromString("kelcs_utf8"), KelCS_OS_DEFAULT);
  EXPECT_EQ(KelCharSetFromString("KelCS_UTF8 "), KelCS_OS_DEFAULT);
  EXPECT_EQ(KelCharSetFromString("KelCS_UTF"), KelCS_OS_DEFAULT);
  EXPECT_EQ(KelCharSetFromString("UTF-8"), KelCS_OS_DEFAULT);
}

TEST(CharSetNames, NameIsReadAsLatin1) {
  // 0xC3 0xA9 is two Latin-1 characters, not "é"; no name has them.
  EXPECT_EQ(KelCharSetFromString("KelCS_UTF8\xc3\xa9"), KelCS_OS_DEFAULT);
}

// Regression: both functions were exported only under their C++ names, so
// C code could not call them and a look-up by name did not find them.
TEST(CharSetNamesHaveCLinkage, CallableFromC) {
  EXPECT_STREQ(kelulibTestNameFromC(KelCS_WCP1252), "KelCS_WCP1252");
  EXPECT_EQ(kelulibTestIdFromC("KelCS_SHIFTJIS"), KelCS_SHIFTJIS);
  EXPECT_EQ(kelulibTestIdFromC("KelCS_Nothing"), KelCS_OS_DEFAULT);
}

// The address the library exports under `name`, looked up at run time as a
// program that loads the library by hand would.
void* exportedSymbol(const char* name) {
#if defined(_WIN32)
  HMODULE library = nullptr;
  if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                              GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCSTR>(&KelCharSetToString), &library)) {
    return nullptr;
  }
  return reinterpret_cast<void*>(GetProcAddress(library, name));
#else
  return dlsym(RTLD_DEFAULT, name);
#endif
}

TEST(CharSetNamesHaveCLinkage, FoundByTheirUnmangledNames) {
  using ToString = const char* (*)(KelCharSet);
  using FromString = KelCharSet (*)(const char*);
  void* toString = exportedSymbol("KelCharSetToString");
  void* fromString = exportedSymbol("KelCharSetFromString");
  ASSERT_NE(toString, nullptr);
  ASSERT_NE(fromString, nullptr);
  EXPECT_STREQ(reinterpret_cast<ToString>(toString)(KelCS_UTF8), "KelCS_UTF8");
  EXPECT_EQ(reinterpret_cast<FromString>(fromString)("KelCS_EUC_JP"), KelCS_EUC_JP);
}

}  // namespace

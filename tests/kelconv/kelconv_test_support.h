// Shared by the tests of kelconv: the character sets, the golden files.
#ifndef KELULIB_TESTS_KELCONV_KELCONV_TEST_SUPPORT_H_
#define KELULIB_TESTS_KELCONV_KELCONV_TEST_SUPPORT_H_

#include <KelULib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/kelconv/charset_catalog.h"

namespace kelconv_test {

// Every character set the library converts, those whose converters are
// still to come included: tests over them skip a set without a converter.
const std::vector<KelCharSet>& convertedCharSets();

std::string readFile(const std::string& path);

// The golden file of `id`: "txt" (text in the set) or "utf8" (the same
// text in UTF-8), as a path and as its contents.
std::string goldenPath(KelCharSet id, const std::string& extension);
std::string goldenText(KelCharSet id, const std::string& extension);

// A path below the test data folder.
std::string dataPath(const std::string& relative);

// `text` as a program writes it to a stream in text mode: on Windows each
// "\n" becomes "\r\n" (messages, --help, --version, -l).
std::string textModeLines(const std::string& text);

// Writes `contents` into, and reads, the file named `utf8Name` (UTF-8, in
// any script on every system: on Windows through the UTF-16 file name).
void writeFileNamed(const std::string& utf8Name, const std::string& contents);
std::string readFileNamed(const std::string& utf8Name);
void removeFileNamed(const std::string& utf8Name);

// Test-name suffix: the set's name without "KelCS_".
std::string charSetTestName(const testing::TestParamInfo<KelCharSet>& info);

}  // namespace kelconv_test

// Skips the test when the library has no converter for `id` yet.
#define SKIP_WITHOUT_CONVERTER(id)                                                     \
  if (!kelconv::hasConverter(id))                                                      \
  GTEST_SKIP() << KelCharSetToString(id) << " has no converter in this library yet; " \
               << "the test runs once it has"

#endif  // KELULIB_TESTS_KELCONV_KELCONV_TEST_SUPPORT_H_

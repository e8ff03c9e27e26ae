// The lookup of embedded tables by name. This program embeds the files of
// tests/resources in place of the library's mapping tables, through the same
// build step, so the bytes found here must be the files' bytes. (On Windows
// the build step makes them UNICODEMAP resources of this program, as it
// makes the library's tables resources of KelULibDll.dll.)
#include "platform/embedded_resources.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/mapping_table_list.h"

namespace {

std::string fileBytes(const std::string& name) {
  std::ifstream file(std::string(KELULIB_TEST_TABLES_DIR) + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string embeddedBytes(const char* name) {
  kelulib::ResourceBytes bytes;
  if (!kelulib::findMappingTable(name, &bytes)) return "<missing>";
  return std::string(reinterpret_cast<const char*>(bytes.data), bytes.size);
}

TEST(EmbeddedResources, TextFileIsEmbeddedByteForByte) {
  EXPECT_EQ(embeddedBytes("THREE"), "ABC");
  EXPECT_EQ(embeddedBytes("THREE"), fileBytes("THREE"));
}

TEST(EmbeddedResources, BinaryFileIsEmbeddedByteForByte) {
  EXPECT_EQ(embeddedBytes("BINARY-4"), std::string("\x00\x01\xFE\xFF", 4));
  EXPECT_EQ(embeddedBytes("SYNTH-SBCS"), fileBytes("SYNTH-SBCS"));
  EXPECT_EQ(embeddedBytes("SYNTH-SBCS").size(), 48u);  // 11 records and the terminator
}

TEST(EmbeddedResources, EmptyFileIsFoundWithSizeZero) {
  kelulib::ResourceBytes bytes;
  ASSERT_TRUE(kelulib::findMappingTable("EMPTY", &bytes));
  EXPECT_EQ(bytes.size, 0u);
}

TEST(EmbeddedResources, DocumentationIsNotEmbedded) {
  kelulib::ResourceBytes bytes;
  EXPECT_FALSE(kelulib::findMappingTable("README.md", &bytes));
}

TEST(EmbeddedResources, NamesAreMatchedExactly) {
  kelulib::ResourceBytes bytes;
#if defined(_WIN32)
  // Windows compares resource names without regard to case.
  EXPECT_TRUE(kelulib::findMappingTable("three", &bytes));
  EXPECT_EQ(bytes.size, 3u);
  bytes = kelulib::ResourceBytes();
#else
  EXPECT_FALSE(kelulib::findMappingTable("three", &bytes));
#endif
  EXPECT_FALSE(kelulib::findMappingTable("THREE ", &bytes));
  EXPECT_FALSE(kelulib::findMappingTable("", &bytes));
  EXPECT_FALSE(kelulib::findMappingTable("NO-SUCH-TABLE", &bytes));
  EXPECT_EQ(bytes.data, nullptr);
}

TEST(EmbeddedResources, NullArgumentsFindNothing) {
  kelulib::ResourceBytes bytes;
  EXPECT_FALSE(kelulib::findEmbeddedResource(nullptr, "THREE", &bytes));
  EXPECT_FALSE(kelulib::findMappingTable(nullptr, &bytes));
  EXPECT_FALSE(kelulib::findMappingTable("THREE", nullptr));
}

// The lookup hands out the module's own bytes in place: on Windows the
// resource data that FindResourceA, LoadResource and LockResource give.
TEST(EmbeddedResources, TablesAreFoundInTheListTheBuildMade) {
  const kelulib::ResourceBytes viaList = kelulib_test::modulesOwnTable("THREE");
  kelulib::ResourceBytes viaLookup;
  ASSERT_NE(viaList.data, nullptr);
  ASSERT_TRUE(kelulib::findMappingTable("THREE", &viaLookup));
  EXPECT_EQ(viaList.data, viaLookup.data);
  EXPECT_EQ(viaList.size, viaLookup.size);
  EXPECT_EQ(kelulib_test::mappingTableNames().count("THREE"), 1u);
}

}  // namespace

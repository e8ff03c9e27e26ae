#include "platform/embedded_resources.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

// The files of tests/platform/embedded_sample, embedded by the same build
// step that embeds resources/.
extern const kelulib::EmbeddedResource kelTestEmbeddedResources[];

namespace {

std::string fileBytes(const std::string& name) {
  std::ifstream file(std::string(KELULIB_TEST_EMBEDDED_DIR) + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string embeddedBytes(const char* name) {
  kelulib::ResourceBytes bytes;
  if (!kelulib::findEmbeddedResource(kelTestEmbeddedResources, name, &bytes)) return "<missing>";
  return std::string(reinterpret_cast<const char*>(bytes.data), bytes.size);
}

TEST(EmbeddedResources, TextFileIsEmbeddedByteForByte) {
  EXPECT_EQ(embeddedBytes("THREE"), fileBytes("THREE"));
  EXPECT_EQ(embeddedBytes("THREE"), "ABC");
}

TEST(EmbeddedResources, BinaryFileIsEmbeddedByteForByte) {
  EXPECT_EQ(embeddedBytes("BINARY-4"), std::string("\x00\x01\xFE\xFF", 4));
  EXPECT_EQ(embeddedBytes("BINARY-4"), fileBytes("BINARY-4"));
}

TEST(EmbeddedResources, EmptyFileIsFoundWithSizeZero) {
  kelulib::ResourceBytes bytes;
  ASSERT_TRUE(kelulib::findEmbeddedResource(kelTestEmbeddedResources, "EMPTY", &bytes));
  EXPECT_EQ(bytes.size, 0u);
}

TEST(EmbeddedResources, NamesAreMatchedExactly) {
  kelulib::ResourceBytes bytes;
  EXPECT_FALSE(kelulib::findEmbeddedResource(kelTestEmbeddedResources, "three", &bytes));
  EXPECT_FALSE(kelulib::findEmbeddedResource(kelTestEmbeddedResources, "THREE ", &bytes));
  EXPECT_FALSE(kelulib::findEmbeddedResource(kelTestEmbeddedResources, "", &bytes));
  EXPECT_EQ(bytes.data, nullptr);
}

TEST(EmbeddedResources, NullArgumentsFindNothing) {
  kelulib::ResourceBytes bytes;
  EXPECT_FALSE(kelulib::findEmbeddedResource(nullptr, "THREE", &bytes));
  EXPECT_FALSE(kelulib::findEmbeddedResource(kelTestEmbeddedResources, nullptr, &bytes));
  EXPECT_FALSE(kelulib::findEmbeddedResource(kelTestEmbeddedResources, "THREE", nullptr));
}

TEST(EmbeddedResources, MappingTableLookupMissesUnknownName) {
  kelulib::ResourceBytes bytes;
  EXPECT_FALSE(kelulib::findMappingTable("NO-SUCH-TABLE", &bytes));
}

}  // namespace

// What KelULibDll.dll holds (Windows only).
//
// The mapping tables in its resource section: one UNICODEMAP resource per
// file of resources/, named after it, byte for byte (elsewhere the tables
// are compiled in). That the converters read them from there shows
// kelulib_resource_failure_tests, on a DLL of the same objects with some of
// them missing or cut.
//
// The constants that the public classes define in their declarations,
// exported as data, so that any program can link them from the DLL.
#include <KelULib.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace {

HMODULE libraryModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&KelCharSetToString), &module);
  return module;
}

std::set<std::string> committedTableNames() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(KELULIB_TABLES_DIR)) {
    const std::string name = entry.path().filename().string();
    if (entry.is_regular_file() && entry.path().extension() != ".md") names.insert(name);
  }
  return names;
}

TEST(DllResources, TheDllIsKelULibDll) {
  wchar_t path[MAX_PATH];
  ASSERT_GT(GetModuleFileNameW(libraryModule(), path, MAX_PATH), 0u);
  EXPECT_EQ(std::filesystem::path(path).filename().wstring(), L"KelULibDll.dll");
}

TEST(DllResources, HoldEveryMappingTableByName) {
  std::set<std::string> names;
  EnumResourceNamesA(
      libraryModule(), "UNICODEMAP",
      [](HMODULE, LPCSTR, LPSTR name, LONG_PTR found) -> BOOL {
        if (!IS_INTRESOURCE(name)) reinterpret_cast<std::set<std::string>*>(found)->insert(name);
        return TRUE;
      },
      reinterpret_cast<LONG_PTR>(&names));
  EXPECT_EQ(names.size(), 37u);
  EXPECT_EQ(names, committedTableNames());
}

TEST(DllResources, EachTableIsTheCommittedFileByteForByte) {
  const HMODULE module = libraryModule();
  for (const std::string& name : committedTableNames()) {
    std::ifstream file(std::string(KELULIB_TABLES_DIR) + "/" + name, std::ios::binary);
    const std::string committed((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
    HRSRC resource = FindResourceA(module, name.c_str(), "UNICODEMAP");
    ASSERT_NE(resource, nullptr) << name;
    const auto* data = static_cast<const char*>(LockResource(LoadResource(module, resource)));
    ASSERT_NE(data, nullptr) << name;
    EXPECT_EQ(std::string(data, SizeofResource(module, resource)), committed) << name;
  }
}

TEST(DllExports, ClassConstantsAreExportedData) {
  struct Constant {
    const char* symbol;
    size_t size;
    unsigned long long value;
  };
  const Constant constants[] = {
      {"_ZN8KelUChar9UTF16_MAXE", sizeof(unsigned int), KelUChar::UTF16_MAX},
      {"_ZN8KelUChar9UTF32_MAXE", sizeof(unsigned int), KelUChar::UTF32_MAX},
      {"_ZN10KelUString14kLocalCapacityE", sizeof(size_t), KelUString::kLocalCapacity},
      {"_ZN10KelUString4nposE", sizeof(size_t), KelUString::npos},
  };
  const HMODULE module = libraryModule();
  for (const Constant& constant : constants) {
    const auto* data = reinterpret_cast<const unsigned char*>(GetProcAddress(module, constant.symbol));
    ASSERT_NE(data, nullptr) << constant.symbol << " is not exported";
    unsigned long long value = 0;
    for (size_t i = constant.size; i > 0; --i) value = value << 8 | data[i - 1];
    EXPECT_EQ(value, constant.value) << constant.symbol;
  }
}

}  // namespace

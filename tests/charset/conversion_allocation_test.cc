// Conversions and the heap: once a converter has loaded its tables (its
// first conversion may allocate them), no conversion of any converter family
// allocates, nor do the flat functions on inputs whose UTF-16 intermediate
// lives on the stack (up to 32 KiB); and a KelUString made from narrow text
// allocates its own buffer at most: nothing up to the inline capacity,
// exactly one block of the text's size beyond. Runs in the program that
// replaces the global allocation functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "charset/converter.h"
#include "charset/stream_converter.h"
#include "flatapi/buffer_conversion.h"
#include "tests/support/counting_allocator.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::AllocationCounter;

// One character set of each converter family.
struct Family {
  const char* name;
  KelCharSet id;
};

const Family kFamilies[] = {
    {"UTF8", KelCS_UTF8},
    {"UTF16", KelCS_UTF16},
    {"UTF32", KelCS_UTF32},
    {"UTF16Esc", KelCS_UTF16ESC},
    {"SbcsCompiledIn", KelCS_WCP1252},
    {"SbcsMappingTable", KelCS_WCP1251},
    {"Dbcs", KelCS_WCP932},
    {"DbcsEx", KelCS_SJIS0213},
    {"EucKr", KelCS_EUC_KR},
    {"EucJp", KelCS_EUC_JP},
    {"Gb18030", KelCS_GB18030},
};

// Text sizes in UTF-16 units: within and beyond the string's inline
// capacity and the flat functions' stack scratch.
const size_t kSizes[] = {1, 257, 4096, 40000};

// `units` UTF-16 units of mixed text: ASCII, Latin, Cyrillic, Greek, kana,
// kanji, Hangul, symbols and a character beyond the BMP (a surrogate pair,
// never split at the end). Each set converts what it has and replaces the
// rest.
std::u16string mixedText(size_t units) {
  static const std::u16string kPattern =
      u"Text 12, na\u00efve \u00e9t\u00e9 \u20ac \u0416\u0438\u0437\u043d\u044c "
      u"\u03b1\u03b2 \u3072\u3089\u304c\u306a \u6f22\u5b57 \u4e2d\u6587 \ud55c\uad6d\uc5b4 "
      u"\u2192 \U0001F600 \u00ae.\n";
  std::u16string text;
  while (text.size() < units) {
    const char16_t unit = kPattern[text.size() % kPattern.size()];
    if (unit >= 0xD800 && unit < 0xDC00 && text.size() + 2 > units) {
      text += u'x';
    } else {
      text += unit;
    }
  }
  text.resize(units);
  if (!text.empty() && text.back() >= 0xD800 && text.back() < 0xDC00) text.back() = u'y';
  return text;
}

KelCharSetConverter* converterOf(KelCharSet id) { return KelCharSetConverter::getConverter(id); }

// `text` in the set of `id` (unrepresentable characters replaced), followed
// by a whole terminator.
std::string narrowOf(KelCharSet id, const std::u16string& text) {
  KelCharSetConverter* converter = converterOf(id);
  std::string bytes(text.size() * converter->getMaxUnitSize() + 8, '\0');
  const size_t n = converter->fromUTF16(&bytes[0], text.c_str(), text.size() * converter->getMaxUnitSize(),
                                        ILLCHAR_REPLACE, nullptr);
  bytes.resize(n + 8, '\0');
  return bytes;
}

class ConversionAllocation : public testing::TestWithParam<Family> {};

TEST_P(ConversionAllocation, ConversionsAfterTheFirstAllocateNothing) {
  KelCharSetConverter* converter = converterOf(GetParam().id);
  for (size_t units : kSizes) {
    const std::u16string text = mixedText(units);
    const std::string narrow = narrowOf(GetParam().id, text);
    std::vector<wchar16> wide(narrow.size() + 1);
    std::vector<char> bytes(text.size() * converter->getMaxUnitSize() + 8);
    const size_t byteRoom = bytes.size() - 4;
    auto convertEveryWay = [&] {
      bool illegal = false;
      for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE}) {
        converter->toUTF16(wide.data(), narrow.data(), narrow.size(), op, &illegal, -1);
        converter->toUTF16(wide.data(), narrow.data(), units / 2, op, &illegal,
                           static_cast<int>(narrow.size() / 2));
        converter->fromUTF16(bytes.data(), text.c_str(), byteRoom, op, &illegal);
        converter->fromUTF16(bytes.data(), text.c_str(), byteRoom / 3, op, &illegal);
      }
      converter->getNumUnits(narrow.data(), narrow.size());
      converter->getNumBytes(text.c_str(), text.size());
    };
    convertEveryWay();  // loads the tables
    AllocationCounter counter;
    convertEveryWay();
    EXPECT_EQ(counter.count(), 0u) << units << " units";
  }
}

TEST_P(ConversionAllocation, StringFromNarrowTextUpTo257UnitsAllocatesNothing) {
  const std::string narrow = narrowOf(GetParam().id, mixedText(200));
  const size_t units = converterOf(GetParam().id)->getNumUnits(narrow.data(), narrow.size());
  ASSERT_GT(units, 0u);
  ASSERT_LE(units, 257u);
  KelUString warmUp(narrow.c_str(), GetParam().id);
  AllocationCounter counter;
  {
    KelUString terminated(narrow.c_str(), GetParam().id);
    KelUString counted(narrow.c_str(), narrow.size(), GetParam().id);
  }
  EXPECT_EQ(counter.count(), 0u);
}

TEST_P(ConversionAllocation, StringFromLongNarrowTextAllocatesOneExactBlock) {
  const std::string narrow = narrowOf(GetParam().id, mixedText(10000));
  const size_t units = converterOf(GetParam().id)->getNumUnits(narrow.data(), narrow.size());
  ASSERT_GT(units, 257u);
  KelUString warmUp(narrow.c_str(), GetParam().id);
  for (int form = 0; form < 2; ++form) {
    AllocationCounter counter;
    const KelUString s = form == 0 ? KelUString(narrow.c_str(), GetParam().id)
                                   : KelUString(narrow.c_str(), narrow.size(), GetParam().id);
    EXPECT_EQ(counter.count(), 1u) << "form " << form;
    EXPECT_EQ(counter.lastSize(), 2 * (units + 1)) << "form " << form;
    EXPECT_GE(s.allocSize(), units);
  }
}

// A stream converter holds buffers of a fixed size, made when it is: a
// piece of any size is converted without allocating, under every policy
// (the last two go character by character where the target lacks one).
TEST_P(ConversionAllocation, StreamConvertsPiecesOfAnySizeWithoutAllocating) {
  const std::string narrow = narrowOf(GetParam().id, mixedText(40000));
  const std::string text = narrow.substr(0, narrow.size() - 8);  // without its terminator
  std::string large;
  while (large.size() < 512 * 1024) large += text;  // sixteen slices and more
  for (KelStreamPolicy policy : {KEL_STREAM_REPLACE, KEL_STREAM_ESCAPE, KEL_STREAM_SKIP}) {
    size_t written = 0;
    auto count = [](void* context, const void*, size_t size) {
      *static_cast<size_t*>(context) += size;
      return 0;
    };
    KelStreamConverter stream(GetParam().id, KelCS_ISO_8859_1, policy, count, &written);
    stream.convert(text.data(), 1000);  // loads the tables
    AllocationCounter counter;
    stream.convert(large.data(), large.size());
    stream.finish();
    EXPECT_EQ(counter.count(), 0u) << "policy " << policy;
    EXPECT_GT(written, large.size() / 8);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryFamily, ConversionAllocation, testing::ValuesIn(kFamilies),
                         [](const testing::TestParamInfo<Family>& info) {
                           return std::string(info.param.name);
                         });

// Inputs up to this many bytes keep the flat functions' UTF-16
// intermediate on the stack.
constexpr size_t kStackInputBytes = 32 * 1024;

TEST(FlatConversionAllocation, Utf8AndUtf16AllocateNothingAtAnySize) {
  for (size_t units : kSizes) {
    const std::u16string text = mixedText(units);
    const std::string utf8 = narrowOf(KelCS_UTF8, text);
    std::vector<wchar16> wide(utf8.size() + 1);
    std::vector<char> bytes(text.size() * 3 + 1);
    UTF8ToUTF16(wide.data(), utf8.c_str(), wide.size());
    UTF16ToUTF8(bytes.data(), text.c_str(), bytes.size());
    AllocationCounter counter;
    UTF8ToUTF16(wide.data(), utf8.c_str(), wide.size());
    UTF16ToUTF8(bytes.data(), text.c_str(), bytes.size());
    UTF8ToUTF16(wide.data(), utf8.c_str(), wide.size() / 2);
    UTF16ToUTF8(bytes.data(), text.c_str(), bytes.size() / 2);
    EXPECT_EQ(counter.count(), 0u) << units << " units";
  }
}

TEST(FlatConversionAllocation, LocalFormsAllocateNothingUpToTheStackScratch) {
  const KelCharSet sets[] = {KelCS_UTF8, KelCS_WCP1252, KelCS_WCP932, KelCS_GB18030,
                             KelCS_EUC_KR, KelCS_OS_DEFAULT};
  for (KelCharSet cs : sets) {
    for (size_t bytesWanted : {size_t{1}, size_t{300}, kStackInputBytes}) {
      // Local text and UTF-8 text of at most bytesWanted bytes.
      std::string local = narrowOf(cs, mixedText(bytesWanted));
      local.resize(std::min(std::strlen(local.c_str()), bytesWanted));
      std::string utf8 = narrowOf(KelCS_UTF8, mixedText(bytesWanted));
      utf8.resize(bytesWanted);
      while (!utf8.empty() && (static_cast<unsigned char>(utf8.back()) & 0xC0) == 0x80) utf8.pop_back();
      if (!utf8.empty() && static_cast<unsigned char>(utf8.back()) >= 0xC0) utf8.pop_back();
      std::u16string wide = mixedText(bytesWanted / 2 + 1);
      std::vector<char> out(4 * bytesWanted + 16);
      std::vector<wchar16> units(bytesWanted + 2);
      const int outSize = static_cast<int>(out.size());
      auto convertEveryWay = [&] {
        LocalToUTF8(out.data(), local.c_str(), outSize, cs);
        UTF8ToLocal(out.data(), utf8.c_str(), outSize, cs);
        LocalToUTF16(units.data(), local.c_str(), static_cast<int>(units.size()), cs);
        UTF16ToLocal(out.data(), wide.c_str(), outSize, cs);
        LocalPathToUTF8(out.data(), local.c_str(), outSize);
        UTF8ToLocalPath(out.data(), utf8.c_str(), outSize);
        GetNumUnits(local.c_str(), cs);
        GetNumBytes(wide.c_str(), cs);
      };
      convertEveryWay();  // loads the tables
      AllocationCounter counter;
      convertEveryWay();
      EXPECT_EQ(counter.count(), 0u) << "set " << cs << ", " << bytesWanted << " bytes";
    }
  }
}

TEST(StringConstructionAllocation, RepeatedAndPascalFormsUpTo257UnitsAllocateNothing) {
  unsigned char pascal[1 + 255 + 8] = {255};
  std::memset(pascal + 1, 'p', 255);
  const KelPascalString& p = *reinterpret_cast<const KelPascalString*>(pascal);
  // The first conversion in each set loads its tables; every set is warmed
  // up the way it is used below.
  KelUString warmUp(p, KelCS_WCP1251);
  KelUString warmUp2(&p, KelCS_GB18030);
  KelUString warmUp3('x', 257, KelCS_WCP932);
  KelUString warmUp4('x', KelCS_EUC_KR);
  AllocationCounter counter;
  {
    KelUString fromPascal(p, KelCS_WCP1251);
    KelUString fromPascalPointer(&p, KelCS_GB18030);
    KelUString repeated('x', 257, KelCS_WCP932);
    KelUString one('x', KelCS_EUC_KR);
  }
  EXPECT_EQ(counter.count(), 0u);
}

}  // namespace

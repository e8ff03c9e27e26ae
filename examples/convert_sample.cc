// Reads a text in Windows-1252 and shows it converted: to UTF-8, to the
// ASCII-safe UTF-16 escape form, and to ISO 8859-1 with the characters that
// set lacks escaped.
//
// Usage: kelulib_convert_sample FILE
#include <KelULib.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

// Local text in `charSet` to UTF-16 through the converter interface: count,
// size the buffer (one more unit for the terminator), convert.
std::u16string toUtf16(const std::string& text, KelCharSet charSet) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(charSet);
  const size_t units = converter->getNumUnits(text.c_str(), text.size());
  std::vector<wchar16> buffer(units + 1);
  const size_t written =
      converter->toUTF16(buffer.data(), text.c_str(), units, ILLCHAR_REPLACE, nullptr, -1);
  return std::u16string(buffer.data(), written);
}

// UTF-16 to `charSet` under `op`. The buffer allows every unit its largest
// form (six bytes "U+XXXX" when escaping) and the terminator.
std::string fromUtf16(const std::u16string& text, KelCharSet charSet, ILLCHAR_OPTYPE op) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(charSet);
  const size_t largestUnit = op == ILLCHAR_ESCAPE ? 6 : converter->getMaxUnitSize();
  const size_t room = text.size() * largestUnit;
  std::vector<char> buffer(room + converter->getNullCharSize());
  const size_t written = converter->fromUTF16(buffer.data(), text.c_str(), room, op, nullptr);
  return std::string(buffer.data(), written);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " FILE\n";
    return 2;
  }
  std::ifstream file(argv[1], std::ios::binary);
  if (!file) {
    std::cerr << argv[0] << ": cannot read " << argv[1] << "\n";
    return 2;
  }
  const std::string cp1252((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());

  const std::u16string text = toUtf16(cp1252, KelCS_WCP1252);
  std::cout << "Windows-1252, " << cp1252.size() << " bytes, " << text.size()
            << " UTF-16 units.\n\n";

  std::cout << "As UTF-8:\n" << fromUtf16(text, KelCS_UTF8, ILLCHAR_REPLACE) << "\n";
  std::cout << "As the UTF-16 escape form:\n"
            << fromUtf16(text, KelCS_UTF16ESC, ILLCHAR_REPLACE) << "\n";

  // The flat C functions work on zero-terminated buffers: ISO 8859-1 with
  // escapes, shown through UTF-8.
  const std::string latin1 = fromUtf16(text, KelCS_ISO_8859_1, ILLCHAR_ESCAPE);
  std::vector<char> utf8(latin1.size() * 2 + 1);
  LocalToUTF8(utf8.data(), latin1.c_str(), static_cast<int>(utf8.size()), KelCS_ISO_8859_1);
  std::cout << "As ISO 8859-1, escaping what it lacks:\n" << utf8.data() << "\n";
  return 0;
}

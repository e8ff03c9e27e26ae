// kelconv's streaming reader (StreamConverter) fed fuzzer-made input in
// fuzzer-chosen pieces, each piece in a heap buffer of exactly its size,
// between fuzzer-chosen character sets under a fuzzer-chosen policy;
// sometimes as two inputs in a row (finishInput between them).
//
// Invariants:
// - The output, the failure (kind, offset, bytes, character) and whether
//   the conversion stopped are the same however the input is cut: the
//   same as when each input is written in one piece.
// - Under Policy::kStop the output is a prefix of the Policy::kReplace
//   output when the target set has every character (UTF-8 and UTF-16).
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "tools/kelconv/stream_converter.h"

namespace {

using kelconv::ConversionFailure;
using kelconv::Policy;
using kelconv::StreamConverter;
using kelconv::StreamSettings;
using kelulib_fuzz::ExactBuffer;
using kelulib_fuzz::FuzzInput;

constexpr KelCharSet kStreamSets[] = {
    KelCS_UTF8,       KelCS_UTF16,       KelCS_UTF16ESC,    KelCS_UTF32,      KelCS_WCP1252,
    KelCS_WCP1251,    KelCS_WCP874,      KelCS_ISO_8859_1,  KelCS_ISO_8859_7, KelCS_KOI8R,
    KelCS_WCP932,     KelCS_WCP936,      KelCS_WCP949,      KelCS_WCP950,     KelCS_BIG5,
    KelCS_SHIFTJIS,   KelCS_SJIS0213,    KelCS_EUC_JP,      KelCS_EUC_CN,     KelCS_EUC_KR,
    KelCS_GB18030};

class StringSink : public kelconv::ByteSink {
 public:
  void write(const unsigned char* data, size_t size) override {
    text.append(reinterpret_cast<const char*>(data), size);
  }
  std::string text;
};

struct Run {
  std::string output;
  ConversionFailure failure;
  bool stopped = false;
};

// Converts the inputs, each cut at the given lengths (the rest of an input
// after its last cut is one more piece).
Run convert(const StreamSettings& settings, const std::vector<std::string>& inputs,
            const std::vector<std::vector<size_t>>& cuts) {
  StringSink sink;
  StreamConverter converter(settings, sink);
  bool going = true;
  for (size_t i = 0; i < inputs.size() && going; ++i) {
    size_t at = 0;
    std::vector<size_t> lengths = cuts[i];
    lengths.push_back(inputs[i].size());
    for (size_t length : lengths) {
      const size_t n = length < inputs[i].size() - at ? length : inputs[i].size() - at;
      ExactBuffer<char> piece(n);
      if (n > 0) std::memcpy(piece.data(), inputs[i].data() + at, n);
      at += n;
      if (!converter.write(piece.data(), n)) {
        going = false;
        break;
      }
    }
    if (going && !converter.finishInput()) going = false;
  }
  converter.finishOutput();
  return {sink.text, converter.failure(), converter.stopped()};
}

bool sameFailure(const ConversionFailure& a, const ConversionFailure& b) {
  return a.kind == b.kind && a.offset == b.offset && a.bytes == b.bytes &&
         a.character == b.character;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  StreamSettings settings;
  settings.from = in.pick(kStreamSets);
  settings.to = in.pick(kStreamSets);
  const uint8_t policy = in.byte();
  settings.policy = policy % 3 == 0 ? Policy::kReplace
                                    : (policy % 3 == 1 ? Policy::kEscape : Policy::kStop);
  settings.addByteOrderMark = in.byte() % 8 == 0;
  const bool twoInputs = in.byte() % 4 == 0;
  FuzzInput cutChoices = in.split(16);
  std::vector<std::string> inputs;
  if (twoInputs) {
    inputs.push_back(in.take(in.remaining() / 2));
  }
  inputs.push_back(in.rest());

  std::vector<std::vector<size_t>> whole(inputs.size());
  std::vector<std::vector<size_t>> cut(inputs.size());
  for (size_t i = 0; i < inputs.size(); ++i) {
    while (cutChoices.remaining() > 0 && cutChoices.byte() % 3 != 0) {
      cut[i].push_back(cutChoices.below(inputs[i].size() + 2));
    }
  }
  const Run once = convert(settings, inputs, whole);
  const Run pieces = convert(settings, inputs, cut);
  KELULIB_FUZZ_CHECK(pieces.output == once.output, "the output depends on where input is cut");
  KELULIB_FUZZ_CHECK(pieces.stopped == once.stopped && sameFailure(pieces.failure, once.failure),
                     "the failure depends on where input is cut");

  if (settings.policy == Policy::kStop &&
      (settings.to == KelCS_UTF8 || settings.to == KelCS_UTF16)) {
    StreamSettings replacing = settings;
    replacing.policy = Policy::kReplace;
    const Run replaced = convert(replacing, inputs, whole);
    KELULIB_FUZZ_CHECK(replaced.output.compare(0, once.output.size(), once.output) == 0,
                       "the output under kStop is no prefix of the output under kReplace");
  }
  return 0;
}

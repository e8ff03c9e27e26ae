// KelUString: construction from narrow text, the first UTF-8 rendering, and
// long append loops.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ustring/ustring.h"

namespace {

// Mixed text: mostly ASCII with Latin-1 letters and a few symbols, the shape
// of European prose. `bytesUtf8` selects UTF-8 or Windows-1252 bytes.
std::string sampleText(size_t characters, bool bytesUtf8) {
  static const char16_t kPattern[] = u"Stra\u00dfe f\u00fcr gro\u00dfe M\u00e4rkte \u20ac 12, ";
  std::string text;
  for (size_t i = 0; i < characters; ++i) {
    const char16_t unit = kPattern[i % (sizeof(kPattern) / sizeof(kPattern[0]) - 1)];
    if (unit < 0x80) {
      text += static_cast<char>(unit);
    } else if (!bytesUtf8) {
      text += static_cast<char>(unit == u'\u20ac' ? 0x80 : unit);
    } else if (unit < 0x800) {
      text += static_cast<char>(0xC0 | (unit >> 6));
      text += static_cast<char>(0x80 | (unit & 0x3F));
    } else {
      text += static_cast<char>(0xE0 | (unit >> 12));
      text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
      text += static_cast<char>(0x80 | (unit & 0x3F));
    }
  }
  return text;
}

void constructFrom(benchmark::State& state, KelCharSet cs, bool bytesUtf8) {
  const std::string text = sampleText(static_cast<size_t>(state.range(0)), bytesUtf8);
  for (auto _ : state) {
    KelUString s(text.c_str(), cs);
    benchmark::DoNotOptimize(s.c_wstr());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_ConstructFromUtf8(benchmark::State& state) { constructFrom(state, KelCS_UTF8, true); }
BENCHMARK(BM_ConstructFromUtf8)->Arg(16)->Arg(200)->Arg(10000)->Arg(1000000);

void BM_ConstructFromWindows1252(benchmark::State& state) {
  constructFrom(state, KelCS_WCP1252, false);
}
BENCHMARK(BM_ConstructFromWindows1252)->Arg(16)->Arg(200)->Arg(10000)->Arg(1000000);

// c_str(65001) of a string that has no cache yet: one sizing pass, one
// allocation, one conversion. Fresh copies are made in batches outside the
// timing.
void BM_CStrUtf8OfFreshString(benchmark::State& state) {
  const std::string text = sampleText(static_cast<size_t>(state.range(0)), false);
  const KelUString original(text.c_str(), KelCS_WCP1252);
  const size_t batch = std::max<size_t>(1, (size_t{1} << 22) / (original.size() + 1));
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
    state.PauseTiming();
    std::vector<KelUString> fresh(batch, original);
    state.ResumeTiming();
    for (KelUString& s : fresh) benchmark::DoNotOptimize(s.c_str(KelCS_UTF8));
    state.PauseTiming();
    fresh.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * original.size()));
}
BENCHMARK(BM_CStrUtf8OfFreshString)->Arg(200)->Arg(10000)->Arg(1000000);

// Appending a 1,000-unit string 1,000 times: growth is exact, so every
// append reallocates and copies the whole text.
void BM_Append1000UnitsThousandTimes(benchmark::State& state) {
  const KelUString piece(std::u16string(1000, u'x').c_str());
  for (auto _ : state) {
    KelUString s;
    for (int i = 0; i < 1000; ++i) s += piece;
    benchmark::DoNotOptimize(s.c_wstr());
  }
}
BENCHMARK(BM_Append1000UnitsThousandTimes)->Unit(benchmark::kMillisecond);

}  // namespace

// Conversion throughput of KelULib beside ICU, glibc's iconv and (when the
// benchmark is built with it) simdutf, in one process, on the real texts
// made by bench/corpora/make_corpora.py; the throughput of short
// conversions on one and on two threads through one converter of each
// family; and the first-use cost of every table-driven converter.
//
// For each conversion and corpus, every backend first converts the text
// once and its output is compared with the expectation made by Python's
// codecs (the corpus's UTF-16LE file, or its narrow bytes); any difference
// stops the program before anything is timed. Then the backends run in
// turn, round after round, and the median time of each gives its input
// MB/s (10^6 bytes of input per second), with the spread of the rounds.
// memcpy of the same input is the bandwidth reference. The last section
// checks every target (ratios of medians measured in this run) and says
// which hold.
//
// Usage: conversion_bench --corpora DIR [--results FILE] [--rounds N]
//                         [--only KEY,KEY...]
// The table goes to standard output; the figures go to FILE (JSON) only when
// --results names one.
// KEYs: utf8-utf16 utf16-utf8 cp1252 cp932 gb18030 euckr big5 eucjp
//       sjis2004 threads first-use.
// Exit status: 0 when every output was right, 1 when one was not, 2 for a
// usage or input error. (A target that does not hold is reported, not an
// error.)
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unistd.h>

#ifdef KELULIB_BENCH_SIMDUTF
#include <simdutf.h>
#endif

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_timing.h"
#include "charset/charset_names.h"
#include "charset/converter.h"
#include "charset/tables/mbcs_converter.h"
#include "charset/tables/sbcs_converter.h"
#include "flatapi/buffer_conversion.h"

namespace {

using kelulib_bench::median;
using kelulib_bench::quantile;
using kelulib_bench::roundRobinNs;
using kelulib_bench::timeOnceNs;

// --- what is measured ------------------------------------------------------

struct Conversion {
  std::string key;    // for --only
  std::string title;
  KelCharSet id;
  const char* icuName;  // null: ICU has no such converter
  const char* iconvName;
  bool toUtf16;
  // Corpora: the narrow file's name (its UTF-16LE twin is the same name
  // with ".utf16le", or for UTF-8 the stem with ".utf16le").
  std::vector<std::string> corpora;
};

const std::vector<std::string> kUtf8Corpora = {"en.utf8", "fr.utf8", "ru.utf8",
                                               "ja.utf8", "zh.utf8", "ko.utf8"};

std::vector<Conversion> conversions() {
  return {
      {"utf8-utf16", "UTF-8 -> UTF-16", KelCS_UTF8, "UTF-8", "UTF-8", true, kUtf8Corpora},
      {"utf16-utf8", "UTF-16 -> UTF-8", KelCS_UTF8, "UTF-8", "UTF-8", false, kUtf8Corpora},
      {"cp1252", "CP1252 -> UTF-16", KelCS_WCP1252, "windows-1252", "CP1252", true,
       {"en.cp1252", "fr.cp1252"}},
      {"cp1252", "UTF-16 -> CP1252", KelCS_WCP1252, "windows-1252", "CP1252", false,
       {"en.cp1252", "fr.cp1252"}},
      {"cp932", "CP932 -> UTF-16", KelCS_WCP932, "ibm-943_P15A-2003", "CP932", true,
       {"en.cp932", "ja.cp932"}},
      {"cp932", "UTF-16 -> CP932", KelCS_WCP932, "ibm-943_P15A-2003", "CP932", false,
       {"en.cp932", "ja.cp932"}},
      {"gb18030", "GB18030 -> UTF-16", KelCS_GB18030, "gb18030", "GB18030", true,
       {"en.gb18030", "zh.gb18030"}},
      {"gb18030", "UTF-16 -> GB18030", KelCS_GB18030, "gb18030", "GB18030", false,
       {"en.gb18030", "zh.gb18030"}},
      {"euckr", "EUC-KR -> UTF-16", KelCS_EUC_KR, "EUC-KR", "EUC-KR", true,
       {"en.euckr", "ko.euckr"}},
      {"euckr", "UTF-16 -> EUC-KR", KelCS_EUC_KR, "EUC-KR", "EUC-KR", false,
       {"en.euckr", "ko.euckr"}},
      {"big5", "BIG5 -> UTF-16", KelCS_BIG5, "Big5", "BIG5", true, {"en.big5", "tw.big5"}},
      {"big5", "UTF-16 -> BIG5", KelCS_BIG5, "Big5", "BIG5", false, {"en.big5", "tw.big5"}},
      {"big5", "CP950 -> UTF-16", KelCS_WCP950, "windows-950-2000", "CP950", true,
       {"en.big5", "tw.big5"}},
      {"big5", "UTF-16 -> CP950", KelCS_WCP950, "windows-950-2000", "CP950", false,
       {"en.big5", "tw.big5"}},
      {"eucjp", "EUC-JP -> UTF-16", KelCS_EUC_JP, "EUC-JP", "EUC-JP", true,
       {"en.eucjp", "ja.eucjp"}},
      {"eucjp", "UTF-16 -> EUC-JP", KelCS_EUC_JP, "EUC-JP", "EUC-JP", false,
       {"en.eucjp", "ja.eucjp"}},
      // ICU has no Shift_JIS-2004 converter: glibc's is the only peer.
      {"sjis2004", "Shift_JIS-2004 -> UTF-16", KelCS_SJIS0213, nullptr, "SHIFT_JISX0213", true,
       {"en.sjis2004", "ja.sjis2004"}},
      {"sjis2004", "UTF-16 -> Shift_JIS-2004", KelCS_SJIS0213, nullptr, "SHIFT_JISX0213", false,
       {"en.sjis2004", "ja.sjis2004"}},
  };
}

bool isUtf8(const Conversion& c) { return c.id == KelCS_UTF8; }

// --- corpora ---------------------------------------------------------------

std::string g_corporaDir;

std::vector<char> readFile(const std::string& name) {
  const std::string path = g_corporaDir + "/" + name;
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s (run bench/corpora/make_corpora.py)\n", path.c_str());
    std::exit(2);
  }
  return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string utf16Twin(const std::string& narrow) {
  const std::string suffix = ".utf8";
  if (narrow.size() > suffix.size() && narrow.compare(narrow.size() - suffix.size(), suffix.size(), suffix) == 0) {
    return narrow.substr(0, narrow.size() - suffix.size()) + ".utf16le";
  }
  return narrow + ".utf16le";
}

// One corpus in both forms, each followed by zeros (every converter reads
// up to a terminator).
struct Corpus {
  std::string label;  // "en"
  std::vector<char> narrow;
  std::vector<char16_t> wide;
  size_t narrowBytes = 0;
  size_t wideUnits = 0;
};

Corpus loadCorpus(const std::string& narrowName) {
  Corpus corpus;
  corpus.label = narrowName.substr(0, narrowName.find('.'));
  corpus.narrow = readFile(narrowName);
  corpus.narrowBytes = corpus.narrow.size();
  corpus.narrow.resize(corpus.narrowBytes + 4, '\0');
  const std::vector<char> bytes = readFile(utf16Twin(narrowName));
  corpus.wideUnits = bytes.size() / 2;
  corpus.wide.resize(corpus.wideUnits + 1, 0);
  std::memcpy(corpus.wide.data(), bytes.data(), corpus.wideUnits * 2);
  return corpus;
}

// --- backends --------------------------------------------------------------

enum class Role { kOurs, kPeer, kReference };

const char* roleName(Role role) {
  return role == Role::kOurs ? "ours" : role == Role::kPeer ? "peer" : "reference";
}

// One way of doing a conversion: `run` converts the case's input into
// `output` and returns the units (or bytes) written, SIZE_MAX on an error.
struct Backend {
  std::string name;
  Role role;
  std::function<size_t()> run;
  std::vector<char> output;
};

struct IcuConverter {
  UConverter* handle = nullptr;
  ~IcuConverter() {
    if (handle != nullptr) ucnv_close(handle);
  }
};

struct IconvHandle {
  iconv_t handle = reinterpret_cast<iconv_t>(-1);
  ~IconvHandle() {
    if (handle != reinterpret_cast<iconv_t>(-1)) iconv_close(handle);
  }
};

// A conversion of one corpus and the backends that do it.
struct Case {
  const Conversion* conversion;
  Corpus corpus;
  std::vector<std::unique_ptr<Backend>> backends;
  std::shared_ptr<IcuConverter> icu = std::make_shared<IcuConverter>();
  std::shared_ptr<IconvHandle> iconv = std::make_shared<IconvHandle>();

  bool toUtf16() const { return conversion->toUtf16; }
  const void* input() const {
    return toUtf16() ? static_cast<const void*>(corpus.narrow.data()) : corpus.wide.data();
  }
  size_t inputBytes() const { return toUtf16() ? corpus.narrowBytes : corpus.wideUnits * 2; }
  // Room (units or bytes, terminator not counted) that fits any output.
  size_t room() const { return toUtf16() ? corpus.narrowBytes + 8 : corpus.wideUnits * 4 + 8; }
};

Backend& addBackend(Case& c, const std::string& name, Role role) {
  auto backend = std::make_unique<Backend>();
  backend->name = name;
  backend->role = role;
  backend->output.resize((c.room() + 4) * (c.toUtf16() ? 2 : 1));
  c.backends.push_back(std::move(backend));
  return *c.backends.back();
}

char16_t* wideOut(Backend& b) { return reinterpret_cast<char16_t*>(b.output.data()); }

void addOurBackends(Case& c) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(c.conversion->id);
  const size_t room = c.room();
  if (c.toUtf16()) {
    Backend& b = addBackend(c, "kelulib", Role::kOurs);
    const char* in = c.corpus.narrow.data();
    b.run = [converter, &b, in, room] {
      bool illegal = false;
      const size_t n = converter->toUTF16(wideOut(b), in, room, ILLCHAR_REPLACE, &illegal, -1);
      return illegal ? SIZE_MAX : n;
    };
    if (isUtf8(*c.conversion)) {
      Backend& flat = addBackend(c, "kelulib flat", Role::kOurs);
      flat.run = [&flat, in, room] { return UTF8ToUTF16(wideOut(flat), in, room + 1); };
    }
  } else {
    Backend& b = addBackend(c, "kelulib", Role::kOurs);
    const char16_t* in = c.corpus.wide.data();
    b.run = [converter, &b, in, room] {
      bool illegal = false;
      const size_t n = converter->fromUTF16(b.output.data(), in, room, ILLCHAR_REPLACE, &illegal);
      return illegal ? SIZE_MAX : n;
    };
    if (isUtf8(*c.conversion)) {
      Backend& flat = addBackend(c, "kelulib flat", Role::kOurs);
      flat.run = [&flat, in, room] { return UTF16ToUTF8(flat.output.data(), in, room + 1); };
    }
  }
}

// ICU's result length, or SIZE_MAX when ICU reports an error or a
// substitution.
size_t icuLength(int32_t length, UErrorCode error) {
  return U_FAILURE(error) || error == U_USING_DEFAULT_WARNING ? SIZE_MAX
                                                                : static_cast<size_t>(length);
}

bool addIcuBackends(Case& c) {
  if (c.conversion->icuName == nullptr) return true;
  UErrorCode error = U_ZERO_ERROR;
  c.icu->handle = ucnv_open(c.conversion->icuName, &error);
  if (U_FAILURE(error)) {
    std::fprintf(stderr, "ICU has no converter %s: %s\n", c.conversion->icuName,
                 u_errorName(error));
    return false;
  }
  UConverter* cnv = c.icu->handle;
  const auto room = static_cast<int32_t>(c.room());
  const auto inBytes = static_cast<int32_t>(c.corpus.narrowBytes);
  const auto inUnits = static_cast<int32_t>(c.corpus.wideUnits);
  const char* narrow = c.corpus.narrow.data();
  const UChar* wide = c.corpus.wide.data();
  if (c.toUtf16()) {
    Backend& b = addBackend(c, "ICU ucnv", Role::kPeer);
    b.run = [cnv, &b, narrow, inBytes, room] {
      UErrorCode e = U_ZERO_ERROR;
      return icuLength(ucnv_toUChars(cnv, wideOut(b), room, narrow, inBytes, &e), e);
    };
    if (isUtf8(*c.conversion)) {
      Backend& s = addBackend(c, "ICU u_str", Role::kPeer);
      s.run = [&s, narrow, inBytes, room] {
        UErrorCode e = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(wideOut(s), room, &length, narrow, inBytes, &e);
        return icuLength(length, e);
      };
    }
  } else {
    Backend& b = addBackend(c, "ICU ucnv", Role::kPeer);
    b.run = [cnv, &b, wide, inUnits, room] {
      UErrorCode e = U_ZERO_ERROR;
      return icuLength(ucnv_fromUChars(cnv, b.output.data(), room, wide, inUnits, &e), e);
    };
    if (isUtf8(*c.conversion)) {
      Backend& s = addBackend(c, "ICU u_str", Role::kPeer);
      s.run = [&s, wide, inUnits, room] {
        UErrorCode e = U_ZERO_ERROR;
        int32_t length = 0;
        u_strToUTF8(s.output.data(), room, &length, wide, inUnits, &e);
        return icuLength(length, e);
      };
    }
  }
  return true;
}

bool addIconvBackend(Case& c) {
  const char* from = c.toUtf16() ? c.conversion->iconvName : "UTF-16LE";
  const char* to = c.toUtf16() ? "UTF-16LE" : c.conversion->iconvName;
  c.iconv->handle = iconv_open(to, from);
  if (c.iconv->handle == reinterpret_cast<iconv_t>(-1)) {
    std::fprintf(stderr, "iconv cannot convert %s to %s\n", from, to);
    return false;
  }
  iconv_t cd = c.iconv->handle;
  Backend& b = addBackend(c, "iconv", Role::kPeer);
  char* in = c.toUtf16() ? c.corpus.narrow.data() : reinterpret_cast<char*>(c.corpus.wide.data());
  const size_t inBytes = c.inputBytes();
  const size_t unit = c.toUtf16() ? 2 : 1;
  b.run = [cd, &b, in, inBytes, unit] {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char* src = in;
    size_t srcLeft = inBytes;
    char* dst = b.output.data();
    size_t dstLeft = b.output.size();
    if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) == static_cast<size_t>(-1)) return SIZE_MAX;
    return static_cast<size_t>(dst - b.output.data()) / unit;
  };
  return true;
}

// simdutf's validating conversions between UTF-8 and UTF-16LE, given the
// input's length (ours find it at the terminator).
void addSimdutfBackend(Case& c) {
#ifdef KELULIB_BENCH_SIMDUTF
  if (!isUtf8(*c.conversion)) return;
  Backend& b = addBackend(c, "simdutf", Role::kPeer);
  if (c.toUtf16()) {
    const char* in = c.corpus.narrow.data();
    const size_t bytes = c.corpus.narrowBytes;
    b.run = [&b, in, bytes] {
      const size_t n = simdutf::convert_utf8_to_utf16le(in, bytes, wideOut(b));
      return n == 0 && bytes != 0 ? SIZE_MAX : n;
    };
  } else {
    const char16_t* in = c.corpus.wide.data();
    const size_t units = c.corpus.wideUnits;
    b.run = [&b, in, units] {
      const size_t n = simdutf::convert_utf16le_to_utf8(in, units, b.output.data());
      return n == 0 && units != 0 ? SIZE_MAX : n;
    };
  }
#else
  (void)c;
#endif
}

bool haveSimdutf() {
#ifdef KELULIB_BENCH_SIMDUTF
  return true;
#else
  return false;
#endif
}

std::string simdutfKernel() {
#ifdef KELULIB_BENCH_SIMDUTF
  return std::string(simdutf::get_active_implementation()->name());
#else
  return "";
#endif
}

void addMemcpyBackend(Case& c) {
  Backend& b = addBackend(c, "memcpy", Role::kReference);
  const void* in = c.input();
  const size_t bytes = c.inputBytes();
  const size_t unit = c.toUtf16() ? 1 : 2;
  b.run = [&b, in, bytes, unit] {
    std::memcpy(b.output.data(), in, bytes);
    return bytes / unit;
  };
}

// --- correctness -----------------------------------------------------------

// Whether `b`'s output (written by `written` units or bytes) is the
// expectation; says where it is not.
bool outputIsRight(const Case& c, Backend& b, size_t written) {
  const char* what = nullptr;
  const void* expected = nullptr;
  size_t expectedCount = 0;
  size_t unitSize = 1;
  if (b.role == Role::kReference) {
    expected = c.input();
    unitSize = c.toUtf16() ? 1 : 2;
    expectedCount = c.inputBytes() / unitSize;
  } else if (c.toUtf16()) {
    expected = c.corpus.wide.data();
    expectedCount = c.corpus.wideUnits;
    unitSize = 2;
  } else {
    expected = c.corpus.narrow.data();
    expectedCount = c.corpus.narrowBytes;
  }
  if (written == SIZE_MAX) {
    what = "reported an error or an illegal character";
  } else if (written != expectedCount) {
    what = "wrote a different length";
  } else if (std::memcmp(b.output.data(), expected, written * unitSize) != 0) {
    what = "wrote different text";
  }
  if (what == nullptr) return true;
  size_t at = 0;
  const size_t common = written == SIZE_MAX ? 0 : std::min(written, expectedCount) * unitSize;
  while (at < common && b.output[at] == static_cast<const char*>(expected)[at]) ++at;
  std::fprintf(stderr,
               "WRONG OUTPUT: %s, %s, %s %s (%zu written, %zu expected; first difference at "
               "byte %zu of the output)\n",
               c.conversion->title.c_str(), c.corpus.label.c_str(), b.name.c_str(), what,
               written, expectedCount, at);
  return false;
}

bool checkCase(Case& c) {
  bool right = true;
  for (auto& b : c.backends) right = outputIsRight(c, *b, b->run()) && right;
  return right;
}

// --- results ---------------------------------------------------------------

struct Measured {
  const Case* c;
  std::vector<double> mbps;                // per backend: the median round
  std::vector<std::vector<double>> rounds;  // per backend: every round
};

double mbPerSecond(size_t bytes, double ns) { return ns > 0 ? bytes / ns * 1000.0 : 0; }

// The fastest peer: for UTF-8, the best of ICU's routines and simdutf;
// otherwise the faster of ICU and iconv. Returns its index.
size_t bestPeer(const Measured& m) {
  size_t best = SIZE_MAX;
  for (size_t k = 0; k < m.c->backends.size(); ++k) {
    const Backend& b = *m.c->backends[k];
    if (b.role != Role::kPeer) continue;
    if (isUtf8(*m.c->conversion) && b.name == "iconv") continue;
    if (best == SIZE_MAX || m.mbps[k] > m.mbps[best]) best = k;
  }
  return best;
}

size_t indexOf(const Case& c, const std::string& name) {
  for (size_t k = 0; k < c.backends.size(); ++k) {
    if (c.backends[k]->name == name) return k;
  }
  return SIZE_MAX;
}

std::string fixed(double value, int decimals) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string jsonString(const std::string& s) {
  std::string out = "\"";
  for (char ch : s) {
    if (ch == '"' || ch == '\\') out += '\\';
    out += ch;
  }
  return out + "\"";
}

// Markdown table of one conversion: MB/s of each backend per corpus, then the
// ratio of each of ours to the best peer, and ours against memcpy.
void printConversion(const std::vector<Measured>& rows, std::ostream& out) {
  const Case& first = *rows.front().c;
  out << "\n### " << first.conversion->title << "\n\n| corpus | input MB |";
  for (const auto& b : first.backends) out << " " << b->name << " |";
  std::vector<size_t> ours;
  for (size_t k = 0; k < first.backends.size(); ++k) {
    if (first.backends[k]->role == Role::kOurs) ours.push_back(k);
  }
  for (size_t k : ours) out << " " << first.backends[k]->name << " / best peer |";
  for (size_t k : ours) out << " " << first.backends[k]->name << " / memcpy |";
  out << "\n|---|---:|";
  for (size_t k = 0; k < first.backends.size() + 2 * ours.size(); ++k) out << "---:|";
  out << "\n";
  std::vector<double> logSums(ours.size(), 0);
  for (const Measured& m : rows) {
    out << "| " << m.c->corpus.label << " | " << fixed(m.c->inputBytes() / 1e6, 2) << " |";
    for (double v : m.mbps) out << " " << fixed(v, 0) << " |";
    const size_t peer = bestPeer(m);
    for (size_t j = 0; j < ours.size(); ++j) {
      const double ratio = m.mbps[ours[j]] / m.mbps[peer];
      logSums[j] += std::log(ratio);
      out << " " << fixed(ratio, 2) << " (" << m.c->backends[peer]->name << ") |";
    }
    const size_t copy = indexOf(*m.c, "memcpy");
    for (size_t k : ours) out << " " << fixed(m.mbps[k] / m.mbps[copy], 2) << " |";
    out << "\n";
  }
  out << "\nGeometric mean of the ratio to the best peer:";
  for (size_t j = 0; j < ours.size(); ++j) {
    out << " " << first.backends[ours[j]]->name << " "
        << fixed(std::exp(logSums[j] / rows.size()), 2) << (j + 1 < ours.size() ? "," : "");
  }
  out << "\n";
}


// --- short conversions on one and two threads ---------------------------

// One converter of each family, and an eight-character text for it (the
// UTF-8 converter, which has no tables, for comparison).
struct ThreadFamily {
  const char* family;
  KelCharSet id;
  const char16_t* text;
};

const ThreadFamily kThreadFamilies[] = {
    {"UTF-8", KelCS_UTF8, u"Gr\u00f6\u00dfe \u4e16\u754c"},
    {"single-byte", KelCS_WCP1251, u"\u0421\u0435\u0433\u043e\u0434\u043d\u044f!"},
    {"double-byte", KelCS_WCP932, u"\u65e5\u672c\u8a9e\u306e\u30c6\u30ad\u30b9\u30c8"},
    {"extended double-byte", KelCS_SJIS0213, u"\u65e5\u672c\u8a9e\u306e\u30c6\u30ad\u30b9\u30c8"},
    {"EUC-CN/KR", KelCS_EUC_KR, u"\ud55c\uad6d\uc5b4 \ud14d\uc2a4\ud2b8\ub2e4"},
    {"EUC-JP", KelCS_EUC_JP, u"\u65e5\u672c\u8a9e\u306e\u30c6\u30ad\u30b9\u30c8"},
    {"GB18030", KelCS_GB18030, u"\u4e2d\u6587\u6587\u672c\u6d4b\u8bd5\u6837\u4f8b"},
};

struct ThreadResult {
  std::string family;
  std::string charset;
  double oneThreadPerS;   // conversions per second, median
  double twoThreadsPerS;  // both threads together
  double ratio() const { return twoThreadsPerS / oneThreadPerS; }
};

// Nanoseconds for `threads` threads, started together, to make `iterations`
// conversions of `text` to UTF-16 each.
double timeThreads(KelCharSetConverter* converter, const std::string& text, int threads,
                   long iterations) {
  std::atomic<int> ready{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> workers;
  std::atomic<size_t> sink{0};
  for (int t = 0; t < threads; ++t) {
    workers.emplace_back([&] {
      wchar16 out[32];
      size_t units = 0;
      ready.fetch_add(1);
      while (!go.load(std::memory_order_acquire)) {
      }
      for (long i = 0; i < iterations; ++i) {
        units += converter->toUTF16(out, text.c_str(), 31, ILLCHAR_REPLACE, nullptr, -1);
      }
      sink.fetch_add(units);
    });
  }
  while (ready.load() != threads) std::this_thread::yield();
  const auto start = std::chrono::steady_clock::now();
  go.store(true, std::memory_order_release);
  for (auto& w : workers) w.join();
  const auto end = std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::nano>(end - start).count();
}

// The family's text in its own encoding; empty when the converter does not
// give the units back.
std::string familyText(KelCharSetConverter* converter, const char16_t* units) {
  char bytes[64] = {};
  const size_t n = converter->fromUTF16(bytes, units, sizeof bytes - 1, ILLCHAR_STOP, nullptr);
  wchar16 back[32] = {};
  converter->toUTF16(back, bytes, 31, ILLCHAR_STOP, nullptr, -1);
  return std::u16string(back) == std::u16string(units) ? std::string(bytes, n) : std::string();
}

// For each family: rounds of one trial on one thread and one on two, in
// turn; the medians give conversions per second.
std::vector<ThreadResult> measureThreads(int rounds) {
  std::vector<ThreadResult> results;
  for (const ThreadFamily& f : kThreadFamilies) {
    KelCharSetConverter* converter = KelCharSetConverter::getConverter(f.id);
    const std::string text = familyText(converter, f.text);
    if (text.empty()) {
      std::fprintf(stderr, "%s: the short text does not convert back\n", f.family);
      std::exit(1);
    }
    // Trials of about 10 ms on one thread.
    const long probe = 20000;
    const double probeNs = timeThreads(converter, text, 1, probe);
    const long iterations = std::max(probe, static_cast<long>(probe * 10e6 / probeNs));
    std::vector<double> one;
    std::vector<double> two;
    for (int round = 0; round < rounds; ++round) {
      if (round % 2 == 0) {
        one.push_back(timeThreads(converter, text, 1, iterations));
        two.push_back(timeThreads(converter, text, 2, iterations));
      } else {
        two.push_back(timeThreads(converter, text, 2, iterations));
        one.push_back(timeThreads(converter, text, 1, iterations));
      }
    }
    results.push_back({f.family, KelCharSetToString(f.id),
                       iterations / kelulib_bench::median(one) * 1e9,
                       2 * iterations / kelulib_bench::median(two) * 1e9});
  }
  return results;
}

void printThreads(const std::vector<ThreadResult>& results, std::ostream& out) {
  out << "\n### Short conversions on one and two threads\n\n"
      << "Eight characters to UTF-16 through one converter; millions of conversions per second, "
         "median of interleaved trials.\n\n"
      << "| family | character set | 1 thread | 2 threads | 2 / 1 |\n|---|---|---:|---:|---:|\n";
  for (const ThreadResult& r : results) {
    out << "| " << r.family << " | " << r.charset << " | " << fixed(r.oneThreadPerS / 1e6, 2)
        << " | " << fixed(r.twoThreadsPerS / 1e6, 2) << " | " << fixed(r.ratio(), 2) << " |\n";
  }
}

// --- first use -------------------------------------------------------------

// Resident and shared bytes of this process.
void residentBytes(size_t* resident, size_t* shared) {
  long pages[3] = {0, 0, 0};
  if (FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld %ld", &pages[0], &pages[1], &pages[2]) != 3) pages[1] = 0;
    std::fclose(f);
  }
  const long page = sysconf(_SC_PAGESIZE);
  *resident = static_cast<size_t>(pages[1] * page);
  *shared = static_cast<size_t>(pages[2] * page);
}

// In a fresh process: the time and memory growth of the first conversion
// of `id` (which loads its tables), printed as "ns resident-growth
// anonymous-growth".
int firstUseChild(KelCharSet id) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  // A text long enough for every fast path, so that the tables those build
  // on first use (besides the mapping tables) are counted too; both ways.
  static const char kText[] =
      "First use of a converter: its tables are loaded, in both directions, "
      "and whatever its fast paths need is built for the longer texts too.";
  constexpr size_t kLength = sizeof kText - 1;
  wchar16 units[kLength + 1] = {};
  char bytes[2 * kLength + 2] = {};
  size_t rssBefore = 0, sharedBefore = 0, rssAfter = 0, sharedAfter = 0;
  residentBytes(&rssBefore, &sharedBefore);
  timeOnceNs([] {});
  residentBytes(&rssBefore, &sharedBefore);
  const double ns = timeOnceNs([&] {
    converter->toUTF16(units, kText, kLength, ILLCHAR_REPLACE, nullptr, -1);
    converter->fromUTF16(bytes, units, 2 * kLength, ILLCHAR_REPLACE, nullptr);
  });
  residentBytes(&rssAfter, &sharedAfter);
  std::printf("%.0f %zu %zu\n", ns, rssAfter - rssBefore,
              (rssAfter - sharedAfter) - (rssBefore - sharedBefore));
  return units[0] == u'F' && std::strcmp(bytes, kText) == 0 ? 0 : 1;
}

struct FirstUse {
  KelCharSet id;
  std::string name;
  double ms;
  double rssKib;
  double anonKib;
};

// Every id whose converter works from tables, once per converter.
std::vector<KelCharSet> tableDrivenIds() {
  std::vector<KelCharSet> ids;
  std::vector<KelCharSetConverter*> seen;
  for (int32_t n = 1; n < 65536; ++n) {
    const auto id = static_cast<KelCharSet>(n);
    KelCharSetConverter* c = KelCharSetConverter::getConverter(id);
    const bool tables = dynamic_cast<KelCharSetConverterSBCS*>(c) != nullptr ||
                        dynamic_cast<KelCharSetConverterMBCS*>(c) != nullptr ||
                        dynamic_cast<KelCharSetConverterMBCSEx*>(c) != nullptr;
    bool known = false;
    for (auto* s : seen) known = known || s == c;
    if (!tables || known) continue;
    seen.push_back(c);
    ids.push_back(id);
  }
  return ids;
}

std::string g_self;

// The medians of `runs` fresh processes measuring the first use of `id`.
FirstUse measureFirstUse(KelCharSet id, int runs) {
  std::vector<double> ns, rss, anon;
  for (int r = 0; r < runs; ++r) {
    const std::string command = "'" + g_self + "' --first-use-child " + std::to_string(id);
    FILE* child = popen(command.c_str(), "r");
    double a = 0, b = 0, c = 0;
    if (child == nullptr || std::fscanf(child, "%lf %lf %lf", &a, &b, &c) != 3) {
      std::fprintf(stderr, "first-use child for %d failed\n", static_cast<int>(id));
      std::exit(1);
    }
    if (pclose(child) != 0) {
      std::fprintf(stderr, "first-use child for %d converted wrongly\n", static_cast<int>(id));
      std::exit(1);
    }
    ns.push_back(a);
    rss.push_back(b / 1024);
    anon.push_back(c / 1024);
  }
  return {id, KelCharSetToString(id), kelulib_bench::median(ns) / 1e6,
          kelulib_bench::median(rss), kelulib_bench::median(anon)};
}

constexpr double kFirstUseMsTarget = 2.0;
constexpr double kFirstUseKibTarget = 1024.0;

bool meetsTargets(const FirstUse& f) {
  return f.ms < kFirstUseMsTarget && f.rssKib < kFirstUseKibTarget;
}

void printFirstUse(const std::vector<FirstUse>& results, std::ostream& out) {
  out << "\n### First use (fresh process each, median of 5)\n\n"
      << "| character set | id | time ms | RSS growth KiB | anonymous KiB | under 2 ms and 1 MiB |\n"
      << "|---|---:|---:|---:|---:|---|\n";
  size_t met = 0;
  for (const FirstUse& f : results) {
    met += meetsTargets(f);
    out << "| " << f.name << " | " << f.id << " | " << fixed(f.ms, 3) << " | "
        << fixed(f.rssKib, 0) << " | " << fixed(f.anonKib, 0) << " | "
        << (meetsTargets(f) ? "yes" : "NO") << " |\n";
  }
  out << "\n" << met << " of " << results.size() << " table-driven converters meet both targets.\n";
}


// --- targets -----------------------------------------------------------------

struct TargetCheck {
  std::string target;
  std::string measured;
  std::string verdict;  // "yes", "NO" or why it was not checked
};

// The ratio of backend `ours` to backend `peer` (or to the best peer when
// `peer` is empty) in each row.
std::vector<double> ratios(const std::vector<Measured>& rows, const std::string& ours,
                           const std::string& peer) {
  std::vector<double> result;
  for (const Measured& m : rows) {
    const size_t k = indexOf(*m.c, ours);
    const size_t p = peer.empty() ? bestPeer(m) : indexOf(*m.c, peer);
    if (k == SIZE_MAX || p == SIZE_MAX) return {};
    result.push_back(m.mbps[k] / m.mbps[p]);
  }
  return result;
}

double geometricMean(const std::vector<double>& values) {
  double logSum = 0;
  for (double v : values) logSum += std::log(v);
  return values.empty() ? 0 : std::exp(logSum / values.size());
}

const std::vector<Measured>* rowsOf(const std::vector<std::vector<Measured>>& tables,
                                    const std::string& title) {
  for (const auto& rows : tables) {
    if (rows.front().c->conversion->title == title) return &rows;
  }
  return nullptr;
}

std::vector<TargetCheck> checkTargets(const std::vector<std::vector<Measured>>& tables,
                                      const std::vector<ThreadResult>& threads,
                                      const std::vector<FirstUse>& firstUse) {
  std::vector<TargetCheck> checks;
  // UTF-8 <-> UTF-16: level with simdutf, for the interface and the flat
  // functions.
  for (const char* title : {"UTF-8 -> UTF-16", "UTF-16 -> UTF-8"}) {
    const std::vector<Measured>* rows = rowsOf(tables, title);
    if (rows == nullptr) continue;
    for (const char* ours : {"kelulib", "kelulib flat"}) {
      const std::string target = std::string(title) + ", " + ours +
                                 " / simdutf: geometric mean >= 1.00, every corpus >= 0.85";
      const std::vector<double> r = ratios(*rows, ours, "simdutf");
      if (r.empty()) {
        checks.push_back({target, "-", "not checked: no simdutf column (-DKELULIB_SIMDUTF_DIR)"});
        continue;
      }
      size_t weakest = 0;
      for (size_t i = 1; i < r.size(); ++i) {
        if (r[i] < r[weakest]) weakest = i;
      }
      const double mean = geometricMean(r);
      checks.push_back({target,
                        fixed(mean, 2) + ", weakest " + (*rows)[weakest].c->corpus.label + " " +
                            fixed(r[weakest], 2),
                        mean >= 1.0 && r[weakest] >= 0.85 ? "yes" : "NO"});
    }
  }
  // The CJK decoders on their native corpora, against the faster of ICU and
  // iconv.
  const std::pair<const char*, double> decoders[] = {
      {"CP932 -> UTF-16", 3.0},  {"GB18030 -> UTF-16", 3.0},        {"EUC-KR -> UTF-16", 3.0},
      {"BIG5 -> UTF-16", 2.0},   {"CP950 -> UTF-16", 2.0},          {"EUC-JP -> UTF-16", 2.0},
      {"Shift_JIS-2004 -> UTF-16", 2.0}};
  for (const auto& [title, least] : decoders) {
    const std::vector<Measured>* rows = rowsOf(tables, title);
    if (rows == nullptr) continue;
    const std::vector<double> r = ratios(*rows, "kelulib", "");
    for (size_t i = 0; i < rows->size(); ++i) {
      const Measured& m = (*rows)[i];
      if (m.c->corpus.label == "en") continue;
      checks.push_back({std::string(title) + " (" + m.c->corpus.label +
                            "), kelulib / best of ICU and iconv >= " + fixed(least, 1),
                        fixed(r[i], 2) + " (" + m.c->backends[bestPeer(m)]->name + ")",
                        r[i] >= least ? "yes" : "NO"});
    }
  }
  for (const ThreadResult& t : threads) {
    checks.push_back({"two threads / one thread, short texts, " + t.family + " (" + t.charset +
                          ") >= 1.80",
                      fixed(t.ratio(), 2), t.ratio() >= 1.8 ? "yes" : "NO"});
  }
  if (!firstUse.empty()) {
    size_t met = 0;
    double slowest = 0;
    double largest = 0;
    for (const FirstUse& f : firstUse) {
      met += meetsTargets(f);
      slowest = std::max(slowest, f.ms);
      largest = std::max(largest, f.rssKib);
    }
    checks.push_back({"first use of every table-driven converter under 2 ms and 1 MiB",
                      std::to_string(met) + " of " + std::to_string(firstUse.size()) +
                          " (slowest " + fixed(slowest, 3) + " ms, largest " + fixed(largest, 0) +
                          " KiB)",
                      met == firstUse.size() ? "yes" : "NO"});
  }
  return checks;
}

void printTargets(const std::vector<TargetCheck>& checks, std::ostream& out) {
  out << "\n### Targets (ratios of medians measured in this run)\n\n"
      << "| target | measured | holds |\n|---|---|---|\n";
  for (const TargetCheck& c : checks) {
    out << "| " << c.target << " | " << c.measured << " | " << c.verdict << " |\n";
  }
}

// --- the machine -----------------------------------------------------------

std::string cpuModel() {
  std::ifstream in("/proc/cpuinfo");
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

std::string cpuFlags() {
  std::ifstream in("/proc/cpuinfo");
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("flags", 0) != 0) continue;
    std::istringstream words(line.substr(line.find(':') + 1));
    std::string word, found;
    while (words >> word) {
      if (word == "sse4_2" || word == "avx2" || word == "avx512f" || word == "avx512bw" ||
          word == "avx512vl" || word == "avx512vbmi" || word == "avx512_vbmi2") {
        found += (found.empty() ? "" : " ") + word;
      }
    }
    return found;
  }
  return "";
}

std::string today() {
  const std::time_t now = std::time(nullptr);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
  return text;
}

// --- the program -----------------------------------------------------------

struct Options {
  std::string results;  // no file unless --results names one
  int rounds = 31;
  std::vector<std::string> only;
};

bool selected(const Options& o, const std::string& key) {
  if (o.only.empty()) return true;
  for (const auto& k : o.only) {
    if (k == key) return true;
  }
  return false;
}

int usage() {
  std::fprintf(stderr,
               "usage: conversion_bench --corpora DIR [--results FILE] [--rounds N] "
               "[--only utf8-utf16,utf16-utf8,cp1252,cp932,gb18030,euckr,big5,eucjp,sjis2004,"
               "threads,first-use]\n");
  return 2;
}

void writeJson(const Options& o, const std::vector<std::vector<Measured>>& tables,
               const std::vector<ThreadResult>& threads, const std::vector<FirstUse>& firstUse,
               const std::vector<TargetCheck>& targets) {
  std::ofstream out(o.results);
  out << "{\n \"cpu\": " << jsonString(cpuModel()) << ",\n \"cpu_flags\": "
      << jsonString(cpuFlags()) << ",\n \"simdutf_kernel\": " << jsonString(simdutfKernel())
      << ",\n \"date\": " << jsonString(today()) << ",\n \"rounds\": " << o.rounds
      << ",\n \"results\": [";
  const char* separator = "\n";
  for (const auto& rows : tables) {
    for (const Measured& m : rows) {
      const size_t peer = bestPeer(m);
      for (size_t k = 0; k < m.c->backends.size(); ++k) {
        const Backend& b = *m.c->backends[k];
        out << separator << "  {\"conversion\": " << jsonString(m.c->conversion->title)
            << ", \"corpus\": " << jsonString(m.c->corpus.label)
            << ", \"backend\": " << jsonString(b.name) << ", \"role\": \"" << roleName(b.role)
            << "\", \"input_bytes\": " << m.c->inputBytes() << ", \"mb_per_s\": "
            << fixed(m.mbps[k], 1) << ", \"mb_per_s_spread\": {\"min\": "
            << fixed(quantile(m.rounds[k], 0), 1) << ", \"q1\": "
            << fixed(quantile(m.rounds[k], 0.25), 1) << ", \"q3\": "
            << fixed(quantile(m.rounds[k], 0.75), 1) << ", \"max\": "
            << fixed(quantile(m.rounds[k], 1), 1) << "}";
        if (b.role == Role::kOurs) {
          out << ", \"best_peer\": " << jsonString(m.c->backends[peer]->name)
              << ", \"ratio_to_best_peer\": " << fixed(m.mbps[k] / m.mbps[peer], 3);
        }
        out << "}";
        separator = ",\n";
      }
    }
  }
  out << "\n ],\n \"threads\": [";
  separator = "\n";
  for (const ThreadResult& t : threads) {
    out << separator << "  {\"family\": " << jsonString(t.family)
        << ", \"charset\": " << jsonString(t.charset)
        << ", \"one_thread_per_s\": " << fixed(t.oneThreadPerS, 0)
        << ", \"two_threads_per_s\": " << fixed(t.twoThreadsPerS, 0)
        << ", \"ratio\": " << fixed(t.ratio(), 3) << "}";
    separator = ",\n";
  }
  out << "\n ],\n \"targets\": [";
  separator = "\n";
  for (const TargetCheck& t : targets) {
    out << separator << "  {\"target\": " << jsonString(t.target)
        << ", \"measured\": " << jsonString(t.measured)
        << ", \"holds\": " << jsonString(t.verdict) << "}";
    separator = ",\n";
  }
  out << "\n ],\n \"first_use\": [";
  separator = "\n";
  for (const FirstUse& f : firstUse) {
    out << separator << "  {\"charset\": " << jsonString(f.name) << ", \"id\": " << f.id
        << ", \"ms\": " << fixed(f.ms, 4) << ", \"rss_growth_kib\": " << fixed(f.rssKib, 1)
        << ", \"anonymous_growth_kib\": " << fixed(f.anonKib, 1)
        << ", \"meets_targets\": " << (meetsTargets(f) ? "true" : "false") << "}";
    separator = ",\n";
  }
  out << "\n ]\n}\n";
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--first-use-child" && i + 1 < argc) {
      return firstUseChild(static_cast<KelCharSet>(std::atoi(argv[i + 1])));
    }
    if (i + 1 >= argc) return usage();
    const std::string value = argv[++i];
    if (arg == "--corpora") {
      g_corporaDir = value;
    } else if (arg == "--results") {
      options.results = value;
    } else if (arg == "--rounds") {
      options.rounds = std::max(1, std::atoi(value.c_str()));
    } else if (arg == "--only") {
      std::istringstream keys(value);
      for (std::string key; std::getline(keys, key, ',');) options.only.push_back(key);
    } else {
      return usage();
    }
  }
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) return 2;
  g_self.assign(self, static_cast<size_t>(length));

  std::printf("CPU: %s (%s)\n", cpuModel().c_str(), cpuFlags().c_str());
  const std::string simdutf = haveSimdutf()
                                  ? "9.1.0, kernel " + simdutfKernel()
                                  : "not built in (configure with -DKELULIB_SIMDUTF_DIR=...)";
  std::printf("simdutf: %s\n", simdutf.c_str());

  // First use comes first, while this process has loaded no table (the
  // children are fresh processes anyway).
  std::vector<FirstUse> firstUse;
  if (selected(options, "first-use")) {
    for (KelCharSet id : tableDrivenIds()) firstUse.push_back(measureFirstUse(id, 5));
  }

  bool needsCorpora = options.only.empty();
  for (const auto& key : options.only) {
    needsCorpora = needsCorpora || (key != "first-use" && key != "threads");
  }
  if (g_corporaDir.empty() && needsCorpora) return usage();
  const std::vector<Conversion> all = conversions();
  std::vector<std::unique_ptr<Case>> cases;
  bool right = true;
  for (const Conversion& conversion : all) {
    if (!selected(options, conversion.key)) continue;
    for (const std::string& name : conversion.corpora) {
      auto c = std::make_unique<Case>();
      c->conversion = &conversion;
      c->corpus = loadCorpus(name);
      addOurBackends(*c);
      if (!addIcuBackends(*c) || !addIconvBackend(*c)) return 2;
      addSimdutfBackend(*c);
      addMemcpyBackend(*c);
      right = checkCase(*c) && right;
      cases.push_back(std::move(c));
    }
  }
  if (!right) {
    std::fprintf(stderr, "outputs differ from the expectation: nothing timed\n");
    return 1;
  }
  std::printf("All %zu cases produced the expected output; %d rounds each.\n", cases.size(),
              options.rounds);

  std::vector<std::vector<Measured>> tables;
  for (const auto& c : cases) {
    std::vector<std::function<void()>> contenders;
    for (auto& b : c->backends) {
      Backend* backend = b.get();
      contenders.push_back([backend] { backend->run(); });
    }
    Measured m{c.get(), {}, {}};
    for (const std::vector<double>& ns : roundRobinNs(contenders, options.rounds)) {
      m.mbps.push_back(mbPerSecond(c->inputBytes(), median(ns)));
      m.rounds.emplace_back();
      for (double t : ns) m.rounds.back().push_back(mbPerSecond(c->inputBytes(), t));
    }
    if (tables.empty() || tables.back().front().c->conversion != c->conversion) tables.emplace_back();
    tables.back().push_back(m);
  }

  std::vector<ThreadResult> threads;
  if (selected(options, "threads")) threads = measureThreads(options.rounds);

  const std::vector<TargetCheck> targets = checkTargets(tables, threads, firstUse);
  std::ostringstream report;
  report << "Input MB/s (10^6 bytes of input per second), median of " << options.rounds
         << " interleaved rounds.\n";
  for (const auto& rows : tables) printConversion(rows, report);
  if (!threads.empty()) printThreads(threads, report);
  if (!firstUse.empty()) printFirstUse(firstUse, report);
  printTargets(targets, report);
  std::fputs(report.str().c_str(), stdout);
  if (!options.results.empty()) {
    writeJson(options, tables, threads, firstUse, targets);
    std::printf("\nResults written to %s\n", options.results.c_str());
  }
  return 0;
}

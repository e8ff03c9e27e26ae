// kelconv beside glibc's iconv(1) and beside the library converting the same
// text in memory, on inputs of 200 MB made of the bench corpora: wall time
// of each, in interleaved rounds (each round starts at the next backend),
// and kelconv's peak resident set. Not a test: run it on a machine as quiet
// as you can get (see README.md).
//
//   kelconv_bench --corpora DIR --work DIR --kelconv PATH [--iconv PATH]
//                 [--rounds N] [--megabytes N] [--only NAME,...]
//
// For each conversion the program writes the input (the corpus repeated to
// at least --megabytes 10^6 bytes, whole copies) into the work folder,
// checks that kelconv writes what iconv writes and what the library writes
// in memory, then times:
//   iconv     iconv -f X -t Y FILE > /dev/null
//   kelconv   kelconv -f X -t Y FILE > /dev/null
//   memory    the library's converters over the whole text already in
//             memory: toUTF16 into a buffer, fromUTF16 out of it
// and prints the medians, kelconv's share of iconv's time (target: at most
// 1/3) and its ratio to the conversion in memory (target: at most 1.3), and
// kelconv's largest peak resident set (target: under 8 MiB).
#include <KelULib.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

struct Conversion {
  const char* name;    // for --only and the table
  const char* corpus;  // file of the corpora folder
  const char* from;    // the name kelconv and iconv both take
  const char* to;
  KelCharSet fromId;  // for the conversion in memory
  KelCharSet toId;
};

const Conversion kConversions[] = {
    {"cp932-utf8", "ja.cp932", "CP932", "UTF-8", KelCS_WCP932, KelCS_UTF8},
    {"gb18030-utf8", "zh.gb18030", "GB18030", "UTF-8", KelCS_GB18030, KelCS_UTF8},
    {"euckr-utf8", "ko.euckr", "EUC-KR", "UTF-8", KelCS_EUC_KR, KelCS_UTF8},
    {"utf8-utf16le", "ja.utf8", "UTF-8", "UTF-16LE", KelCS_UTF8, KelCS_UTF16},
    {"cp1252-utf8", "fr.cp1252", "CP1252", "UTF-8", KelCS_WCP1252, KelCS_UTF8},
};

struct Options {
  std::string corpora;
  std::string work;
  std::string kelconv;
  std::string iconv = "/usr/bin/iconv";
  int rounds = 7;
  size_t megabytes = 200;
  std::vector<std::string> only;
};

struct Timing {
  double seconds = 0;
  long maxResidentKiB = 0;
  int status = -1;
};

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Runs `argv` with its standard output to `output` and waits for it.
pid_t spawn(const std::vector<std::string>& argv, const std::string& output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  if (posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

// Launcher mode (--launch REPORT OUTPUT -- PROGRAM ARG...): runs the program
// and writes its wall time, peak resident set and exit status to REPORT. The
// bench measures every program through a launcher, a fresh small process:
// a child's peak resident set counts the process it was started from until
// it starts its program, and the bench holds the whole text in memory.
int launch(int argc, char** argv) {
  const std::string report = argv[2];
  const std::string output = argv[3];
  const std::vector<std::string> command(argv + 5, argv + argc);
  const auto start = std::chrono::steady_clock::now();
  const pid_t pid = spawn(command, output);
  int status = 0;
  struct rusage usage = {};
  if (pid > 0) wait4(pid, &status, 0, &usage);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::ofstream(report) << seconds << " " << usage.ru_maxrss << " "
                        << (pid > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1) << "\n";
  return 0;
}

// Runs `argv` through a launcher with its standard output to `output`; wall
// time and peak resident set.
Timing runProgram(const std::vector<std::string>& argv, const std::string& output) {
  static const std::string report =
      std::string(std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "/tmp") +
      "/kelconv_bench." + std::to_string(getpid()) + ".report";
  std::vector<std::string> launcher = {"/proc/self/exe", "--launch", report, output, "--"};
  launcher.insert(launcher.end(), argv.begin(), argv.end());
  Timing timing;
  const pid_t pid = spawn(launcher, "/dev/null");
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid) return timing;
  std::ifstream(report) >> timing.seconds >> timing.maxResidentKiB >> timing.status;
  std::remove(report.c_str());
  return timing;
}

// The whole text converted by the library in memory, as one call each way.
class InMemory {
 public:
  explicit InMemory(const Conversion& conversion, const std::string& text)
      : m_decoder(KelCharSetConverter::getConverter(conversion.fromId)),
        m_encoder(KelCharSetConverter::getConverter(conversion.toId)),
        m_text(text + std::string(4, '\0')),
        m_units(text.size() + 2),
        m_output(text.size() * 3 + 8) {}

  // Converts; returns the bytes written.
  size_t run() {
    m_decoder->toUTF16(m_units.data(), m_text.data(), m_units.size() - 1, ILLCHAR_REPLACE, nullptr,
                       -1);
    return m_encoder->fromUTF16(m_output.data(), m_units.data(), m_output.size() - 4,
                                ILLCHAR_REPLACE, nullptr);
  }

  std::string output(size_t size) const { return std::string(m_output.data(), size); }

 private:
  KelCharSetConverter* m_decoder;
  KelCharSetConverter* m_encoder;
  std::string m_text;
  std::vector<wchar16> m_units;
  std::vector<char> m_output;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--corpora" && hasValue) {
      options.corpora = argv[++i];
    } else if (arg == "--work" && hasValue) {
      options.work = argv[++i];
    } else if (arg == "--kelconv" && hasValue) {
      options.kelconv = argv[++i];
    } else if (arg == "--iconv" && hasValue) {
      options.iconv = argv[++i];
    } else if (arg == "--rounds" && hasValue) {
      options.rounds = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--megabytes" && hasValue) {
      options.megabytes = static_cast<size_t>(std::max(1, std::atoi(argv[++i])));
    } else if (arg == "--only" && hasValue) {
      std::stringstream names(argv[++i]);
      for (std::string name; std::getline(names, name, ',');) options.only.push_back(name);
    } else {
      return false;
    }
  }
  return !options.corpora.empty() && !options.work.empty() && !options.kelconv.empty();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 5 && std::string(argv[1]) == "--launch") return launch(argc, argv);
  Options options;
  if (!parse(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: kelconv_bench --corpora DIR --work DIR --kelconv PATH [--iconv PATH] "
                 "[--rounds N] [--megabytes N] [--only NAME,...]\n");
    return 2;
  }
  std::vector<const Conversion*> conversions;
  for (const Conversion& conversion : kConversions) {
    if (options.only.empty() || std::find(options.only.begin(), options.only.end(),
                                          conversion.name) != options.only.end()) {
      conversions.push_back(&conversion);
    }
  }

  // Each conversion in turn: its input, the check that all three write the
  // same, then interleaved rounds.
  struct Results {
    double megabytes = 0;
    std::vector<double> iconv, kelconv, memory;
    long kelconvResident = 0, iconvResident = 0;
  };
  std::map<const Conversion*, Results> results;
  for (const Conversion* conversion : conversions) {
    const std::string corpus = readFile(options.corpora + "/" + conversion->corpus);
    if (corpus.empty()) {
      std::fprintf(stderr, "cannot read the corpus %s/%s\n", options.corpora.c_str(),
                   conversion->corpus);
      return 2;
    }
    std::string text;
    while (text.size() < options.megabytes * 1000000) text += corpus;
    const std::string input = options.work + "/" + conversion->name + ".input";
    std::ofstream(input, std::ios::binary) << text;
    InMemory memory(*conversion, text);
    Results& r = results[conversion];
    r.megabytes = static_cast<double>(text.size()) / 1e6;
    text = std::string();

    const std::string fromIconv = options.work + "/" + conversion->name + ".iconv";
    const std::string fromKelconv = options.work + "/" + conversion->name + ".kelconv";
    runProgram({options.iconv, "-f", conversion->from, "-t", conversion->to, input}, fromIconv);
    runProgram({options.kelconv, "-f", conversion->from, "-t", conversion->to, input}, fromKelconv);
    const std::string expected = readFile(fromIconv);
    const bool sameAsIconv = readFile(fromKelconv) == expected;
    const bool sameInMemory = memory.output(memory.run()) == expected;
    std::printf("%-14s %7.1f MB: kelconv %s iconv, in memory %s iconv\n", conversion->name,
                r.megabytes, sameAsIconv ? "writes what" : "DIFFERS FROM",
                sameInMemory ? "writes what" : "DIFFERS FROM");
    std::fflush(stdout);
    std::remove(fromIconv.c_str());
    std::remove(fromKelconv.c_str());
    if (!sameAsIconv || !sameInMemory) {
      std::remove(input.c_str());
      return 1;
    }

    const std::vector<std::string> iconvCommand = {options.iconv, "-f",           conversion->from,
                                                   "-t",          conversion->to, input};
    const std::vector<std::string> kelconvCommand = {options.kelconv, "-f", conversion->from, "-t",
                                                     conversion->to,  input};
    for (int round = 0; round < options.rounds; ++round) {
      for (int step = 0; step < 3; ++step) {
        const int backend = (step + round) % 3;
        if (backend == 0) {
          const Timing t = runProgram(iconvCommand, "/dev/null");
          r.iconv.push_back(t.seconds);
          r.iconvResident = std::max(r.iconvResident, t.maxResidentKiB);
        } else if (backend == 1) {
          const Timing t = runProgram(kelconvCommand, "/dev/null");
          r.kelconv.push_back(t.seconds);
          r.kelconvResident = std::max(r.kelconvResident, t.maxResidentKiB);
        } else {
          const auto start = std::chrono::steady_clock::now();
          memory.run();
          r.memory.push_back(
              std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
      }
    }
    std::remove(input.c_str());
  }

  std::printf("\nMedians of %d interleaved rounds (seconds; input MB/s in brackets)\n\n",
              options.rounds);
  std::printf(
      "| conversion | input MB | iconv | kelconv | in memory | kelconv / iconv (<= 0.33) "
      "| kelconv / in memory (<= 1.3) | kelconv peak RSS KiB (< 8192) | iconv peak RSS KiB |\n");
  std::printf("|---|---:|---:|---:|---:|---:|---:|---:|---:|\n");
  bool met = true;
  for (const Conversion* conversion : conversions) {
    const Results& r = results[conversion];
    const double i = median(r.iconv);
    const double k = median(r.kelconv);
    const double m = median(r.memory);
    const bool ok = k / i <= 1.0 / 3 && k / m <= 1.3 && r.kelconvResident < 8192;
    met = met && ok;
    std::printf(
        "| %s | %.1f | %.3f (%.0f) | %.3f (%.0f) | %.3f (%.0f) | %.2f | %.2f | %ld | %ld |%s\n",
        conversion->name, r.megabytes, i, r.megabytes / i, k, r.megabytes / k, m, r.megabytes / m,
        k / i, k / m, r.kelconvResident, r.iconvResident, ok ? "" : " (target missed)");
  }
  std::printf("\n%s\n", met ? "Every target met." : "Some target missed.");
  return 0;
}

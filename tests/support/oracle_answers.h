// The answers of the independent converters that the conversion tests
// compare the library with (glibc's iconv, ICU), kept in the files of
// tests/oracle so that the same comparisons run on every system.
//
// The files are recorded on Linux by tools/record_oracle_answers.cmake: it
// runs the test programs with KELULIB_ORACLE_RECORD set to a folder, and
// then every question a test puts to an oracle goes to the real converter,
// and its answer into that folder. Without KELULIB_ORACLE_RECORD the tests
// read the answers from tests/oracle; a question that was never recorded
// fails the test. tests/oracle/README.md describes the file format.
#ifndef KELULIB_TESTS_SUPPORT_ORACLE_ANSWERS_H_
#define KELULIB_TESTS_SUPPORT_ORACLE_ANSWERS_H_

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelulib_test {

// What an oracle made of one input.
struct OracleAnswer {
  // In order of what is kept: a recording keeps no more of an answer than
  // the tests need (see OracleNeed).
  enum class Kind : uint8_t {
    kRejected,  // it refused the input (invalid or unmappable)
    kAccepted,  // it converted the input; what it wrote was not kept
    kDigest,    // it wrote `size` bytes whose SHA-256 is `digest`
    kBytes,     // it wrote `bytes`
  };
  Kind kind = Kind::kRejected;
  std::string bytes;
  uint64_t size = 0;
  std::array<unsigned char, 32> digest{};

  static OracleAnswer rejected() { return {}; }
  static OracleAnswer written(std::string bytes);

  bool accepted() const { return kind != Kind::kRejected; }
  // Whether the oracle wrote exactly `candidate` (false when it refused).
  // Needs kDigest or kBytes.
  bool wrote(const std::string& candidate) const;
};

// How much of an answer a test uses: whether the input was accepted, a
// comparison of the output with a candidate, or the output itself.
enum class OracleNeed { kAcceptance, kDigest, kBytes };

// One direction of one oracle converter, named like its file in
// tests/oracle (e.g. "iconv_CP1252_to_UTF-16LE"). Not safe for concurrent
// use.
class OracleChannel {
 public:
  // The converter behind a channel while recording: the output for an
  // input, nullopt when it refuses the input.
  using Live = std::function<std::optional<std::string>(const std::string& input)>;

  // The process-wide channel of that name.
  static OracleChannel& named(const std::string& name);

  // Whether answers are being recorded (KELULIB_ORACLE_RECORD is set).
  static bool recording();

  // Whether the channel can answer: recorded answers exist for it, or, when
  // recording, a live converter was given.
  bool available();

  // Gives the live converter used while recording.
  void setLive(Live live);

  // The answer to `input`: while recording, the live converter's (recorded
  // to the extent of `need`); otherwise the recorded one. A question never
  // recorded, or recorded with less than `need`, fails the current test and
  // gives a rejection.
  OracleAnswer ask(const std::string& input, OracleNeed need);

  // Writes what was recorded into the record folder (called at exit).
  void save() const;

  ~OracleChannel();
  OracleChannel(const OracleChannel&) = delete;
  OracleChannel& operator=(const OracleChannel&) = delete;

 private:
  class Table;

  explicit OracleChannel(std::string name);
  void loadOnce();

  std::string m_name;
  bool m_loaded = false;
  bool m_fileFound = false;
  std::unique_ptr<Table> m_table;
  Live m_live;
  bool m_changed = false;
};

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_ORACLE_ANSWERS_H_

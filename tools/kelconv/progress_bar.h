// A progress bar on a terminal line, for long conversions.
#ifndef KELULIB_TOOLS_KELCONV_PROGRESS_BAR_H_
#define KELULIB_TOOLS_KELCONV_PROGRESS_BAR_H_

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace kelconv {

enum class ProgressMode {
  kAuto,    // a bar for large inputs when standard error is a terminal
  kAlways,  // --progress
  kNever,   // --no-progress
};

// Inputs larger than this get a bar under ProgressMode::kAuto.
constexpr uint64_t kProgressThresholdBytes = 16u * 1024 * 1024;

// Whether an input of `size` bytes (nullopt: unknown) gets a bar, when the
// bar would go to a terminal or not.
bool wantsProgressBar(ProgressMode mode, std::optional<uint64_t> size, bool toTerminal);

class ProgressBar {
 public:
  // Shows progress through `total` bytes of `label` (nullopt: a count of
  // bytes only) on `out`, redrawing one line.
  ProgressBar(std::FILE* out, std::string label, std::optional<uint64_t> total);

  // `done` bytes are converted; redraws when the figure shown changes.
  void update(uint64_t done);

  // Draws the final state and ends the line.
  void finish();

 private:
  void draw(uint64_t done);
  uint64_t figure(uint64_t done) const;

  std::FILE* m_out;
  std::string m_label;
  std::optional<uint64_t> m_total;
  uint64_t m_done = 0;
  std::optional<uint64_t> m_shownFigure;
};

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_PROGRESS_BAR_H_

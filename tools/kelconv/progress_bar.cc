#include "tools/kelconv/progress_bar.h"

#include <utility>

namespace kelconv {
namespace {

constexpr int kBarWidth = 30;
constexpr double kMebibyte = 1024.0 * 1024.0;

}  // namespace

bool wantsProgressBar(ProgressMode mode, std::optional<uint64_t> size, bool toTerminal) {
  switch (mode) {
    case ProgressMode::kAlways:
      return true;
    case ProgressMode::kNever:
      return false;
    case ProgressMode::kAuto:
      break;
  }
  return toTerminal && size.has_value() && *size > kProgressThresholdBytes;
}

ProgressBar::ProgressBar(std::FILE* out, std::string label, std::optional<uint64_t> total)
    : m_out(out), m_label(std::move(label)), m_total(total) {}

// What the line shows: per cent of a known total, else whole mebibytes.
uint64_t ProgressBar::figure(uint64_t done) const {
  if (m_total.has_value()) return *m_total == 0 ? 100 : done * 100 / *m_total;
  return done / (1024 * 1024);
}

void ProgressBar::update(uint64_t done) {
  m_done = done;
  if (m_shownFigure == figure(done)) return;
  draw(done);
}

void ProgressBar::finish() {
  draw(m_done);
  std::fputc('\n', m_out);
  std::fflush(m_out);
}

void ProgressBar::draw(uint64_t done) {
  m_shownFigure = figure(done);
  if (!m_total.has_value()) {
    std::fprintf(m_out, "\r%s %8.1f MiB", m_label.c_str(), done / kMebibyte);
  } else {
    const uint64_t percent = *m_shownFigure;
    const int filled = static_cast<int>(percent * kBarWidth / 100);
    std::fprintf(m_out, "\r%s [%s%s] %3u%% %.1f/%.1f MiB", m_label.c_str(),
                 std::string(static_cast<size_t>(filled), '#').c_str(),
                 std::string(static_cast<size_t>(kBarWidth - filled), '-').c_str(),
                 static_cast<unsigned>(percent), done / kMebibyte, *m_total / kMebibyte);
  }
  std::fflush(m_out);
}

}  // namespace kelconv

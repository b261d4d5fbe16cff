#include "batch/progress.h"

#include <unistd.h>

#include <algorithm>

namespace quern {

namespace {
constexpr auto kQuietStart = std::chrono::milliseconds(330);
constexpr auto kRedraw = std::chrono::milliseconds(100);
constexpr int kBarWidth = 30;
}  // namespace

ProgressLine::ProgressLine(bool enabled) : enabled_(enabled) {}

bool ProgressLine::onTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

void ProgressLine::begin(const std::string& label) {
  if (!enabled_) return;
  if (shown_) {
    fraction_ = 1.0;
    draw(true);
    std::fputc('\n', stderr);
  }
  label_ = label;
  fraction_ = 0.0;
  shown_ = false;
  update(0.0, 1.0);
}

void ProgressLine::update(double value, double max) {
  if (!enabled_) return;
  fraction_ = max > 0.0 ? std::clamp(value / max, 0.0, 1.0) : 0.0;
  const Clock::time_point now = Clock::now();
  if (now - start_ < kQuietStart || now - lastDraw_ < kRedraw) return;
  draw(false);
  lastDraw_ = now;
}

void ProgressLine::draw(bool whole) {
  const int filled = static_cast<int>(fraction_ * kBarWidth + (whole ? 0.5 : 0.0));
  std::fprintf(
      stderr, "\r%-12s [%s%s] %3d%%", label_.c_str(), std::string(static_cast<std::size_t>(filled), '#').c_str(),
      std::string(static_cast<std::size_t>(kBarWidth - filled), '.').c_str(), static_cast<int>(fraction_ * 100.0));
  std::fflush(stderr);
  shown_ = true;
  anyShown_ = true;
}

void ProgressLine::finish() {
  if (!enabled_ || !shown_) return;
  fraction_ = 1.0;
  draw(true);
  std::fputc('\n', stderr);
  std::fflush(stderr);
  shown_ = false;
}

}  // namespace quern

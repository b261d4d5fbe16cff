#pragma once

#include <chrono>
#include <cstdio>
#include <string>

#include "base/numbers.h"

namespace quern {

// Progress on a terminal: one line per stage (or one line for a run of many
// pictures) with a bar, redrawn at most ten times a second and only once the
// run has taken about a third of a second, so quick runs print nothing. Off
// when stderr is no terminal or --quiet asked for silence.
class ProgressLine {
 public:
  explicit ProgressLine(bool enabled);
  ~ProgressLine() { finish(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // A new task: the line of the one before is left standing.
  void begin(const std::string& label);
  // The task's progress, `value` of `max`; cheap enough to call per row.
  void update(double value, double max);
  // Ends the last line.
  void finish();
  // Whether anything is ever shown: a caller may then skip its reports.
  bool enabled() const { return enabled_; }

  static bool onTerminal();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(bool whole);

  bool enabled_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastDraw_{};
  std::string label_;
  double fraction_ = 0.0;
  bool shown_ = false;  // the current task's line is on the screen
  bool anyShown_ = false;
};

}  // namespace quern

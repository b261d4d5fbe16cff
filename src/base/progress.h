#pragma once

#include <algorithm>
#include <functional>
#include <utility>

#include "base/host.h"

namespace quern {

// How a long routine reports on its work: it keeps a bar (Min, Max, Value)
// the way its control defines it, and gives its caller a chance to run at the
// places it defines. The caller reads the fraction done off the bar, so one
// routine serves a window that shows the bar as it stands and a chain that
// only wants to know how far the stage has come.
class Progress {
 public:
  virtual ~Progress() = default;
  virtual ProgressBar& bar() = 0;
  // A chance for the caller to run: the window lets its interface run here.
  virtual void yield() = 0;

  // The share of the work done, 0 to 1, as the bar stands.
  double fraction() {
    const ProgressBar& b = bar();
    if (!(b.Max > b.Min)) return 0.0;
    return std::clamp((static_cast<double>(b.Value) - b.Min) / (static_cast<double>(b.Max) - b.Min), 0.0, 1.0);
  }
};

// A bar of its own; each chance to run reports the fraction done.
class FractionProgress : public Progress {
 public:
  FractionProgress() = default;
  explicit FractionProgress(std::function<void(double)> report) : report_(std::move(report)) {}
  ProgressBar& bar() override { return bar_; }
  void yield() override {
    if (report_) report_(fraction());
  }

 private:
  ProgressBar bar_;
  std::function<void(double)> report_;
};

// One of a window's bars, PB(index) of `host`; the chances to run are the host's.
class HostProgress : public Progress {
 public:
  HostProgress(Host& host, Int16 index) : host_(host), index_(index) {}
  ProgressBar& bar() override { return host_.PB(index_); }
  void yield() override { host_.DoEvents(); }

 private:
  Host& host_;
  Int16 index_;
};

}  // namespace quern

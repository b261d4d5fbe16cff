#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "base/line_tables.h"
#include "pipeline/stage_chain.h"
#include "surface/picture.h"

namespace quern::testing {

// A white sheet on which strokes of known geometry are inked: a pixel is
// black when its centre lies within half the stroke width of the line,
// arc or circle, so the true centre lines are known exactly.
class Sheet {
 public:
  Sheet(int width, int height) : w_(width), h_(height), px_(static_cast<std::size_t>(width) * height, kWhite) {}

  void line(double x1, double y1, double x2, double y2, double width) {
    ink(std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2), width, [&](double x, double y) {
      const double dx = x2 - x1, dy = y2 - y1;
      const double t = std::clamp(((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
      return std::hypot(x - x1 - t * dx, y - y1 - t * dy);
    });
  }
  void circle(double cx, double cy, double r, double width) { arc(cx, cy, r, 0.0, 360.0, width); }
  // From `from` to `to` degrees, turning from +x towards +y (y down).
  void arc(double cx, double cy, double r, double from, double to, double width) {
    const double a0 = from * std::numbers::pi / 180.0, a1 = to * std::numbers::pi / 180.0;
    ink(cx - r, cy - r, cx + r, cy + r, width, [&](double x, double y) {
      double a = std::atan2(y - cy, x - cx);
      while (a < a0) a += 2 * std::numbers::pi;
      if (a <= a1) return std::abs(std::hypot(x - cx, y - cy) - r);
      const double d0 = std::hypot(x - cx - r * std::cos(a0), y - cy - r * std::sin(a0));
      const double d1 = std::hypot(x - cx - r * std::cos(a1), y - cy - r * std::sin(a1));
      return std::min(d0, d1);
    });
  }
  Picture picture() const { return makePicture(w_, h_, px_); }

 private:
  template <typename Distance>
  void ink(double x0, double y0, double x1, double y1, double width, Distance distance) {
    const int margin = static_cast<int>(std::ceil(width)) + 1;
    for (int y = std::max(0, static_cast<int>(y0) - margin); y <= std::min(h_ - 1, static_cast<int>(y1) + margin);
         ++y) {
      for (int x = std::max(0, static_cast<int>(x0) - margin); x <= std::min(w_ - 1, static_cast<int>(x1) + margin);
           ++x) {
        if (distance(x, y) <= width / 2.0) px_[static_cast<std::size_t>(y) * w_ + x] = kBlack;
      }
    }
  }
  int w_, h_;
  std::vector<Colour> px_;
};

// The chains in LineTable as today's stages leave them for a picture: no
// blur, thinning, chain assembly and spur pruning. The one place that says
// how the stages are put together for these tests.
inline RecordTable tracedChains(const Picture& picture, Int32 minBranch = 8, const RasterLimits& limits = {}) {
  RasterContext context(limits);
  FractionReport report;
  StageChain chain(context, report);
  chain.setOriginal(picture);
  StageParams params;
  params.blurRuns = 0;
  params.minBranch = minBranch;
  chain.run(Stage::rescale, params);
  return chain.session.LineTable;
}

}  // namespace quern::testing

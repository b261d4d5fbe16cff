// Fitting lines, arcs and circles on an A4 sheet at 300 dpi of known
// geometry (a plate with holes, a bore, a bolt circle, a slot, fillets,
// centre lines, dimension lines, a border and a title block, no text),
// beside chain assembly on the same sheet. The counters give the quality of
// the fit against the sheet's true primitives: entities per primitive,
// circles found and their centre and radius errors, crossed lines that come
// out whole, and the farthest any entity strays from the traced pixels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <unordered_map>
#include <vector>

#include "traced_sheet.h"
#include "vector/chains.h"
#include "vector/fitting.h"
#include "vector/spurs.h"

namespace quern {
namespace {

constexpr Int32 kWidth = 2480, kHeight = 3508;
constexpr double kThick = 4.0, kThin = 3.0;  // 0.35 mm and 0.25 mm at 300 dpi
constexpr Int32 kMinBranch = 10;

struct TrueLine {
  double x1, y1, x2, y2;
};
struct TrueCircle {
  double cx, cy, r;
};

struct Plate {
  std::vector<TrueLine> lines;
  std::vector<TrueCircle> circles;
  int arcs = 0;
  Picture picture;
};

Plate drawPlate() {
  testing::Sheet sheet(kWidth, kHeight);
  Plate p;
  auto line = [&](double x1, double y1, double x2, double y2, double w) {
    sheet.line(x1, y1, x2, y2, w);
    p.lines.push_back({x1, y1, x2, y2});
  };
  auto circle = [&](double cx, double cy, double r, double w) {
    sheet.circle(cx, cy, r, w);
    p.circles.push_back({cx, cy, r});
  };
  auto arc = [&](double cx, double cy, double r, double from, double to, double w) {
    sheet.arc(cx, cy, r, from, to, w);
    ++p.arcs;
  };
  // Border and title block, its inner lines meeting the frame in tees.
  line(100, 100, 2380, 100, kThick);
  line(2380, 100, 2380, 3408, kThick);
  line(2380, 3408, 100, 3408, kThick);
  line(100, 3408, 100, 100, kThick);
  line(1380, 3008, 2380, 3008, kThick);
  line(1380, 3008, 1380, 3408, kThick);
  line(1380, 3140, 2380, 3140, kThin);
  line(1380, 3270, 2380, 3270, kThin);
  line(1880, 3008, 1880, 3408, kThin);
  // The plate, with rounded corners.
  const double l = 440, t = 600, r = 2040, b = 1800, f = 90;
  line(l + f, t, r - f, t, kThick);
  line(r, t + f, r, b - f, kThick);
  line(r - f, b, l + f, b, kThick);
  line(l, b - f, l, t + f, kThick);
  arc(r - f, t + f, f, 270, 360, kThick);
  arc(r - f, b - f, f, 0, 90, kThick);
  arc(l + f, b - f, f, 90, 180, kThick);
  arc(l + f, t + f, f, 180, 270, kThick);
  // Four corner holes, each with a centre cross.
  for (const double hx : {l + 160.3, r - 160.6}) {
    for (const double hy : {t + 160.4, b - 159.7}) {
      circle(hx, hy, 55, kThick);
      line(hx - 85, hy, hx + 85, hy, kThin);
      line(hx, hy - 85, hx, hy + 85, kThin);
    }
  }
  // The bore, its counterbore and a bolt circle of six.
  const double cx = 1240.2, cy = 1200.6;
  circle(cx, cy, 210, kThick);
  circle(cx, cy, 280, kThick);
  for (int k = 0; k < 6; ++k) {
    const double a = (30.0 + 60.0 * k) * std::numbers::pi / 180.0;
    circle(cx + 420 * std::cos(a), cy + 420 * std::sin(a), 38, kThick);
  }
  // Centre lines through the bore, over the plate's edges.
  line(360, cy, 2120, cy, kThin);
  line(cx, 520, cx, 1880, kThin);
  // A slot: two half circles and two lines.
  const double sy = 2500, sx1 = 700, sx2 = 1300, sr = 70;
  line(sx1, sy - sr, sx2, sy - sr, kThick);
  line(sx1, sy + sr, sx2, sy + sr, kThick);
  arc(sx2, sy, sr, 270, 450, kThick);
  arc(sx1, sy, sr, 90, 270, kThick);
  // Dimension lines between extension lines, meeting them in tees.
  line(l, 1830, l, 2000, kThin);
  line(r, 1830, r, 2000, kThin);
  line(l, 1960, r, 1960, kThin);
  line(2070, t, 2250, t, kThin);
  line(2070, b, 2250, b, kThin);
  line(2210, t, 2210, b, kThin);
  line(sx1, 2600, sx1, 2720, kThin);
  line(sx2, 2600, sx2, 2720, kThin);
  line(sx1, 2690, sx2, 2690, kThin);
  p.picture = sheet.picture();
  return p;
}

struct Traced {
  Plate plate;
  RecordTable listing{"LineTable"};  // as thinning left it
  RecordTable chains{"LineTable"};   // as chain assembly and pruning left it
};

const Traced& traced() {
  static const Traced t = [] {
    Traced out;
    out.plate = drawPlate();
    FractionReport report;
    RasterContext context(RasterLimits::large(static_cast<long long>(kWidth) * kHeight));
    StageChain chain(context, report);
    chain.setOriginal(out.plate.picture);
    chain.rescale(1.0);
    chain.blur(0);
    chain.threshold(200);
    chain.thin();
    out.listing = chain.session.LineTable;
    chain.chain();
    chain.prune(kMinBranch, 0);
    out.chains = chain.session.LineTable;
    return out;
  }();
  return t;
}

void ChainAssembly(benchmark::State& state) {
  const Traced& t = traced();
  Session s;
  s.allowGrowth();
  FractionProgress progress;
  for (auto _ : state) {
    state.PauseTiming();
    s.LineTable = t.listing;
    state.ResumeTiming();
    BuildChains(s, progress);
    pruneSpurs(s.LineTable, kMinBranch, 0);
    benchmark::DoNotOptimize(s.LineTable.count());
  }
  state.counters["pixels"] = t.listing.count();
}
BENCHMARK(ChainAssembly)->Unit(benchmark::kMillisecond);

// All six stages on the sheet, as a batch run makes them.
void StageChainRun(benchmark::State& state) {
  const Traced& t = traced();
  StageParams params;
  params.blurRuns = 0;
  params.minBranch = kMinBranch;
  for (auto _ : state) {
    FractionReport report;
    RasterContext context(RasterLimits::large(static_cast<long long>(kWidth) * kHeight));
    StageChain chain(context, report);
    chain.setOriginal(t.plate.picture);
    benchmark::DoNotOptimize(chain.run(Stage::rescale, params).size());
  }
}
BENCHMARK(StageChainRun)->Unit(benchmark::kMillisecond);

double segmentDistance(double px, double py, const PathPoint& a, const PathPoint& b) {
  const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
  const double u = len2 > 0 ? std::clamp(((px - a.x) * dx + (py - a.y) * dy) / len2, 0.0, 1.0) : 0.0;
  return std::hypot(px - a.x - u * dx, py - a.y - u * dy);
}

// The farthest an entity's points lie from the traced one-pixel segments.
double worstDeviation(const std::vector<FittedChain>& fitted, const RecordTable& chains) {
  std::unordered_map<long long, std::vector<std::pair<PathPoint, PathPoint>>> cells;
  auto key = [](double x, double y) { return std::lround(x / 8) * 100000 + std::lround(y / 8); };
  for (const PixelChain& c : chainsOf(chains)) {
    for (std::size_t k = 0; k + 1 < c.points.size(); ++k)
      cells[key(c.points[k].x, c.points[k].y)].emplace_back(c.points[k], c.points[k + 1]);
  }
  double worst = 0;
  for (const FittedChain& f : fitted) {
    for (const DrawingEntity& e : f.pieces) {
      const bool straight = e.kind == DrawingEntity::Kind::Line;
      const double length = straight ? std::hypot(e.x2 - e.x1, e.y2 - e.y1) : std::abs(e.sweep) * e.radius;
      const int n = std::max(2, static_cast<int>(length * 2));
      for (int k = 0; k <= n; ++k) {
        const double u = static_cast<double>(k) / n;
        const double a = e.startAngle() + u * e.sweep;
        const double x = straight ? e.x1 + u * (e.x2 - e.x1) : e.cx + e.radius * std::cos(a);
        const double y = straight ? e.y1 + u * (e.y2 - e.y1) : e.cy + e.radius * std::sin(a);
        double nearest = std::numeric_limits<double>::infinity();
        for (int gx = -1; gx <= 1; ++gx) {
          for (int gy = -1; gy <= 1; ++gy) {
            const auto found = cells.find(key(x + 8 * gx, y + 8 * gy));
            if (found == cells.end()) continue;
            for (const auto& [p, q] : found->second) nearest = std::min(nearest, segmentDistance(x, y, p, q));
          }
        }
        worst = std::max(worst, nearest);
      }
    }
  }
  return worst;
}

void FitDrawing(benchmark::State& state) {
  const Traced& t = traced();
  std::vector<FittedChain> fitted;
  for (auto _ : state) {
    fitted = fitDrawing(t.chains, kDefaultFitTolerance);
    benchmark::DoNotOptimize(fitted.data());
  }
  const Plate& p = t.plate;
  std::vector<DrawingEntity> all;
  for (const FittedChain& f : fitted) all.insert(all.end(), f.pieces.begin(), f.pieces.end());
  const auto primitives = static_cast<double>(p.lines.size() + p.circles.size() + static_cast<std::size_t>(p.arcs));
  state.counters["entities"] = static_cast<double>(all.size());
  state.counters["primitives"] = primitives;
  state.counters["entities_per_primitive"] = static_cast<double>(all.size()) / primitives;
  double centreError = 0, radiusError = 0;
  int circlesFound = 0;
  for (const TrueCircle& c : p.circles) {
    const auto best = std::min_element(all.begin(), all.end(), [&](const DrawingEntity& a, const DrawingEntity& b) {
      auto d = [&](const DrawingEntity& e) {
        return e.kind == DrawingEntity::Kind::Circle ? std::hypot(e.cx - c.cx, e.cy - c.cy) + std::abs(e.radius - c.r)
                                                     : 1e9;
      };
      return d(a) < d(b);
    });
    if (best == all.end() || best->kind != DrawingEntity::Kind::Circle) continue;
    const double off = std::hypot(best->cx - c.cx, best->cy - c.cy);
    if (off > 5) continue;
    ++circlesFound;
    centreError = std::max(centreError, off);
    radiusError = std::max(radiusError, std::abs(best->radius - c.r) / c.r);
  }
  // A line is whole when one fitted LINE lies along it (both ends within
  // three pixels of it) and covers nine tenths of it; the ends themselves
  // may sit anywhere along a fillet that continues the line.
  int wholeLines = 0;
  for (const TrueLine& l : p.lines) {
    const double dx = l.x2 - l.x1, dy = l.y2 - l.y1, len = std::hypot(dx, dy);
    auto along = [&](double x, double y) { return ((x - l.x1) * dx + (y - l.y1) * dy) / len; };
    auto aside = [&](double x, double y) { return std::abs((x - l.x1) * dy - (y - l.y1) * dx) / len; };
    int covering = 0;
    for (const DrawingEntity& e : all) {
      if (e.kind != DrawingEntity::Kind::Line || aside(e.x1, e.y1) > 3 || aside(e.x2, e.y2) > 3) continue;
      const double a = along(e.x1, e.y1), b = along(e.x2, e.y2);
      const double overlap = std::min(std::max(a, b), len) - std::max(std::min(a, b), 0.0);
      if (overlap > 0.9 * len) ++covering;
    }
    wholeLines += covering == 1;
  }
  state.counters["circles"] = static_cast<double>(p.circles.size());
  state.counters["circles_found"] = circlesFound;
  state.counters["centre_error_px"] = centreError;
  state.counters["radius_error_pct"] = 100 * radiusError;
  state.counters["lines"] = static_cast<double>(p.lines.size());
  state.counters["lines_whole"] = wholeLines;
  state.counters["deviation_px"] = worstDeviation(fitted, t.chains);
}
BENCHMARK(FitDrawing)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern

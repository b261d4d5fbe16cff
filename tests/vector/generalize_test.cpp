#include "vector/generalize.h"

#include <gtest/gtest.h>

#include "vector/session.h"

namespace quern {
namespace {

struct Outcome {
  std::vector<bool> kept;  // indices 1..n, as GetResult gives them
  Int32 result;
  Int32 iterations;
  Int32 maxDepth;
};

Outcome generalize(const std::vector<Vertex>& polyline, double tolerance, bool spatial = false) {
  clsGeneralize g;
  g.LetPolyline(polyline.data(), static_cast<Int32>(polyline.size() * sizeof(Vertex)));
  Outcome run{{}, g.Generalize(tolerance, spatial), g.Iterations(), g.MaxDepth()};
  std::vector<bool> all;
  g.GetResult(all);
  if (!all.empty()) run.kept.assign(all.begin() + 1, all.end());
  return run;
}

std::vector<Vertex> flat(std::initializer_list<std::pair<double, double>> points) {
  std::vector<Vertex> out;
  for (const auto& [x, y] : points) out.push_back({x, y, 0.0});
  return out;
}

std::vector<Vertex> straight(int n, double stepX, double stepY) {
  std::vector<Vertex> out;
  for (int i = 0; i < n; ++i) out.push_back({i * stepX, 3 + i * stepY, 0.0});
  return out;
}

struct Case {
  const char* name;
  std::vector<Vertex> polyline;
  double tolerance;
  std::vector<bool> kept;
  Int32 iterations;
  Int32 maxDepth;
};

TEST(Generalize, KeepsTheVerticesTheToleranceDemands) {
  const bool T = true;
  const bool F = false;
  const std::vector<Vertex> wave = flat({{0, 0}, {1, 1}, {2, 0}, {3, 9}, {4, 0}, {5, 1}, {6, 0}});
  const Case cases[] = {
      {"one vertex", flat({{4, 4}}), 1.0, {T}, 1, 1},
      {"two vertices", flat({{0, 0}, {7, 3}}), 1.0, {T, T}, 1, 1},
      {"horizontal run", straight(12, 1, 0), 0.1, {T, F, F, F, F, F, F, F, F, F, F, T}, 1, 1},
      {"vertical run", straight(5, 0, 1), 0.1, {T, F, F, F, T}, 1, 1},
      {"diagonal run", straight(6, 1, -1), 0.1, {T, F, F, F, F, T}, 1, 1},
      {"exactly at the tolerance is dropped", flat({{0, 0}, {5, 1}, {10, 0}}), 1.0, {T, F, T}, 1, 1},
      {"just above the tolerance stays", flat({{0, 0}, {5, 1}, {10, 0}}), 0.999, {T, T, T}, 1, 1},
      {"equal distances split at the lower index", flat({{0, 0}, {3, 2}, {6, 2}, {9, 0}}), 1.0, {T, T, F, T}, 2, 1},
      // The range shrinks to (1, n-1); its new end is not kept for that.
      {"closed polyline", flat({{0, 0}, {1, 1}, {2, 2}, {0, 0}}), 0.5, {T, F, F, T}, 2, 1},
      {"right part first, both parts stacked", wave, 0.5, {T, T, T, T, T, T, T}, 5, 2},
      {"ranges at the tolerance drop their middles", wave, 1.0, {T, F, T, T, T, F, T}, 5, 2},
      {"tolerance 0 keeps what is off the line",
       flat({{0, 0}, {5, 1}, {10, 0}, {12, 0}, {14, 0}}),
       0.0,
       {T, T, T, F, T},
       3,
       1},
      // The first real range (squared distance 1e6) sets the limit to 1e12 / 1e10 = 100.
      {"tolerance 0 takes its limit from the first range",
       flat({{0, 0}, {500, 505}, {1000, 1000}, {2000, 0}}),
       0.0,
       {T, F, T, T},
       2,
       1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Outcome run = generalize(c.polyline, c.tolerance);
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(run.kept, c.kept);
    EXPECT_EQ(run.iterations, c.iterations);
    EXPECT_EQ(run.maxDepth, c.maxDepth);
  }
}

TEST(Generalize, SpatialRunMeasuresTheThirdCoordinate) {
  const std::vector<Vertex> bump = {{0, 0, 0}, {1, 0, 5}, {2, 0, 0}};
  EXPECT_EQ(generalize(bump, 1.0, true).kept, (std::vector<bool>{true, true, true}));
  EXPECT_EQ(generalize(bump, 1.0, false).kept, (std::vector<bool>{true, false, true}));
  // A range is closed in space only if z returns too.
  const std::vector<Vertex> loop = {{0, 0, 0}, {3, 0, 0}, {0, 0, 4}};
  EXPECT_EQ(generalize(loop, 1.0, true).kept, (std::vector<bool>{true, true, true}));
}

TEST(Generalize, TakesWholeVerticesOfTheBlockAndRefusesAnEmptyOne) {
  const std::vector<Vertex> three = flat({{0, 0}, {5, 5}, {9, 0}});
  clsGeneralize g;
  g.LetPolyline(three.data(), 2 * 24 + 23);
  EXPECT_EQ(g.Generalize(0.1), 1);
  std::vector<bool> kept;
  g.GetResult(kept);
  EXPECT_EQ(kept.size(), 3U);  // index 0 and two vertices

  g.LetPolyline(three.data(), 23);
  EXPECT_EQ(g.Generalize(0.1), 0);
  EXPECT_EQ(g.Iterations(), 0);
  EXPECT_EQ(g.MaxDepth(), 0);
}

void putRaw(Session& s, std::initializer_list<PolyPoint> points) {
  s.polyBuffer[0].redim(static_cast<Int32>(points.size()));
  Int32 i = 0;
  for (const PolyPoint& p : points) s.polyBuffer[0][++i] = p;
}

std::vector<PolyPoint> slot(const Session& s, int k) {
  std::vector<PolyPoint> out;
  for (Int32 i = 1; i <= s.polyBuffer[k].highest(); ++i) out.push_back(s.polyBuffer[k][i]);
  return out;
}

TEST(DoGeneralizeClick, DividesTheToleranceByTheScreensTwipsPerPixel) {
  Session s;
  putRaw(s, {{0, 0}, {5, 1}, {10, 0}});
  s.GeneralizeTolerance = 15;  // one pixel at 15 twips per pixel: the middle lies exactly on it
  DoGeneralize_Click(s, 15);
  EXPECT_EQ(slot(s, 1), (std::vector<PolyPoint>{{0, 0}, {10, 0}}));
  s.GeneralizeTolerance = 14;
  DoGeneralize_Click(s, 15);
  EXPECT_EQ(slot(s, 1), (std::vector<PolyPoint>{{0, 0}, {5, 1}, {10, 0}}));
  EXPECT_EQ(slot(s, 0).size(), 3U);
  EXPECT_FALSE(s.GeneralizeBusy);
}

TEST(DoGeneralizeClick, LeavesSlotOneAloneWhenEmptyOrBusy) {
  Session s;
  s.polyBuffer[1].redim(1);
  s.polyBuffer[1][1] = {7, 8};
  DoGeneralize_Click(s, 15);  // empty slot 0
  EXPECT_EQ(slot(s, 1), (std::vector<PolyPoint>{{7, 8}}));

  putRaw(s, {{0, 0}, {9, 9}});
  s.GeneralizeBusy = true;
  DoGeneralize_Click(s, 15);
  EXPECT_EQ(slot(s, 1), (std::vector<PolyPoint>{{7, 8}}));
  EXPECT_TRUE(s.GeneralizeBusy);

  s.GeneralizeBusy = false;
  EXPECT_THROW(DoGeneralize_Click(s, 0), OverflowError);
  EXPECT_FALSE(s.GeneralizeBusy) << "a failed run must not block every later one";
}

}  // namespace
}  // namespace quern

#include "vector/generalize.h"

#include <gtest/gtest.h>

#include "vector/session.h"

namespace quern {
namespace {

struct Outcome {
  std::vector<bool> kept;  // indices 1..n, as GetResult gives them
  Int32 result, iterations, maxDepth;
  bool operator==(const Outcome&) const = default;
};

Outcome generalize(const std::vector<Vertex>& polyline, double tolerance, bool spatial = false, Int32 bytes = -1) {
  clsGeneralize g;
  g.LetPolyline(polyline.data(), bytes >= 0 ? bytes : static_cast<Int32>(polyline.size() * sizeof(Vertex)));
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

TEST(Generalize, KeepsTheVerticesTheToleranceDemands) {
  const bool T = true;
  const bool F = false;
  const std::vector<Vertex> wave = flat({{0, 0}, {1, 1}, {2, 0}, {3, 9}, {4, 0}, {5, 1}, {6, 0}});
  const std::vector<Vertex> peak = flat({{0, 0}, {5, 1}, {10, 0}});
  struct Case {
    std::vector<Vertex> polyline;
    double tolerance;
    Outcome expected;
  };
  const Case cases[] = {
      {flat({{0, 3}, {1, 2}, {2, 1}, {3, 0}, {4, -1}}), 0.1, {{T, F, F, F, T}, 1, 1, 1}},  // a straight run
      {flat({{0, 0}, {0, 1}, {0, 2}, {0, 3}}), 0.1, {{T, F, F, T}, 1, 1, 1}},              // a vertical one
      {peak, 1.0, {{T, F, T}, 1, 1, 1}},                                       // exactly at the tolerance goes
      {flat({{0, 0}, {3, 2}, {6, 2}, {9, 0}}), 1.0, {{T, T, F, T}, 1, 2, 1}},  // a tie splits at the lower index
      {wave, 0.5, {{T, T, T, T, T, T, T}, 1, 5, 2}},                           // right part first, both parts stacked
      {wave, 1.0, {{T, F, T, T, T, F, T}, 1, 5, 2}},  // ranges at the tolerance drop their middles
      {flat({{0, 0}, {5, 1}, {10, 0}, {12, 0}, {14, 0}}), 0.0, {{T, T, T, F, T}, 1, 3, 1}},  // 0 keeps what is off
      // The first real range (squared distance 1e6) sets the limit for 0 to 1e12 / 1e10 = 100.
      {flat({{0, 0}, {500, 505}, {1000, 1000}, {2000, 0}}), 0.0, {{T, F, T, T}, 1, 2, 1}},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(generalize(cases[i].polyline, cases[i].tolerance), cases[i].expected) << "case " << i;
  }
}

TEST(Generalize, SpatialRunsMeasureZAndTheBlockGivesWholeVerticesOnly) {
  const std::vector<Vertex> bump = {{0, 0, 0}, {1, 0, 5}, {2, 0, 0}};
  EXPECT_EQ(generalize(bump, 1.0, true).kept, (std::vector<bool>{true, true, true}));
  EXPECT_EQ(generalize(bump, 1.0, false).kept, (std::vector<bool>{true, false, true}));
  EXPECT_EQ(generalize(bump, 0.1, false, 2 * 24 + 23).kept.size(), 2U);
  EXPECT_EQ(generalize(bump, 0.1, false, 23), (Outcome{{}, 0, 0, 0}));
}

std::vector<PolyPoint> slot(const Session& s, int k) {
  std::vector<PolyPoint> out;
  for (Int32 i = 1; i <= s.polyBuffer[k].highest(); ++i) out.push_back(s.polyBuffer[k][i]);
  return out;
}

TEST(DoGeneralizeClick, DividesTheToleranceByTwipsPerPixelAndSkipsWhenEmptyOrBusy) {
  Session s;
  simplifyPolyBuffer(s, 15);  // empty slot 0: nothing to do
  EXPECT_EQ(s.polyBuffer[1].highest(), 0);
  s.polyBuffer[0].redim(3);
  s.polyBuffer[0][2] = {5, 1};
  s.polyBuffer[0][3] = {10, 0};
  s.GeneralizeTolerance = 15;  // one pixel at 15 twips per pixel: the middle lies exactly on it
  simplifyPolyBuffer(s, 15);
  EXPECT_EQ(slot(s, 1), (std::vector<PolyPoint>{{0, 0}, {10, 0}}));
  s.GeneralizeTolerance = 14;
  s.GeneralizeBusy = true;
  simplifyPolyBuffer(s, 15);
  EXPECT_EQ(slot(s, 1).size(), 2U);
  EXPECT_TRUE(s.GeneralizeBusy);
  s.GeneralizeBusy = false;
  simplifyPolyBuffer(s, 15);
  EXPECT_EQ(slot(s, 1), (std::vector<PolyPoint>{{0, 0}, {5, 1}, {10, 0}}));
  EXPECT_THROW(simplifyPolyBuffer(s, 0), OverflowError);
  EXPECT_FALSE(s.GeneralizeBusy) << "a failed run must not block every later one";
}

}  // namespace
}  // namespace quern

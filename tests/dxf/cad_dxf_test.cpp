#include "dxf/cad_dxf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quern {
namespace {

using Groups = std::vector<std::pair<int, std::string>>;

// The file as (code, value) pairs; fails the test on a line that is not CR LF.
Groups groupsOf(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = text.find("\r\n", at);
    EXPECT_NE(end, std::string::npos) << "a line without CR LF at " << at;
    if (end == std::string::npos) break;
    lines.push_back(text.substr(at, end - at));
    at = end + 2;
  }
  Groups out;
  for (std::size_t k = 0; k + 1 < lines.size(); k += 2) out.push_back({std::stoi(lines[k]), lines[k + 1]});
  return out;
}

// The groups of the first entity of `type` in the ENTITIES section.
std::multimap<int, std::string> entityOf(const Groups& g, const std::string& type) {
  std::multimap<int, std::string> out;
  bool inEntities = false;
  for (std::size_t k = 0; k < g.size(); ++k) {
    if (g[k].first == 2 && g[k].second == "ENTITIES") inEntities = true;
    if (!inEntities || g[k].first != 0 || g[k].second != type) continue;
    for (std::size_t j = k + 1; j < g.size() && g[j].first != 0; ++j) out.insert(g[j]);
    return out;
  }
  return out;
}

double numberOf(const std::multimap<int, std::string>& e, int code) {
  const auto it = e.find(code);
  EXPECT_NE(it, e.end()) << "no group " << code;
  return it == e.end() ? NAN : std::stod(it->second);
}

// A quarter arc of radius 10 round (20, 20) in the picture, from (30, 20)
// turning towards +y to (20, 30): clockwise once y points up. A line joins
// its end back to the start; a line of no length follows.
std::vector<FittedChain> quarterAndChord() {
  const DrawingEntity arc{DrawingEntity::Kind::Arc, 30, 20, 20, 30, 20, 20, 10, std::numbers::pi / 2};
  return {FittedChain{{arc, lineEntity(20, 30, 30, 20), lineEntity(30, 20, 30, 20)}, true}};
}

TEST(CadDxf, R2000HandlesAreUniqueBelowTheSeedAndEveryOwnerExists) {
  DrawingOptions options;
  options.dxfVersion = DxfVersion::R2000;
  options.unit = DrawingUnit::Millimetre;
  for (const bool polyline : {false, true}) {
    options.polyline = polyline;
    const Groups g = groupsOf(cadDxfText(quarterAndChord(), options));
    std::set<unsigned long> handles;
    std::vector<unsigned long> owners;
    unsigned long seed = 0;
    for (std::size_t k = 0; k < g.size(); ++k) {
      if (g[k].first == 9 && g[k].second == "$HANDSEED") seed = std::stoul(g[k + 1].second, nullptr, 16);
      if (g[k].first == 9) {
        ++k;  // a header variable's value is not a handle of the drawing
        continue;
      }
      if (g[k].first == 5 || g[k].first == 105) {
        EXPECT_TRUE(handles.insert(std::stoul(g[k].second, nullptr, 16)).second) << "handle " << g[k].second;
      }
      if (g[k].first == 330 || g[k].first == 340 || g[k].first == 350) {
        owners.push_back(std::stoul(g[k].second, nullptr, 16));
      }
    }
    ASSERT_FALSE(handles.empty());
    EXPECT_GT(seed, *handles.rbegin());
    for (const unsigned long owner : owners) EXPECT_TRUE(owner == 0 || handles.count(owner)) << std::hex << owner;
    const auto insunits = std::find(g.begin(), g.end(), std::pair<int, std::string>{9, "$INSUNITS"});
    ASSERT_NE(insunits, g.end());
    EXPECT_EQ((insunits + 1)->second, "4");
  }
}

TEST(CadDxf, ArcsTurnWithYAndLinesWithoutLengthAreLeftOut) {
  DrawingOptions options;
  for (const DxfVersion version : {DxfVersion::R12, DxfVersion::R2000}) {
    options.dxfVersion = version;
    options.polyline = false;
    const Groups lines = groupsOf(cadDxfText(quarterAndChord(), options));
    // Counter-clockwise in the turned drawing: from the lower end (20, -30)
    // at 270 degrees round to (30, -20) at 0.
    const auto arc = entityOf(lines, "ARC");
    EXPECT_DOUBLE_EQ(numberOf(arc, 20), -20.0);
    EXPECT_DOUBLE_EQ(numberOf(arc, 50), 270.0);
    EXPECT_DOUBLE_EQ(numberOf(arc, 51), 0.0);
    std::size_t lineCount = 0;
    for (const auto& [code, value] : lines) lineCount += code == 0 && value == "LINE" ? 1 : 0;
    EXPECT_EQ(lineCount, 1U);

    options.polyline = true;
    const Groups poly = groupsOf(cadDxfText(quarterAndChord(), options));
    const auto first = entityOf(poly, version == DxfVersion::R2000 ? "LWPOLYLINE" : "VERTEX");
    // Clockwise: a negative bulge, the tangent of a quarter of the sweep.
    EXPECT_NEAR(numberOf(first, 42), -std::tan(std::numbers::pi / 8), 1e-6);
    const auto head = entityOf(poly, version == DxfVersion::R2000 ? "LWPOLYLINE" : "POLYLINE");
    EXPECT_DOUBLE_EQ(numberOf(head, 70), 1.0);
  }
}

TEST(CadDxf, TheLowerLeftOriginPutsTheExtentsAtZeroWithYUp) {
  DrawingOptions options;
  options.origin = DrawingOrigin::LowerLeft;
  options.unitScale = 0.5;
  const std::vector<FittedChain> placed = placeChains(quarterAndChord(), options);
  const DrawingBox box = extentsOf(placed);
  EXPECT_NEAR(box.minX, 0.0, 1e-9);
  EXPECT_NEAR(box.minY, 0.0, 1e-9);
  // The quarter's bulge reaches to (27.07, 27.07) in the picture; the chord
  // spans 20 to 30 on both axes: 5 by 5 drawing units.
  EXPECT_NEAR(box.maxX, 5.0, 1e-9);
  EXPECT_NEAR(box.maxY, 5.0, 1e-9);
  // The picture's lowest point, y = 30, is the drawing's y = 0.
  EXPECT_NEAR(placed[0].pieces[0].y2, 0.0, 1e-9);
  EXPECT_NEAR(placed[0].pieces[0].y1, 5.0, 1e-9);
}

}  // namespace
}  // namespace quern

#include "pipeline/stage_chain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <thread>
#include <tuple>
#include <vector>

#include "../processing/raster_fixtures.h"
#include "../vector/table_helpers.h"
#include "base/errors.h"
#include "pipeline/preview.h"

namespace quern {
namespace {

// A white picture with black strokes, the same for the same seed.
Picture drawing(Int32 w, Int32 h, std::uint32_t seed) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kWhite);
  auto next = [&seed] { return seed = seed * 1664525U + 1013904223U; };
  for (int s = 0; s < w * h / 400; ++s) {
    const Int32 x0 = static_cast<Int32>(next() % static_cast<std::uint32_t>(w - 8));
    const Int32 y0 = static_cast<Int32>(next() % static_cast<std::uint32_t>(h - 8));
    const Int32 len = 5 + static_cast<Int32>(next() % 40);
    const bool across = next() % 2;
    for (Int32 t = 0; t < len; ++t) {
      for (Int32 k = 0; k < 3; ++k) {
        const Int32 x = across ? std::min(x0 + t, w - 1) : x0 + k;
        const Int32 y = across ? y0 + k : std::min(y0 + t, h - 1);
        px[static_cast<std::size_t>(y) * w + x] = kBlack;
      }
    }
  }
  return makePicture(w, h, px);
}

// A drawing on grey paper in uneven greys, marked as all greys: the paper
// straddles the default threshold of 200.
Picture greyPage(Int32 w, Int32 h, std::uint32_t seed) {
  const Picture lines = drawing(w, h, seed);
  PixelBuffer px = allocatePixels(static_cast<long long>(w) * h);
  for (std::size_t i = 0; i < lines->area(); ++i) {
    seed = seed * 1664525U + 1013904223U;
    const std::uint32_t g = lines->data()[i] == kBlack ? seed >> 26 : 185 + (seed >> 27);
    px[static_cast<std::ptrdiff_t>(i)] = static_cast<Colour>(g * 0x010101U);
  }
  return makePicture(w, h, std::move(px), true);
}

// The same page kept a byte a pixel, as the readers keep pictures of greys.
Picture keptAsGreys(const Picture& page) {
  GreyBuffer greys = allocateGreys(static_cast<long long>(page->area()));
  for (std::size_t i = 0; i < page->area(); ++i)
    greys[static_cast<std::ptrdiff_t>(i)] = static_cast<std::uint8_t>(page->data()[i]);
  return makeGreyPicture(page->pixelWidth(), page->pixelHeight(), std::move(greys));
}

// Vertical lines one pixel wide in every other column: thinning keeps them all.
Picture combOfLines(Int32 w, Int32 h) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kWhite);
  for (Int32 y = 1; y < h - 1; ++y) {
    for (Int32 x = 2; x < w - 1; x += 2) px[static_cast<std::size_t>(y) * w + x] = kBlack;
  }
  return makePicture(w, h, px);
}

// Where a refusal stops the run is in the retention table and the batch tests.
TEST(StageChain, RunRunsEveryStageAndRerunsFromTheStageGiven) {
  RasterContext context;
  std::vector<std::pair<Stage, double>> reported;
  FractionReport report([&](Stage stage, double fraction) { reported.emplace_back(stage, fraction); });
  StageChain chain(context, report);
  chain.setOriginal(drawing(200, 150, 7));
  StageParams params;
  params.scale = 0.5;
  params.tolerance = 20;
  const std::vector<StageOutcome> all = chain.run(Stage::rescale, params);
  ASSERT_EQ(all.size(), 6U);
  for (const StageOutcome& o : all) EXPECT_TRUE(o.done()) << stageName(o.stage) << ": " << o.reason;
  EXPECT_EQ(all.front().width, 100);
  EXPECT_EQ(all.front().height, 75);
  for (const Stage s : {Stage::rescale, Stage::blur, Stage::threshold, Stage::thin}) {
    EXPECT_EQ(pictureWidth(chain.picture(s)), 100) << stageName(s) << ": every picture is kept";
  }
  for (const Stage s : {Stage::blur, Stage::threshold, Stage::thin}) {
    EXPECT_TRUE(std::any_of(reported.begin(), reported.end(), [s](const auto& r) { return r.first == s; }))
        << stageName(s) << " reports";
  }
  for (const auto& [stage, fraction] : reported) ASSERT_TRUE(fraction >= 0.0 && fraction <= 1.0) << stageName(stage);
  const Int32 coarse = chain.segments().count();
  params.tolerance = 1;
  ASSERT_EQ(chain.run(Stage::simplify, params).size(), 1U);
  EXPECT_GT(chain.segments().count(), coarse) << "a finer tolerance keeps more";
}

// Stage 3's other ways give black and white and say what they used: the
// threshold chosen, or the local window's side.
TEST(StageChain, ThresholdModesSayWhatTheyUsed) {
  RasterContext context;
  FractionReport report;
  StageChain chain(context, report);
  chain.setOriginal(drawing(260, 130, 3));
  StageParams params;
  params.blurRuns = 0;  // pure black and white: every way finds the same lines
  ASSERT_TRUE(chain.run(Stage::rescale, params).back().done());
  const Int32 fixedRecords = chain.segments().count();
  for (const auto& [mode, window, value] :
       {std::tuple{ThresholdMode::automatic, 0, -1}, {ThresholdMode::local, 0, 5}, {ThresholdMode::local, 41, 41}}) {
    params.thresholdSetting.mode = mode;
    params.thresholdSetting.window = window;
    const std::vector<StageOutcome> outcomes = chain.run(Stage::threshold, params);
    ASSERT_TRUE(outcomes.back().done()) << outcomes.back().reason;
    const Picture& bw = chain.picture(Stage::threshold);
    EXPECT_TRUE(std::all_of(bw->data(), bw->data() + bw->area(), [](Colour c) { return c == kBlack || c == kWhite; }));
    EXPECT_EQ(chain.segments().count(), fixedRecords);
    if (value > 0) {
      EXPECT_EQ(outcomes.front().value, value) << "the window's side";
    } else {
      EXPECT_GT(outcomes.front().value, 0);
      EXPECT_LT(outcomes.front().value, 255);
    }
  }
}

// A chain that lets go holds only the thinned picture once the run is
// through; one for the drawing alone makes no picture between the blur's last
// run and the listing. Both tell every stage's outcome, report the same
// progress from stage 3 on and give the same drawing as a chain that keeps
// them all, whichever way stage 3 goes and wherever a limit stops the run. A
// refusal names its stage and reason and leaves no listing behind.
TEST(StageChain, LettingGoGivesTheOutcomesAndDrawingOfOneThatKeepsAll) {
  struct Case {
    const char* name;
    Picture picture;
    ThresholdMode mode;
    RasterLimits limits;
    Int32 blurRuns = 2;
    double scale = 1.0;
    Stage last = Stage::simplify;
    const char* refusal = nullptr;  // a part of the reason the last stage refused with
  };
  RasterLimits wideBlackWhite;
  wideBlackWhite.blackWhite = 6000;
  RasterLimits smallSurface;
  smallSurface.surfacePixels = 230 * 170 - 1;
  const std::vector<Case> cases = {
      {"a drawing", drawing(220, 160, 5), ThresholdMode::fixed, {}},
      {"a drawing, one blur", drawing(220, 160, 5), ThresholdMode::fixed, {}, 1},
      {"a drawing, no blur", drawing(220, 160, 5), ThresholdMode::fixed, {}, 0},
      {"a drawing at half size", drawing(220, 160, 5), ThresholdMode::fixed, {}, 1, 0.5},
      {"a grey page", greyPage(230, 170, 9), ThresholdMode::fixed, {}, 1},
      {"a grey page, no blur", greyPage(230, 170, 9), ThresholdMode::fixed, {}, 0},
      {"a grey page, two blurs", greyPage(230, 170, 9), ThresholdMode::fixed, {}, 2},
      {"a grey page at half size", greyPage(230, 170, 9), ThresholdMode::fixed, {}, 1, 0.5},
      {"a page kept as greys", keptAsGreys(greyPage(230, 170, 9)), ThresholdMode::fixed, {}, 1},
      {"a page kept as greys, no blur", keptAsGreys(greyPage(230, 170, 9)), ThresholdMode::fixed, {}, 0},
      {"a page kept as greys, two blurs", keptAsGreys(greyPage(230, 170, 9)), ThresholdMode::fixed, {}, 2},
      {"a page kept as greys, at a chosen threshold", keptAsGreys(greyPage(230, 170, 9)), ThresholdMode::automatic, {}},
      {"a page kept as greys, over the surface limit", keptAsGreys(greyPage(230, 170, 9)), ThresholdMode::fixed,
       smallSurface, 1, 1.0, Stage::rescale, "over the limit"},
      {"a page kept as greys, past the filters", keptAsGreys(greyPage(1502, 20, 4)), ThresholdMode::fixed,
       RasterLimits{}, 1, 1.0, Stage::blur, "1501 by 1501"},
      {"a drawing at a chosen threshold", drawing(220, 160, 6), ThresholdMode::automatic, {}},
      {"under 10 pixels wide", drawing(9, 60, 3), ThresholdMode::fixed, {}},
      {"black and white past 1500", makeFilledPicture(12, 1501, kWhite), ThresholdMode::fixed, RasterLimits{}, 2, 1.0,
       Stage::threshold, "1500"},
      {"one blur, past the filters", drawing(1502, 20, 4), ThresholdMode::fixed, {}, 1, 1.0, Stage::blur, "1501"},
      {"one blur, under 10 rows", drawing(40, 9, 8), ThresholdMode::fixed, {}, 1},
      {"a long listing", combOfLines(402, 502), ThresholdMode::fixed, {}},
      {"a listing past the table", combOfLines(402, 502), ThresholdMode::fixed, {}, 0, 1.0, Stage::thin, "line table"},
      {"thinning past the grid", makeFilledPicture(5601, 11, kBlack), ThresholdMode::fixed, wideBlackWhite, 0, 1.0,
       Stage::thin, "5600"},
  };
  struct Run {
    std::vector<StageOutcome> outcomes;
    std::vector<std::pair<Stage, double>> reported;
    std::vector<LineRecord> segments;
    Int32 listed = 0;
    float previewFactor = 0.0F;
    std::vector<bool> held;  // the original and stages 1 to 4
    // The original's rows as the chain handed them over, and whether each
    // was the original's row.
    std::vector<Int32> rows;
    bool rowsAsInOriginal = true;
  };
  for (const Case& c : cases) {
    auto run = [&](Retention retention) {
      RasterContext context(c.limits);
      Run out;
      // The blur's bar does not follow a last run left to stage 3.
      FractionReport report([&](Stage stage, double fraction) {
        if (stage != Stage::blur) out.reported.emplace_back(stage, fraction);
      });
      StageChain chain(context, report, ChainOptions{retention});
      const Int32 w = c.picture->pixelWidth();
      chain.setOriginal(c.picture, [&](Int32 y, const Colour* row) {
        out.rows.push_back(y);
        out.rowsAsInOriginal = out.rowsAsInOriginal && std::equal(row, row + w, c.picture->data() + y * w);
      });
      StageParams params;
      params.blurRuns = c.blurRuns;
      params.scale = c.scale;
      params.thresholdSetting.mode = c.mode;
      out.outcomes = chain.run(Stage::rescale, params);
      out.held = {chain.original() != nullptr, chain.picture(Stage::rescale) != nullptr,
                  chain.picture(Stage::blur) != nullptr, chain.picture(Stage::threshold) != nullptr,
                  chain.picture(Stage::thin) != nullptr};
      out.segments = testing::records(chain.session.ChainTable, 1, chain.session.ChainTable.count());
      out.listed = chain.session.LineTable.count();
      out.previewFactor = chain.previewFactor();
      return out;
    };
    const Run all = run(Retention::keepAll);
    const StageOutcome& last = all.outcomes.back();
    EXPECT_EQ(last.stage, c.last) << c.name << ": " << last.reason;
    if (c.refusal) {
      EXPECT_EQ(last.kind, StageOutcome::Kind::refused) << c.name;
      EXPECT_NE(last.reason.find(c.refusal), std::string::npos) << c.name << ": " << last.reason;
      EXPECT_EQ(all.listed, 0) << c.name << ": no listing is left behind";
    } else {
      EXPECT_EQ(all.held, std::vector<bool>(5, true)) << c.name;
    }
    for (const Retention retention : {Retention::letGo, Retention::drawingOnly}) {
      const Run alone = run(retention);
      const char* name = retention == Retention::letGo ? ", letting go" : ", drawing only";
      if (!c.refusal) {
        const bool thin = retention == Retention::letGo;  // the lines are listed, not painted, for the drawing only
        EXPECT_EQ(alone.held, (std::vector<bool>{false, false, false, false, thin})) << c.name << name;
      }
      ASSERT_EQ(alone.outcomes.size(), all.outcomes.size()) << c.name << name;
      for (std::size_t i = 0; i < all.outcomes.size(); ++i) {
        const StageOutcome& a = all.outcomes[i];
        const StageOutcome& b = alone.outcomes[i];
        EXPECT_EQ(std::tie(a.stage, a.kind, a.reason, a.width, a.height, a.count, a.limit, a.value),
                  std::tie(b.stage, b.kind, b.reason, b.width, b.height, b.count, b.limit, b.value))
            << c.name << name << ", " << stageName(a.stage) << ": " << b.reason;
      }
      EXPECT_EQ(alone.reported, all.reported) << c.name << name;
      EXPECT_EQ(alone.segments, all.segments) << c.name << name;
      EXPECT_EQ(alone.listed, all.listed) << c.name << name;
      EXPECT_EQ(alone.previewFactor, all.previewFactor) << c.name << name;
      EXPECT_TRUE(alone.rowsAsInOriginal) << c.name << name;
      EXPECT_EQ(alone.rows, all.rows) << c.name << name;
    }
    // Every row of the original is handed over once, in order, however the
    // stages read it.
    std::vector<Int32> everyRow(static_cast<std::size_t>(c.picture->pixelHeight()));
    std::iota(everyRow.begin(), everyRow.end(), 0);
    EXPECT_EQ(all.rows, everyRow) << c.name;
    EXPECT_TRUE(all.rowsAsInOriginal) << c.name;
  }
}

// Chains with contexts of their own share nothing: on two threads at once
// they give the drawings that one chain gives run after run.
TEST(StageChain, ChainsOnTwoThreadsGiveTheDrawingsOfOneChainRunTwice) {
  const Picture pictures[2] = {drawing(260, 200, 11), drawing(240, 220, 12)};
  StageParams params;
  params.blurRuns = 2;
  params.reorder = true;
  auto drawingOf = [&](const Picture& picture) {
    RasterContext context;
    FractionReport report;
    StageChain chain(context, report);
    chain.setOriginal(picture);
    for (int i = 0; i < 2; ++i) chain.run(Stage::rescale, params);  // the second run meets a used store
    return testing::records(chain.session.ChainTable, 1, chain.session.ChainTable.count());
  };
  const std::vector<LineRecord> alone[2] = {drawingOf(pictures[0]), drawingOf(pictures[1])};
  std::vector<LineRecord> together[2];
  std::thread first([&] { together[0] = drawingOf(pictures[0]); });
  std::thread second([&] { together[1] = drawingOf(pictures[1]); });
  first.join();
  second.join();
  EXPECT_GT(alone[0].size(), 10U);
  EXPECT_EQ(together[0], alone[0]);
  EXPECT_EQ(together[1], alone[1]);
}

TEST(Preview, DrawsEveryRecordScaledInRedWithTheHookAfterEachLine) {
  RecordTable table("ChainTable");
  table.count() = 3;
  table[1] = {1, 1, 4, 1, 0};
  table[2] = {-1, -1, -1, -1, 0};
  table[3] = {2, 3, 2, 3, 0};
  PictureBox box = testing::boxOf(20, 20);
  int lines = 0;
  drawSegments(table, box, 2.0F, [&lines] { ++lines; });
  EXPECT_EQ(lines, 3);
  for (const auto& [x, y, want] :
       {std::tuple{2, 2, kRed}, {8, 2, kRed}, {9, 2, kWhite}, {1, 1, kWhite}, {4, 6, kRed}}) {
    EXPECT_EQ(box.Point(static_cast<float>(x), static_cast<float>(y)), want) << x << "," << y;
  }
}

}  // namespace
}  // namespace quern

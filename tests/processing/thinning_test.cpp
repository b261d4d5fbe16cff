#include "processing/thinning.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "thin_oracle.h"

namespace quern {
namespace {

using Art = std::vector<std::string>;

// '#' black, 'c' cyan (red byte 0), 'r' almost black (red byte 1), else white.
Picture pictureOf(const Art& art) {
  std::vector<Colour> px;
  for (const std::string& row : art) {
    for (char c : row) px.push_back(c == '#' ? kBlack : c == 'c' ? rgb(0, 255, 255) : c == 'r' ? rgb(1, 0, 0) : kWhite);
  }
  return makePicture(static_cast<Int32>(art[0].size()), static_cast<Int32>(art.size()), std::move(px));
}

Art artOf(const Picture& p) {
  Art art(static_cast<std::size_t>(p->pixelHeight()));
  for (Int32 y = 0; y < p->pixelHeight(); ++y) {
    for (Int32 x = 0; x < p->pixelWidth(); ++x) {
      const Colour c = p->pixel(x, y);
      art[static_cast<std::size_t>(y)] += c == kBlack ? '#' : c == kWhite ? '.' : '?';
    }
  }
  return art;
}

// Keeps PB(3) as it stood at every chance to run.
struct RecordingHost : QuietHost {
  void DoEvents() override { seen.emplace_back(bars[3].Value, bars[3].Max); }
  std::vector<std::pair<float, float>> seen;
};

struct Thinned {
  Art art;
  ThinOutcome outcome;
  Int16 cycles;
};

Thinned thinOnBox(const Picture& pic, RecordTable& table, Host& host) {
  PictureBox box;
  box.AutoSize = true;
  box.setPicture(pic);
  ThinGrid grid;
  const ThinOutcome outcome = grid.loadgrid(box, toInt16(pic->pixelWidth()), toInt16(pic->pixelHeight()), table, host);
  return {artOf(box.Image()), outcome, grid.thincycle()};
}

TEST(RingTest, LetsACellGoOnlyWhenNoSetNeighbourIsAlone) {
  const std::pair<Art, Int16> cases[] = {
      {{"...", ".#.", "..."}, 1},  // isolated
      {{"#..", ".#.", "..."}, 0},  // a line end
      {{".##", "...", "..."}, 1},  // a corner; the centre doesn't count
      {{".#.", "..#", "..."}, 1},  // touching diagonally
      {{"...", "#.#", "..."}, 0},  // the middle of a line
      {{"#..", "...", "..#"}, 0},  // the middle of a diagonal
      {{".##", "...", "##."}, 1},  // two separate pairs
      {{".##", "...", ".#."}, 0},  // a branch
      {{"###", "#.#", "###"}, 1},  // all eight
      {{"##.", "#..", "..#"}, 0},  // a pair and a lone corner
  };
  for (const auto& [art, expected] : cases) {
    RingCells ring{};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) ring[i][j] = art[j][i] == '#' ? 1 : 0;
    }
    EXPECT_EQ(ringtest(ring), expected) << ::testing::PrintToString(art);
  }
}

// Rows of a picture joined by '/'.
Art rows(const std::string& joined) {
  Art art(1);
  for (char c : joined) {
    if (c == '/') {
      art.emplace_back();
    } else {
      art.back() += c;
    }
  }
  return art;
}

TEST(Thin, PeelsKnownShapesToTheirSkeletons) {
  struct Case {
    const char* what;
    const char* in;
    const char* out;
    std::optional<Int16> cycles;
  };
  const Case cases[] = {
      {"a single cell goes, then cycle 2 ends the run", "........../.....#..../..........",
       "........../........../..........", 2},
      {"cells in column 0 and row 0 stay", "...#....../#........./..........", "...#....../#........./..........", 1},
      {"all background ends after cycle 1", "........../..........", "........../..........", 1},
      {"only the red byte decides", "........../c....r..../..........", "........../#........./..........", 1},
      {"one-pixel lines stay, ends included", "........../.######.../.........#/.#.......#/..#......#/...#......",
       "........../.######.../.........#/.#.......#/..#......#/...#......", std::nullopt},
      {"a bend loses its corner", "........../..####..../.....#..../.....#..../..........",
       "........../..###...../.....#..../.....#..../..........", std::nullopt},
      {"a T loses the cell where stem meets bar", "........../.#######../....#...../....#...../..........",
       "........../.###.###../....#...../....#...../..........", std::nullopt},
      {"six cells split in two",
       "........../........../........../........../.........."
       "/.....#..../.....###../.....#.#../..........",
       "........../........../........../........../........../........../.....#.#../.....#.#../..........",
       std::nullopt},
      {"a 2 by 2 block leaves its lower cells", "........../....##..../....##..../..........",
       "........../........../....##..../..........", std::nullopt},
      {"a 3 by 3 block leaves its middle row", "........../...###..../...###..../...###..../..........",
       "........../........../...###..../........../..........", std::nullopt},
      {"a bar three high keeps its middle row whole", "........../.#######../.#######../.#######../..........",
       "........../........../.#######../........../..........", std::nullopt},
      {"a bar four high keeps its third row less one cell each end",
       "........../.#######../.#######../.#######../.#######../..........",
       "........../........../........../..#####.../........../..........", std::nullopt},
      {"the last row is peeled", "........../........##/........##", "........../.........#/.........#", std::nullopt},
      {"the last column is peeled", "........../........##/........##/..........",
       "........../........../........##/..........", std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Art out = rows(c.out);
    RecordTable table("LineTable");
    QuietHost host;
    const Thinned t = thinOnBox(pictureOf(rows(c.in)), table, host);
    EXPECT_EQ(t.outcome, ThinOutcome::Listed);
    EXPECT_EQ(t.art, out);
    if (c.cycles) {
      EXPECT_EQ(t.cycles, *c.cycles);
    }
    std::vector<LineRecord> expected, listed;  // by x, then by y
    for (std::size_t x = 0; x < out[0].size(); ++x) {
      for (std::size_t y = 0; y < out.size(); ++y) {
        if (out[y][x] == '#') expected.push_back({static_cast<float>(x), static_cast<float>(y), 0, 0, 0});
      }
    }
    for (Int32 i = 1; i <= table.count(); ++i) listed.push_back(table[i]);
    EXPECT_EQ(listed, expected);
  }
}

TEST(Thin, StopsAfterCycleOneHundredWithAVeryWideShapeStillThick) {
  Art art(302, std::string(302, '.'));
  for (std::size_t y = 1; y <= 300; ++y) art[y].replace(1, 300, 300, '#');
  RecordTable table("LineTable");
  QuietHost host;
  const Thinned t = thinOnBox(pictureOf(art), table, host);
  EXPECT_EQ(t.cycles, 100);
  for (std::size_t y = 140; y <= 160; ++y) EXPECT_EQ(t.art[y].substr(140, 21), std::string(21, '#'));
}

// Noise, thick strokes and blocks round the width limit, with bars and
// tables left over from an earlier run.
Picture randomPicture(std::mt19937& rng) {
  const auto w = std::uniform_int_distribution<Int32>(1, 40)(rng);
  const auto h = std::uniform_int_distribution<Int32>(1, 32)(rng);
  PictureBox box;
  box.setWidth(static_cast<float>(w));
  box.setHeight(static_cast<float>(h));
  box.setBackColor(kWhite);
  const int kind = std::uniform_int_distribution<int>(0, 2)(rng);
  if (kind == 0) {
    std::bernoulli_distribution black(std::uniform_real_distribution<double>(0.1, 0.9)(rng));
    for (Int32 i = 0; i < w * h; ++i) SetPixelV(box.hDC(), i % w, i / w, black(rng) ? kBlack : kWhite);
    return box.Image();
  }
  std::uniform_real_distribution<float> fx(-2.0F, static_cast<float>(w + 1));
  std::uniform_real_distribution<float> fy(-2.0F, static_cast<float>(h + 1));
  for (int s = std::uniform_int_distribution<int>(1, 6)(rng); s > 0; --s) {
    box.DrawWidth = static_cast<Int16>(std::uniform_int_distribution<int>(1, kind == 1 ? 6 : 12)(rng));
    box.Line(fx(rng), fy(rng), fx(rng), fy(rng), kBlack);
  }
  return box.Image();
}

TEST(Thin, MatchesTheLiteralPeelingOnRandomPictures) {
  std::mt19937 rng(20240611);
  RecordTable fastTable("LineTable");
  RecordTable slowTable("LineTable");
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const Picture pic = randomPicture(rng);
    RecordingHost fastHost;
    RecordingHost slowHost;
    fastHost.bars[3].Max = slowHost.bars[3].Max = std::array{100.0F, 9.0F, 30.0F, 699.0F}[round % 4];
    fastTable.count() = slowTable.count() = round % 3 == 0 ? 7 : 0;

    const Thinned fast = thinOnBox(pic, fastTable, fastHost);
    PictureBox box;
    box.AutoSize = true;
    box.setPicture(pic);
    testing::LiteralThinning literal;
    literal.loadgrid(box, toInt16(pic->pixelWidth()), toInt16(pic->pixelHeight()), slowTable, slowHost);

    ASSERT_EQ(fast.art, artOf(box.Image())) << "input:\n" << ::testing::PrintToString(artOf(pic));
    ASSERT_EQ(fast.cycles, literal.thincycle);
    ASSERT_EQ(fastTable.count(), slowTable.count());
    for (Int32 i = 1; i <= fastTable.count(); ++i) ASSERT_EQ(fastTable[i], slowTable[i]) << i;
    ASSERT_EQ(fastHost.seen, slowHost.seen);
    ASSERT_EQ(fastHost.bars[3].Max, slowHost.bars[3].Max);
  }
}

TEST(Thin, ProgressStepsStayWithinTheBar) {
  // Peeling this block takes over 20 cycles, and five steps a cycle reach 100 after 20.
  Art art(50, std::string(80, '.'));
  for (std::size_t y = 2; y < 48; ++y) art[y].replace(2, 76, 76, '#');
  for (const float priorMax : {100.0F, 9.0F, 699.0F}) {
    RecordTable table("LineTable");
    RecordingHost host;
    host.bars[3].Max = priorMax;
    const Thinned t = thinOnBox(pictureOf(art), table, host);
    ASSERT_GT(t.cycles, 21);
    float highest = 0.0F;  // while peeling: past the 80 columns of loading, before the 80 of listing
    for (std::size_t i = 80; i < host.seen.size() - 80; ++i) highest = std::max(highest, host.seen[i].first);
    if (priorMax <= 100.0F) {
      EXPECT_EQ(highest, priorMax);
    } else {  // past 100 only the step before the left pass goes on, one a cycle
      EXPECT_GE(highest, 100.0F + static_cast<float>(t.cycles - 21));  // the last step may come after the last pass
      EXPECT_LE(highest, 100.0F + static_cast<float>(t.cycles - 20));
    }
    EXPECT_EQ(host.seen.back(), std::make_pair(79.0F, 79.0F));
    EXPECT_EQ(host.bars[3].Value, 0.0F);
  }
}

TEST(Thin, RefusesAListingThatLeavesNoSpareRecord) {
  Art art(10, std::string(12, '.'));
  for (std::size_t y = 1; y <= 8; ++y) art[y][5] = '#';  // eight cells that all stay
  art[4][9] = 'r';                                       // painted white if painted at all
  const Picture input = pictureOf(art);
  const LineRecord leftover{1, 2, 3, 4, 0};
  for (const Int32 prior : {kThinMaxListed - 8, kThinMaxListed - 7}) {
    RecordTable table("LineTable");
    QuietHost host;
    table.count() = prior;
    table[prior + 1] = leftover;
    const Thinned t = thinOnBox(input, table, host);
    const bool fits = prior + 8 <= kThinMaxListed;
    EXPECT_EQ(t.outcome, fits ? ThinOutcome::Listed : ThinOutcome::TooManyPixels);
    EXPECT_EQ(table.count(), fits ? kThinMaxListed : prior);
    EXPECT_EQ(table[prior + 1] == leftover, !fits);
    EXPECT_EQ(t.art == artOf(input), !fits) << "a refused run paints nothing";
    EXPECT_EQ(host.messages.size(), fits ? 0U : 1U);
  }
}

}  // namespace
}  // namespace quern

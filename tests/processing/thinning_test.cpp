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

// '#' is black, anything else white.
Picture pictureOf(const Art& art) {
  const auto w = static_cast<Int32>(art.at(0).size());
  const auto h = static_cast<Int32>(art.size());
  std::vector<Colour> px;
  for (const std::string& row : art) {
    for (char c : row) px.push_back(c == '#' ? kBlack : kWhite);
  }
  return makePicture(w, h, std::move(px));
}

Art artOf(const Picture& p) {
  Art art;
  for (Int32 y = 0; y < p->pixelHeight(); ++y) {
    std::string row;
    for (Int32 x = 0; x < p->pixelWidth(); ++x) {
      const Colour c = p->pixel(x, y);
      row += c == kBlack ? '#' : c == kWhite ? '.' : '?';
    }
    art.push_back(row);
  }
  return art;
}

// Records the bar of thin at every chance to run.
class RecordingHost : public QuietHost {
 public:
  void DoEvents() override {
    QuietHost::DoEvents();
    seen.emplace_back(bars[3].Value, bars[3].Max);
  }
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

RingCells ringOf(const Art& art) {
  RingCells ring{};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) ring[i][j] = art[j][i] == '#' ? 1 : 0;
  }
  return ring;
}

TEST(RingTest, LetsACellGoOnlyWhenNoSetNeighbourIsAlone) {
  struct Case {
    const char* what;
    Art ring;
    Int16 expected;
  };
  const Case cases[] = {
      {"no neighbours", {"...", ".#.", "..."}, 1},
      {"centre does not count", {"...", "...", "..."}, 1},
      {"one neighbour: a line end", {"#..", ".#.", "..."}, 0},
      {"two side by side: a corner", {".##", ".#.", "..."}, 1},
      {"north and east touch diagonally", {".#.", "..#", "..."}, 1},
      {"west and east: middle of a line", {"...", "#.#", "..."}, 0},
      {"opposite diagonals", {"#..", ".#.", "..#"}, 0},
      {"two separate pairs still let go", {".##", ".#.", "##."}, 1},
      {"a lone south with a pair north: a branch", {".##", ".#.", ".#."}, 0},
      {"full ring", {"###", "#.#", "###"}, 1},
      {"three in a row along one side", {"###", "...", "..."}, 1},
      {"L of three plus a lone corner", {"##.", "#..", "..#"}, 0},
  };
  for (const Case& c : cases) EXPECT_EQ(ringtest(ringOf(c.ring)), c.expected) << c.what;
}

struct ThinCase {
  const char* what;
  Art in;
  Art out;
  std::optional<Int16> cycles;
};

TEST(Thin, PeelsKnownShapesToTheirSkeletons) {
  const ThinCase cases[] = {
      {"a single cell goes and the run ends after cycle 2",
       {"............", "............", ".....#......", "............", "............"},
       {"............", "............", "............", "............", "............"},
       2},
      {"a cell in column 0 stays",
       {"............", "............", "#...........", "............"},
       {"............", "............", "#...........", "............"},
       1},
      {"a cell in row 0 stays",
       {".....#......", "............", "............", "............"},
       {".....#......", "............", "............", "............"},
       1},
      {"one-pixel lines stay, ends included",
       {"............", ".#######....", "..........#.", "..#.......#.", "...#......#.", "....#.....#.", ".....#......",
        "............"},
       {"............", ".#######....", "..........#.", "..#.......#.", "...#......#.", "....#.....#.", ".....#......",
        "............"},
       std::nullopt},
      {"a bend loses its corner",
       {"............", "..#####.....", "......#.....", "......#.....", "......#.....", "............"},
       {"............", "..####......", "......#.....", "......#.....", "......#.....", "............"},
       std::nullopt},
      {"a T loses the cell where stem meets bar",
       {"............", "..########..", ".....#......", ".....#......", ".....#......", "............"},
       {"............", "..###.####..", ".....#......", ".....#......", ".....#......", "............"},
       std::nullopt},
      {"six cells split in two",
       {"............", "............", "............", "............", "............", ".....#......", ".....###....",
        ".....#.#....", "............"},
       {"............", "............", "............", "............", "............", "............", ".....#.#....",
        ".....#.#....", "............"},
       std::nullopt},
      {"a 2 by 2 block leaves its lower cells",
       {"............", "............", "....##......", "....##......", "............"},
       {"............", "............", "............", "....##......", "............"},
       std::nullopt},
      {"a 3 by 3 block leaves its middle row",
       {"............", "....###.....", "....###.....", "....###.....", "............"},
       {"............", "............", "....###.....", "............", "............"},
       std::nullopt},
      {"a bar three high leaves its middle row whole",
       {"............", "..########..", "..########..", "..########..", "............"},
       {"............", "............", "..########..", "............", "............"},
       std::nullopt},
      {"a bar four high leaves its third row, one shorter at each end",
       {"............", "..########..", "..########..", "..########..", "..########..", "............"},
       {"............", "............", "............", "...######...", "............", "............"},
       std::nullopt},
      {"all background ends after cycle 1",
       {"............", "............", "............"},
       {"............", "............", "............"},
       1},
      {"the last column and row are peeled too",
       {"............", "............", "..........##", "..........##"},
       {"............", "............", "............", "..........##"},
       std::nullopt},
  };
  for (const ThinCase& c : cases) {
    SCOPED_TRACE(c.what);
    RecordTable table("LineTable");
    QuietHost host;
    const Thinned t = thinOnBox(pictureOf(c.in), table, host);
    EXPECT_EQ(t.outcome, ThinOutcome::Listed);
    EXPECT_EQ(t.art, c.out);
    if (c.cycles) {
      EXPECT_EQ(t.cycles, *c.cycles);
    }

    // Listed by x, then by y within a column.
    std::vector<std::pair<float, float>> expected;
    for (std::size_t x = 0; x < c.out[0].size(); ++x) {
      for (std::size_t y = 0; y < c.out.size(); ++y) {
        if (c.out[y][x] == '#') expected.emplace_back(static_cast<float>(x), static_cast<float>(y));
      }
    }
    ASSERT_EQ(table.count(), static_cast<Int32>(expected.size()));
    for (Int32 i = 1; i <= table.count(); ++i) {
      EXPECT_EQ(std::make_pair(table[i].x1, table[i].y1), expected[static_cast<std::size_t>(i - 1)]) << i;
      EXPECT_EQ(table[i].x2, 0.0F);
    }
  }
}

TEST(Thin, OnlyTheRedByteDecides) {
  RecordTable table("LineTable");
  QuietHost host;
  std::vector<Colour> px(12 * 3, kWhite);
  px[12 + 0] = rgb(0, 255, 255);  // red 0: foreground, kept in column 0
  px[12 + 5] = rgb(1, 0, 0);      // red 1: background
  const Thinned t = thinOnBox(makePicture(12, 3, px), table, host);
  EXPECT_EQ(t.art, (Art{"............", "#...........", "............"}));
}

TEST(Thin, LeavesAVeryWideShapeThickAfterCycleOneHundred) {
  Art art(302, std::string(302, '.'));
  for (int y = 1; y <= 300; ++y) art[static_cast<std::size_t>(y)].replace(1, 300, 300, '#');
  RecordTable table("LineTable");
  QuietHost host;
  const Thinned t = thinOnBox(pictureOf(art), table, host);
  EXPECT_EQ(t.cycles, 100);
  // The centre is still a solid block.
  for (int y = 140; y <= 160; ++y) EXPECT_EQ(t.art[static_cast<std::size_t>(y)].substr(140, 21), std::string(21, '#'));
}

// Random pictures of every kind: noise, thick strokes, blocks; sizes round
// the width limit; bars and tables left over from an earlier run.
Picture randomPicture(std::mt19937& rng) {
  const Int32 w = std::uniform_int_distribution<Int32>(1, 40)(rng);
  const Int32 h = std::uniform_int_distribution<Int32>(1, 32)(rng);
  PictureBox box;
  box.setWidth(static_cast<float>(w));
  box.setHeight(static_cast<float>(h));
  box.setBackColor(kWhite);
  const int kind = std::uniform_int_distribution<int>(0, 2)(rng);
  if (kind == 0) {
    std::bernoulli_distribution black(std::uniform_real_distribution<double>(0.1, 0.9)(rng));
    for (Int32 y = 0; y < h; ++y) {
      for (Int32 x = 0; x < w; ++x) SetPixelV(box.hDC(), x, y, black(rng) ? kBlack : kWhite);
    }
  } else {
    std::uniform_real_distribution<float> fx(-2.0F, static_cast<float>(w + 1));
    std::uniform_real_distribution<float> fy(-2.0F, static_cast<float>(h + 1));
    const int strokes = std::uniform_int_distribution<int>(1, 6)(rng);
    for (int s = 0; s < strokes; ++s) {
      box.DrawWidth = static_cast<Int16>(std::uniform_int_distribution<int>(1, kind == 1 ? 6 : 12)(rng));
      box.Line(fx(rng), fy(rng), fx(rng), fy(rng), kBlack);
    }
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
    const float priorMax = std::array<float, 4>{100.0F, 9.0F, 30.0F, 699.0F}[round % 4];
    const Int32 priorCount = round % 3 == 0 ? 7 : 0;

    RecordingHost fastHost;
    fastTable.count() = priorCount;
    fastHost.bars[3].Max = priorMax;
    const Thinned fast = thinOnBox(pic, fastTable, fastHost);

    RecordingHost slowHost;
    slowTable.count() = priorCount;
    slowHost.bars[3].Max = priorMax;
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
  // A block that needs many cycles: five steps a cycle reach 100 after 20.
  Art art(50, std::string(80, '.'));
  for (int y = 2; y < 48; ++y) art[static_cast<std::size_t>(y)].replace(2, 76, 76, '#');
  struct Case {
    float priorMax;
    float highest;  // during the peeling
  };
  for (const Case c : {Case{100.0F, 100.0F}, Case{9.0F, 9.0F}, Case{699.0F, 0.0F}}) {
    RecordTable table("LineTable");
    RecordingHost host;
    host.bars[3].Max = c.priorMax;
    const Thinned t = thinOnBox(pictureOf(art), table, host);
    ASSERT_GT(t.cycles, 21);
    float highest = 0.0F;
    // The listing's own chances to run come last, one per column.
    for (std::size_t i = 80; i < host.seen.size() - 80; ++i) {
      EXPECT_EQ(host.seen[i].second, c.priorMax);
      highest = std::max(highest, host.seen[i].first);
    }
    if (c.priorMax <= 100.0F) {
      EXPECT_EQ(highest, c.highest) << c.priorMax;
    } else {
      // Past 100 only the step before the left pass goes on, one a cycle.
      EXPECT_GT(highest, 100.0F);
      EXPECT_LE(highest, 100.0F + static_cast<float>(t.cycles - 20));
    }
    EXPECT_EQ(host.bars[3].Max, 79.0F);
    EXPECT_EQ(host.bars[3].Value, 0.0F);
    EXPECT_EQ(host.seen.back().first, 79.0F);
  }
}

TEST(Thin, RefusesAListingThatLeavesNoSpareRecord) {
  // An upright one-pixel line of eight cells stays whole.
  Art art(10, std::string(12, '.'));
  for (int y = 1; y <= 8; ++y) art[static_cast<std::size_t>(y)][5] = '#';
  for (const Int32 prior : {kThinMaxListed - 8, kThinMaxListed - 7}) {
    RecordTable table("LineTable");
    QuietHost host;
    table.count() = prior;
    table[prior + 1] = LineRecord{1.0F, 2.0F, 3.0F, 4.0F, 0};
    const Thinned t = thinOnBox(pictureOf(art), table, host);
    if (prior + 8 <= kThinMaxListed) {
      EXPECT_EQ(t.outcome, ThinOutcome::Listed);
      EXPECT_EQ(table.count(), kThinMaxListed);
      EXPECT_EQ(table[kThinMaxListed].y1, 8.0F);
      EXPECT_TRUE(host.messages.empty());
    } else {
      EXPECT_EQ(t.outcome, ThinOutcome::TooManyPixels);
      EXPECT_EQ(table.count(), prior);
      EXPECT_EQ(table[prior + 1], (LineRecord{1.0F, 2.0F, 3.0F, 4.0F, 0}));
      EXPECT_EQ(t.art, art) << "the picture is not painted";
      ASSERT_EQ(host.messages.size(), 1U);
      EXPECT_NE(host.messages[0].find("99999"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace quern

#include "processing/thinning.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "raster_fixtures.h"
#include "thin_oracle.h"

namespace quern {
namespace {

using Art = std::vector<std::string>;

// Rows of a picture joined by '/'.
Art rows(const std::string& joined) {
  Art art;
  std::istringstream in(joined);
  for (std::string row; std::getline(in, row, '/');) art.push_back(row);
  return art;
}

// '#' black, 'r' almost black (red byte 1), else white.
Picture pictureOf(const Art& art) {
  std::vector<Colour> px;
  for (const std::string& row : art) {
    for (char c : row) px.push_back(c == '#' ? kBlack : c == 'r' ? rgb(1, 0, 0) : kWhite);
  }
  return makePicture(static_cast<Int32>(art[0].size()), static_cast<Int32>(art.size()), std::move(px));
}

Art artOf(const Picture& p) {
  Art art(static_cast<std::size_t>(p->pixelHeight()));
  for (Int32 i = 0; i < p->pixelWidth() * p->pixelHeight(); ++i) {
    const Colour c = p->pixel(i % p->pixelWidth(), i / p->pixelWidth());
    art[static_cast<std::size_t>(i / p->pixelWidth())] += c == kBlack ? '#' : c == kWhite ? '.' : '?';
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
  PictureBox box = testing::boxWith(pic);
  ThinGrid grid;
  HostProgress progress(host, 3);
  const ThinOutcome outcome =
      grid.loadgrid(box, toInt16(pic->pixelWidth()), toInt16(pic->pixelHeight()), table, progress);
  return {artOf(box.Image()), outcome, grid.thincycle()};
}

TEST(RingTest, LetsACellGoOnlyWhenNoSetNeighbourIsAlone) {
  const std::pair<const char*, Int16> cases[] = {
      {".../.#./...", 1},  // isolated
      {"#../.#./...", 0},  // a line end
      {".##/.../...", 1},  // a corner; the centre doesn't count
      {".#./..#/...", 1},  // touching diagonally
      {".../#.#/...", 0},  // the middle of a line
      {"#../.../..#", 0},  // the middle of a diagonal
      {".##/.../##.", 1},  // two separate pairs
      {".##/.../.#.", 0},  // a branch
      {"###/#.#/###", 1},  // all eight
      {"##./#../..#", 0},  // a pair and a lone corner
  };
  for (const auto& [joined, expected] : cases) {
    const Art art = rows(joined);
    RingCells ring{};
    for (int i = 0; i < 9; ++i) ring[i % 3][i / 3] = art[i / 3][i % 3] == '#' ? 1 : 0;
    EXPECT_EQ(ringtest(ring), expected) << joined;
  }
}

// Noise, thick strokes and blocks round the width limit.
Picture randomPicture(std::mt19937& rng, Int32 wide = 40, Int32 high = 32) {
  const auto w = std::uniform_int_distribution<Int32>(1, wide)(rng);
  const auto h = std::uniform_int_distribution<Int32>(1, high)(rng);
  PictureBox box = testing::boxOf(w, h);
  const int kind = std::uniform_int_distribution<int>(0, 2)(rng);
  if (kind == 0) {
    // Only the red byte decides: cyan is ink, almost black (red 1) is paper.
    std::bernoulli_distribution black(std::uniform_real_distribution<double>(0.1, 0.9)(rng));
    const Colour inks[] = {kBlack, kBlack, rgb(0, 255, 255)};
    const Colour papers[] = {kWhite, kWhite, rgb(1, 0, 0)};
    for (Int32 i = 0; i < w * h; ++i) SetPixelV(box.hDC(), i % w, i / w, (black(rng) ? inks : papers)[rng() % 3]);
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

// Strokes far apart on long lines, so that scans pass over many empty spans
// of cells, and lines longer than one word of spans.
Picture longStretches(std::mt19937& rng, std::pair<Int32, Int32> size) {
  const auto [w, h] = size;
  PictureBox draw = testing::boxOf(w, h);
  std::uniform_real_distribution<float> fx(0.0F, static_cast<float>(w));
  std::uniform_real_distribution<float> fy(0.0F, static_cast<float>(h));
  for (int s = 0; s < 5; ++s) {
    draw.DrawWidth = static_cast<Int16>(std::uniform_int_distribution<int>(1, 5)(rng));
    // The first stroke near the far end of the long lines.
    const float x = s == 0 && w > h ? static_cast<float>(w - 30) : fx(rng);
    const float y = s == 0 && h > w ? static_cast<float>(h - 30) : fy(rng);
    draw.Line(x, y, x + (w > h ? 9.0F : 3.0F), y + (w > h ? 3.0F : 9.0F), kBlack);
  }
  return draw.Image();
}

TEST(Thin, MatchesTheLiteralPeelingInPixelsRecordsAndProgress) {
  // The block takes over 20 cycles: at five steps a cycle the bar meets 100 on the way.
  Art block(50, std::string(80, '.'));
  for (std::size_t y = 2; y < 48; ++y) block[y].replace(2, 76, 76, '#');
  // Far too wide to peel away: thinning stops after cycle 100.
  Art wide(302, std::string(302, '.'));
  for (std::size_t y = 1; y <= 300; ++y) wide[y].replace(1, 300, 300, '#');
  std::mt19937 rng(20240611);
  std::mt19937 strokes(7);
  const std::pair<Int32, Int32> longSides[] = {{300, 40}, {40, 300}, {4300, 14}, {14, 4300}};
  RecordTable fastTable("LineTable");
  RecordTable slowTable("LineTable");
  for (int round = 0; round < 405; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    // Every tenth picture spans more than one word of cells each way; then
    // come four long lines and the wide square.
    const Picture pic = round < 4         ? pictureOf(block)
                        : round == 404    ? pictureOf(wide)
                        : round >= 400    ? longStretches(strokes, longSides[round - 400])
                        : round % 10 == 9 ? randomPicture(rng, 150, 140)
                                          : randomPicture(rng);
    RecordingHost fastHost;
    RecordingHost slowHost;
    // Bars and tables as an earlier run may have left them.
    fastHost.bars[3].Max = slowHost.bars[3].Max = std::array{100.0F, 9.0F, 30.0F, 699.0F}[round % 4];
    fastTable.count() = slowTable.count() = round % 3 == 0 ? 7 : 0;

    const Thinned fast = thinOnBox(pic, fastTable, fastHost);
    if (round < 4) {
      ASSERT_GT(fast.cycles, 21);
    }
    if (round == 404) {
      ASSERT_EQ(fast.cycles, 100);
    }
    PictureBox box = testing::boxWith(pic);
    testing::LiteralThinning literal;
    literal.loadgrid(box, toInt16(pic->pixelWidth()), toInt16(pic->pixelHeight()), slowTable, slowHost);

    ASSERT_EQ(fast.art, artOf(box.Image())) << "input:\n" << ::testing::PrintToString(artOf(pic));
    ASSERT_EQ(fast.cycles, literal.thincycle);
    ASSERT_EQ(fastTable.count(), slowTable.count());
    for (Int32 i = 1; i <= fastTable.count(); ++i) ASSERT_EQ(fastTable[i], slowTable[i]) << i;
    ASSERT_EQ(fastHost.seen, slowHost.seen);
    ASSERT_EQ(fastHost.bars[3].Max, slowHost.bars[3].Max);
    ASSERT_EQ(fastHost.bars[3].Value, 0.0F);
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
  }
}

}  // namespace
}  // namespace quern

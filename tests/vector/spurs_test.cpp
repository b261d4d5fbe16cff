#include "vector/spurs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "table_helpers.h"
#include "vector/chains.h"
#include "vector/session.h"

namespace quern {
namespace {

using Picture = std::vector<std::string>;

// The '#' of a picture as thinning lists them, by x then y; the picture's
// top left is pixel (1, 1), away from the used-up marks at 0.
std::vector<testing::Pixel> pixelsOf(const Picture& picture) {
  std::vector<testing::Pixel> out;
  for (std::size_t y = 0; y < picture.size(); ++y) {
    for (std::size_t x = 0; x < picture[y].size(); ++x) {
      if (picture[y][x] == '#') out.emplace_back(static_cast<int>(x) + 1, static_cast<int>(y) + 1);
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

// The pixels the chains of the table still hold, drawn on a picture of the
// given size, after checking that the table is in chain form.
Picture drawnChains(const RecordTable& table, const Picture& size) {
  Picture out;
  for (const std::string& row : size) out.emplace_back(row.size(), '.');
  const Int32 n = table.count();
  EXPECT_TRUE(n == 1 || isSeparator(table[n - 1])) << "the last chain is closed";
  for (Int32 i = 1; i < n; ++i) {
    const LineRecord& r = table[i];
    if (isSeparator(r)) continue;
    EXPECT_LE(std::max(std::abs(r.x1 - r.x2), std::abs(r.y1 - r.y2)), 1.0F) << "record " << i;
    const LineRecord& next = table[i + 1];
    if (!isSeparator(next)) {
      EXPECT_TRUE(next.x1 == r.x2 && next.y1 == r.y2) << "record " << i << " joins the next";
    }
    for (const auto& [x, y] : {std::pair{r.x1, r.y1}, std::pair{r.x2, r.y2}}) {
      out.at(static_cast<std::size_t>(y) - 1).at(static_cast<std::size_t>(x) - 1) = '#';
    }
  }
  return out;
}

struct Pruned {
  Session s;
  Int32 removed = 0;
  std::vector<LineRecord> chained;  // records 0..60 as chain assembly left them
  Pruned(const Picture& picture, Int32 minBranch, Int32 minChain) {
    FractionProgress progress;
    std::mt19937 rng(7);
    testing::fillLeftovers(s.LineTable, 60, rng);
    testing::put(s.LineTable, testing::listing(pixelsOf(picture)));
    BuildChains(s, progress);
    chained = testing::records(s.LineTable, 0, 60);
    removed = pruneSpurs(s.LineTable, minBranch, minChain);
  }
};

// Rows of a picture joined by '/'.
Picture rows(const std::string& joined) {
  Picture out;
  std::istringstream in(joined);
  for (std::string row; std::getline(in, row, '/');) out.push_back(row);
  return out;
}

TEST(PruneSpurs, SpursGoAndRealLinesStay) {
  struct Case {
    const char* name;
    Int32 minBranch;
    Int32 minChain;
    std::string before;
    std::string after;
    int chains;  // a line a spur no longer splits is one chain again
  };
  const std::string stem = "#.../#.../#.../#.../#.../#.../";
  const std::string bar = "#...#/#...#/#...#/#...#/#...#/#...#/";
  const std::string corner =
      "...#........../...#........../...#........../...#........../...#........../"
      "...#........../...#........../...###########/";
  const Case cases[] = {
      {"T: a short stem the walk took into the left arm's chain", 5, 0,
       "..........#........./..........#........./..........#........./####################",
       "..................../..................../..................../####################", 1},
      {"T: a short branch that is a chain of its own", 5, 0, stem + "####/" + stem, stem + "#.../" + stem, 1},
      {"corner blob: the diagonal spur goes, the corner pixel stays", 5, 0, corner + "..#.........../.#............",
       corner + "............../..............", 1},
      {"L corner whose arms are two chains: a short arm is no spur", 5, 0, "####/" + stem, "####/" + stem, 2},
      {"a short bar between two junctions stays", 5, 0, bar + "#####/" + bar, bar + "#####/" + bar, 3},
      {"a Y on a stem: one twig goes, which leaves the stem and the other twig a spur", 8, 0,
       ".........#...#........../..........#.#.........../...........#............/...........#............/"
       "########################",
       "......................../......................../......................../......................../"
       "########################",
       1},
      {"a short line on its own is no spur", 50, 0, "######", "######", 1},
      {"spurs of one pixel at limits of one", 1, 1,
       "..........#........./..........#........./####################/#...#...............",
       "..........#........./..........#........./####################/#...#...............", 2},
      {"specks touching nothing go; longer lines and short ones that touch stay", 0, 4,
       "#.......####/###........./#.........../#.....###...", "#.......####/###........./#.........../#...........", 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Picture before = rows(c.before);
    const Picture after = rows(c.after);
    const Pruned p(before, c.minBranch, c.minChain);
    EXPECT_EQ(drawnChains(p.s.LineTable, after), after);
    const auto records = testing::records(p.s.LineTable, 1, p.s.LineTable.count());
    EXPECT_EQ(std::count_if(records.begin(), records.end(), isSeparator), c.chains);
    EXPECT_EQ(p.removed, static_cast<Int32>(pixelsOf(before).size() - pixelsOf(after).size()));
    if (p.removed == 0) {
      EXPECT_EQ(testing::records(p.s.LineTable, 0, 60), p.chained) << "the table bit for bit";
    }
  }
}

TEST(PruneSpurs, KeepsTheEmptyFirstPolylineAndTheRecordPastTheLastSeparator) {
  // A lone first pixel leaves a separator in record 1; the speck on the right goes.
  Session s;
  FractionProgress progress;
  testing::put(s.LineTable, testing::listing(pixelsOf({"#.........", "..........", "..#####..#", ".........#"})));
  s.ChainTable[9] = testing::segment(7, 7, 8, 8);  // chain assembly carries it over
  BuildChains(s, progress);
  ASSERT_EQ(s.LineTable.count(), 9);
  EXPECT_EQ(pruneSpurs(s.LineTable, 0, 3), 2);
  EXPECT_EQ(s.LineTable.count(), 7);
  EXPECT_TRUE(isSeparator(s.LineTable[1]));
  EXPECT_TRUE(isSeparator(s.LineTable[6]));
  EXPECT_EQ(s.LineTable[7], testing::segment(7, 7, 8, 8));
}

}  // namespace
}  // namespace quern

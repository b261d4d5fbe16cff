#include "vector/chains.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "literal_passes.h"
#include "table_helpers.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::listPixels;
using testing::Pixel;
using testing::records;
using testing::segment;
using testing::separator;

std::vector<Pixel> sortedAsThinLists(std::vector<Pixel> pixels) {
  std::sort(pixels.begin(), pixels.end());
  return pixels;
}

TEST(IsNeighbour, TouchesOnlyTheEightSurroundingLivePixels) {
  struct Case {
    float ax, ay, bx, by;
    bool expected;
  };
  const Case cases[] = {
      {5, 5, 6, 6, true},   {5, 5, 4, 5, true},  {5, 5, 5, 5, false},    // a point is not its own neighbour
      {5, 5, 7, 5, false},  {5, 5, 5, 3, false}, {0, 5, 1, 5, false},    // used-up tail
      {5, 5, 5, 0, false},  {1, 1, 0, 0, false}, {-1, 5, -1, 4, false},  // separator tail
      {5, -1, 5, -2, true},                                              // only x marks a separator
  };
  for (const Case& c : cases) {
    EXPECT_EQ(IsNeighbour(c.ax, c.ay, c.bx, c.by), c.expected) << c.ax << "," << c.ay << " / " << c.bx << "," << c.by;
  }
}

struct ChainCase {
  const char* name;
  std::vector<Pixel> listing;
  std::vector<LineRecord> expected;  // records 1..count of LineTable afterwards
};

TEST(BuildChains, GivesTheChainsOfTheWalkInTableOrder) {
  const ChainCase cases[] = {
      {"stroke from its left end",
       {{3, 2}, {4, 2}, {5, 3}, {6, 3}},
       {segment(3, 2, 4, 2), segment(4, 2, 5, 3), segment(5, 3, 6, 3), separator(), segment(0, 0, 0, 0)}},
      {"plus sign: diagonal into the upper arm, centre down, right arm alone",
       sortedAsThinLists({{3, 5}, {4, 5}, {5, 3}, {5, 4}, {5, 5}, {5, 6}, {5, 7}, {6, 5}, {7, 5}}),
       {segment(3, 5, 4, 5), segment(4, 5, 5, 4), segment(5, 4, 5, 3), separator(), segment(5, 5, 5, 6),
        segment(5, 6, 5, 7), separator(), segment(6, 5, 7, 5), separator(), segment(0, 0, 0, 0)}},
      {"corner contact links", {{2, 2}, {3, 3}}, {segment(2, 2, 3, 3), separator(), segment(0, 0, 0, 0)}},
      {"two lone pixels: separator first, the second is the record past it",
       {{2, 2}, {4, 2}},
       {separator(), segment(4, 2, 0, 0)}},
      {"column 0 starts the first chain but links nowhere",
       {{0, 5}, {1, 5}, {2, 5}, {5, 0}},
       {separator(), segment(1, 5, 2, 5), separator(), segment(0, 0, 0, 0)}},
      {"empty listing keeps record 1", {}, {segment(0, 0, 0, 0)}},
  };
  for (const ChainCase& c : cases) {
    SCOPED_TRACE(c.name);
    Session s;
    QuietHost host;
    listPixels(s.LineTable, c.listing);
    BuildChains(s, host);
    const auto n = static_cast<Int32>(c.expected.size());
    EXPECT_EQ(s.LineTable.count(), n);
    EXPECT_EQ(s.ChainTable.count(), n);
    EXPECT_EQ(records(s.LineTable, 1, n), c.expected);
    EXPECT_EQ(records(s.ChainTable, 1, n), c.expected);
    EXPECT_EQ(host.bars[5].Value, 0.0F);
    EXPECT_EQ(host.bars[5].Max, c.listing.empty() ? 100.0F : static_cast<float>(c.listing.size()));
  }
}

TEST(BuildChains, RunAgainOnChainsDropsTheSeparatorsAndShortensEachChain) {
  Session s;
  QuietHost host;
  listPixels(s.LineTable, {{2, 2}, {3, 2}, {4, 2}, {5, 2}, {6, 2}});
  BuildChains(s, host);
  ASSERT_EQ(s.LineTable.count(), 6);
  BuildChains(s, host);
  // The last pixel lived only in x2, y2; the old separator starts a chain of
  // its own, is dropped as a lone pixel and is left as the record past the end.
  EXPECT_EQ(s.LineTable.count(), 5);
  EXPECT_EQ(records(s.LineTable, 1, 5), (std::vector<LineRecord>{segment(2, 2, 3, 2), segment(3, 2, 4, 2),
                                                                 segment(4, 2, 5, 2), separator(), separator()}));
}

TEST(BuildChains, RefusesAListingPastTheTablesWithoutTouchingThem) {
  Session s;
  QuietHost host;
  s.LineTable.count() = kMaxChainPixels + 1;
  s.LineTable[1] = segment(7, 7, 0, 0);
  s.ChainTable.count() = 42;
  EXPECT_THROW(BuildChains(s, host), LimitError);
  EXPECT_EQ(s.LineTable[1], segment(7, 7, 0, 0));
  EXPECT_EQ(s.ChainTable.count(), 42);
}

// Both versions on the same tables must leave identical tables. The pair of
// sessions is reused from trial to trial: a fresh one costs three full tables.
struct Twins {
  Session fast;
  Session slow;
  QuietHost host;

  void expectSameAsLiteral(const std::vector<LineRecord>& listing, std::mt19937& rng, bool twice) {
    const auto n = static_cast<Int32>(listing.size());
    testing::fillLeftovers(fast.ChainTable, n + 2, rng);
    for (Int32 i = 1; i <= n + 2; ++i) {
      slow.ChainTable[i] = fast.ChainTable[i];
      fast.LineTable[i] = slow.LineTable[i] = i <= n ? listing[static_cast<std::size_t>(i - 1)] : LineRecord{};
    }
    fast.LineTable.count() = slow.LineTable.count() = n;
    for (int run = 0; run < (twice ? 2 : 1); ++run) {
      BuildChains(fast, host);
      testing::literalBuildChains(slow.LineTable, slow.ChainTable);
      ASSERT_EQ(fast.LineTable.count(), slow.LineTable.count());
      ASSERT_EQ(fast.ChainTable.count(), slow.ChainTable.count());
      ASSERT_EQ(records(fast.LineTable, 1, n + 2), records(slow.LineTable, 1, n + 2));
      ASSERT_EQ(records(fast.ChainTable, 1, n + 2), records(slow.ChainTable, 1, n + 2));
    }
  }
};

std::vector<LineRecord> asListing(const std::vector<Pixel>& pixels) {
  std::vector<LineRecord> out;
  for (const auto& [x, y] : pixels) out.push_back(segment(static_cast<float>(x), static_cast<float>(y), 0, 0));
  return out;
}

TEST(BuildChains, MatchesTheLiteralWalkOnRandomListings) {
  std::mt19937 rng(20261122);
  Twins twins;
  for (int trial = 0; trial < 3000; ++trial) {
    SCOPED_TRACE(trial);
    const int side = 2 + static_cast<int>(rng() % 14);
    const double density = 0.15 + 0.8 * static_cast<double>(rng() % 100) / 100.0;
    std::vector<Pixel> pixels;
    for (int x = 0; x < side; ++x) {
      for (int y = 0; y < side; ++y) {
        if (static_cast<double>(rng() % 1000) / 1000.0 < density) pixels.emplace_back(x, y);
      }
    }
    // Mostly thin's order; some shuffled, some with repeats, as a table
    // filled by hand or left over could be.
    if (trial % 5 == 3) std::shuffle(pixels.begin(), pixels.end(), rng);
    if (trial % 7 == 4 && !pixels.empty()) pixels.push_back(pixels[rng() % pixels.size()]);
    twins.expectSameAsLiteral(asListing(pixels), rng, trial % 3 == 0);
  }
}

TEST(BuildChains, MatchesTheLiteralWalkOnOddValues) {
  // Separators, halves, negatives and values past the exact float range take
  // the slow road of the index; the picks must not change.
  std::mt19937 rng(7);
  Twins twins;
  const float values[] = {-2, -1, -1, 0.5F, 1, 1.5F, 2, 2, 3, 16777216.0F, 16777218.0F, 3e9F};
  for (int trial = 0; trial < 1500; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<LineRecord> listing(rng() % 30);
    for (auto& r : listing) r = segment(values[rng() % 12], values[rng() % 12], 0, 0);
    twins.expectSameAsLiteral(listing, rng, trial % 2 == 0);
  }
}

TEST(BuildChains, MatchesTheLiteralWalkOnLongStrokesAndRings) {
  std::mt19937 rng(3);
  Twins twins;
  std::set<Pixel> drawing;
  for (int k = 1; k < 60; ++k) drawing.insert({k, 1 + k / 3});                  // a shallow line
  for (int k = 1; k < 50; ++k) drawing.insert({30, k});                         // crossing it
  for (int a = 0; a < 40; ++a) drawing.insert({80 + a % 10, 10 + a / 10 * 3});  // dashes
  for (int k = 0; k < 16; ++k) {                                                // a diamond ring
    drawing.insert({100 + k, 40 + k});
    drawing.insert({100 + k, 72 - k});
    drawing.insert({132 - k, 40 + k});
    drawing.insert({132 - k, 72 - k});
  }
  twins.expectSameAsLiteral(asListing({drawing.begin(), drawing.end()}), rng, true);
}

}  // namespace
}  // namespace quern

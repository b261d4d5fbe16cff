#include "processing/thinning.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "processing/thin_cells.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace quern {

namespace {

using thin_cells::cellAt;
using thin_cells::seek;

constexpr Int16 ringOf(RingCells ring) {
  ring[1][1] = 0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      if (ring[i][j] != 1) continue;
      ring[i][j] = 0;
      bool alone = true;
      for (int u = (i > 0 ? i - 1 : 0); u <= (i < 2 ? i + 1 : 2); ++u) {
        for (int v = (j > 0 ? j - 1 : 0); v <= (j < 2 ? j + 1 : 2); ++v) {
          if (ring[u][v] == 1) alone = false;
        }
      }
      ring[i][j] = 1;
      if (alone) return 0;
    }
  }
  return 1;
}

// Neighbour k of the ring sits at bit k of a mask, in this order of (i, j).
constexpr int kRingI[8] = {0, 1, 2, 0, 2, 0, 1, 2};
constexpr int kRingJ[8] = {0, 0, 0, 1, 1, 2, 2, 2};

// ringtest for every one of the 256 neighbourhoods, worked out once.
constexpr std::array<std::uint8_t, 256> kRingTable = [] {
  std::array<std::uint8_t, 256> table{};
  for (int mask = 0; mask < 256; ++mask) {
    RingCells ring{};
    for (int k = 0; k < 8; ++k) ring[kRingI[k]][kRingJ[k]] = static_cast<Int16>((mask >> k) & 1);
    table[static_cast<std::size_t>(mask)] = static_cast<std::uint8_t>(ringOf(ring));
  }
  return table;
}();

// One column or row of a pass: cells 1 to length - 1, cell 0 and cell
// `length` (beyond the picture) being read only. `armed` carries over from
// line to line. A cell that may be peeled starts a run of set cells and faces
// a clear cell outward, which is the cell scanned just before it; so the scan
// hops from run to run instead of visiting every cell.
template <bool Backward, typename TryPeel>
bool scanLine(const std::uint64_t* line, Int32 length, bool& armed, TryPeel&& tryPeel) {
  constexpr Int32 step = Backward ? -1 : 1;
  const Int32 stop = Backward ? 0 : length;
  Int32 pos = Backward ? length - 1 : 1;
  bool peeled = false;
  while (pos != stop) {
    if (!armed) {
      pos = seek<Backward>(line, pos, stop, 0);
      if (pos == stop) break;
      armed = true;
      pos += step;
      continue;
    }
    pos = seek<Backward>(line, pos, stop, 1);
    if (pos == stop) break;
    const bool took = !cellAt(line, pos - step) && tryPeel(pos);
    peeled = peeled || took;
    // The rest of the run faces a set cell outward, so the next chance is
    // past its end; a removal disarms the scan until then.
    pos = seek<Backward>(line, pos + step, stop, 0);
    if (pos == stop) {
      armed = !took;
      break;
    }
    armed = true;
    pos += step;
  }
  return peeled;
}

// One step of PB(3), never past its Max.
void progressStep(ProgressBar& bar, float below) {
  if (bar.Value < below) bar.Value = std::min(bar.Value + 1.0F, bar.Max);
}

}  // namespace

Int16 ringtest(RingCells ringcells) {
  return ringOf(ringcells);
}

bool tooLargeForThinning(Int32 width, Int32 height, Int32 limit) {
  return width > limit || height > limit;
}

std::string thinRefusalMessage(ThinOutcome outcome, Int32 width, Int32 height, long long linePixels, long long limit) {
  if (outcome == ThinOutcome::TooLarge) {
    return "Image too large to thin: " + std::to_string(width) + " by " + std::to_string(height) +
           " pixels. Thinning takes images of up to " + std::to_string(limit) + " by " + std::to_string(limit) +
           " pixels.";
  }
  return "Too many line pixels to list: thinning left " + std::to_string(linePixels) + ", and the line table takes " +
         std::to_string(limit) + ". Please try a smaller scale or a smaller image.";
}

ThinOutcome ThinGrid::loadgrid(PictureBox& picture, Int16 width, Int16 height, RecordTable& LineTable,
                               Progress& progress, Int32 limit) {
  if (!begin(width, height, limit)) return ThinOutcome::TooLarge;
  loadRows(picture.bits(), picture.pixelWidth(), picture.pixelHeight());
  return finish(&picture, LineTable, progress);
}

void ThinGrid::loadRows(const Colour* bits, Int32 width, Int32 height) {
  // Read row by row, as the bitmap lies.
  const Int32 rows = std::min<Int32>(gridheight_, height);
  for (Int32 y = 0; y < rows; ++y) loadRow(y, bits + static_cast<std::size_t>(y) * width, width);
}

bool ThinGrid::begin(Int16 width, Int16 height, Int32 limit) {
  if (tooLargeForThinning(width, height, limit)) return false;
  if (width < 0 || height < 0) throw SurfaceError("Invalid picture size for thinning");
  gridwidth_ = width;
  gridheight_ = height;
  columnWords_ = thin_cells::wordsFor(height + 1);
  rowWords_ = thin_cells::wordsFor(width + 1);
  byColumn_.assign(columnWords_ * (static_cast<std::size_t>(width) + 1), 0);
  byRow_.assign(rowWords_ * (static_cast<std::size_t>(height) + 1), 0);
  foreground_ = 0;
  tick_ = 0;
  columnChanged_.assign(static_cast<std::size_t>(width) + 1, 0);
  rowChanged_.assign(static_cast<std::size_t>(height) + 1, 0);
  for (std::vector<Memo>& m : memo_) m.assign(static_cast<std::size_t>(std::max(width, height)) + 1, Memo{});
  return true;
}

void ThinGrid::loadRow(Int32 y, const Colour* pixels, Int32 count) {
  if (y < 0 || y >= gridheight_) return;
  std::uint64_t* cells = row(y);
  // Counted in a local: a store through the word pointer could alias the member.
  const Int32 cols = std::min<Int32>(gridwidth_, count);
  Int32 found = 0;
  for (Int32 x0 = 0; x0 < cols; x0 += 64) {
    const Int32 n = std::min<Int32>(64, cols - x0);
    const Colour* in = pixels + x0;
    std::uint64_t word = 0;
    Int32 k = 0;
#ifdef __SSE2__
    // Four pixels a step: red bytes compared with 0, a bit each.
    const __m128i red = _mm_set1_epi32(0xFF);
    const __m128i zero = _mm_setzero_si128();
    for (; k + 4 <= n; k += 4) {
      const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
      const auto ink =
          static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(c, red), zero))));
      word |= static_cast<std::uint64_t>(ink) << k;
    }
#endif
    for (; k < n; ++k) {
      if (redOf(in[k]) == 0) word |= std::uint64_t{1} << k;
    }
    cells[x0 >> 6] = word;
    found += std::popcount(word);
  }
  foreground_ += found;
}

ThinOutcome ThinGrid::finish(PictureBox* picture, RecordTable& LineTable, Progress& progress) {
  // The column copy, 64 by 64 cells at a time: a block of rows turned over.
  const Int32 width = gridwidth_;
  const Int32 height = gridheight_;
  std::uint64_t block[64];
  for (Int32 x0 = 0; x0 < width; x0 += 64) {
    const Int32 x1 = std::min<Int32>(x0 + 64, width);
    const std::size_t word = static_cast<std::size_t>(x0) >> 6;
    for (Int32 y0 = 0; y0 < height; y0 += 64) {
      const Int32 rows = std::min<Int32>(64, height - y0);
      for (Int32 r = 0; r < 64; ++r) block[r] = r < rows ? row(y0 + r)[word] : 0;
      thin_cells::transpose64(block);
      for (Int32 x = x0; x < x1; ++x) column(x)[static_cast<std::size_t>(y0) >> 6] = block[x - x0];
    }
    for (Int32 x = x0; x < x1; ++x) progress.yield();
  }
  return thingrid(picture, LineTable, progress);
}

ThinOutcome ThinGrid::thingrid(PictureBox* picture, RecordTable& LineTable, Progress& progress) {
  progress.bar().Value = 0.0F;
  thincycle_ = 0;
  if (gridwidth_ < kThinMinWidth) return ThinOutcome::TooNarrow;

  bool live[4] = {true, true, true, true};
  for (Int16 cycle = 1; cycle <= kThinMaxCycles; ++cycle) {
    thincycle_ = cycle;
    bool peeled[4] = {false, false, false, false};
    for (Side side : {kTop, kBottom, kLeft, kRight}) {
      ProgressBar& bar = progress.bar();
      progressStep(bar, side == kLeft ? bar.Max : 100.0F);
      if (live[side]) peeled[side] = peelPass(side, progress);
    }
    progressStep(progress.bar(), 100.0F);
    // A side that took nothing this cycle is retired for the rest of the run.
    bool anyLive = false;
    for (int side = 0; side < 4; ++side) {
      live[side] = live[side] && peeled[side];
      anyLive = anyLive || live[side];
    }
    if (!anyLive) break;
  }

  // The listing must leave chain assembly one record spare.
  const long long listed = static_cast<long long>(LineTable.count()) + foreground_;
  const Int32 most = LineTable.lastRecord() - 1;
  if (listed > most && !(listed < kMaxPixelsListed && LineTable.reserve(static_cast<Int32>(listed) + 1))) {
    progress.bar().Value = 0.0F;
    return ThinOutcome::TooManyPixels;
  }
  progress.bar().Max = static_cast<float>(gridwidth_ - 1);
  if (picture) paint(*picture);
  list(LineTable, progress);
  return ThinOutcome::Listed;
}

bool ThinGrid::peelPass(Side side, Progress& progress) {
  const bool byColumns = side == kTop || side == kBottom;
  const Int32 lines = byColumns ? gridwidth_ : gridheight_;
  const Int32 length = byColumns ? gridheight_ : gridwidth_;
  const std::size_t stride = byColumns ? columnWords_ : rowWords_;
  std::uint64_t* grid = byColumns ? byColumn_.data() : byRow_.data();
  const std::vector<std::int64_t>& changed = byColumns ? columnChanged_ : rowChanged_;
  std::vector<Memo>& memo = memo_[side];

  bool armed = true;  // once per pass: a removal late in one line disarms the start of the next
  bool peeled = false;
  bool scannedLast = false;  // whether line l - 1 was just scanned, so in cache
  for (Int32 l = 1; l < lines; ++l) {
    const auto at = static_cast<std::size_t>(l);
    Memo& m = memo[at];
    if (m.scannedAt > changed[at] && m.armedIn == armed) {
      armed = m.armedOut;
      scannedLast = false;
      progress.yield();
      continue;
    }
    const std::int64_t now = ++tick_;
    const bool armedIn = armed;
    const std::uint64_t* line = grid + at * stride;
    // The ring tests read the lines on both sides at scattered places; on a
    // large grid those lines are out of cache unless asked for ahead.
    for (std::size_t b = 0; b < stride; b += 8) {
      __builtin_prefetch(line + stride + b);
      if (!scannedLast) __builtin_prefetch(line - stride + b);
    }
    scannedLast = true;
    const auto tryPeel = [&](Int32 pos) {
      if (!mayGo(line, pos, stride)) return false;
      clear(byColumns ? l : pos, byColumns ? pos : l);
      return true;
    };
    const bool took = side == kTop || side == kLeft ? scanLine<false>(line, length, armed, tryPeel)
                                                    : scanLine<true>(line, length, armed, tryPeel);
    m = took ? Memo{} : Memo{now, armedIn, armed};
    peeled = peeled || took;
    progress.yield();
  }
  return peeled;
}

// The ring test read from whichever copy of the grid is being scanned: the
// test is the same for a neighbourhood and its mirror across the diagonal.
bool ThinGrid::mayGo(const std::uint64_t* line, Int32 pos, std::size_t stride) {
  const unsigned before = thin_cells::threeCells(line - stride, pos);
  const unsigned centre = thin_cells::threeCells(line, pos);
  const unsigned after = thin_cells::threeCells(line + stride, pos);
  const unsigned mask = before | (centre & 1U) << 3 | (centre >> 2) << 4 | after << 5;
  return kRingTable[mask] != 0;
}

void ThinGrid::clear(Int32 x, Int32 y) {
  columnChanged_[static_cast<std::size_t>(x)] = tick_;
  rowChanged_[static_cast<std::size_t>(y)] = tick_;
  thin_cells::clearCell(column(x), y);
  thin_cells::clearCell(row(y), x);
  --foreground_;
}

void ThinGrid::paint(PictureBox& picture) const {
  // The box is the scratch copy that nobody shows before the commit, so it is
  // painted row by row, straight into its bitmap, ahead of the listing.
  const Int32 pw = picture.pixelWidth();
  const Int32 ph = picture.pixelHeight();
  // A grid the size of the bitmap paints every pixel: no need to keep what it held.
  Colour* bits = pw == gridwidth_ && ph == gridheight_ ? picture.overwriteBits() : picture.mutableBits();
  for (Int32 y = 0; y < std::min<Int32>(gridheight_, ph); ++y) {
    Colour* pixels = bits + static_cast<std::size_t>(y) * pw;
    const std::uint64_t* cells = row(y);
    for (Int32 x = 0; x < std::min<Int32>(gridwidth_, pw); ++x) pixels[x] = cellAt(cells, x) ? kBlack : kWhite;
  }
  picture.bitsChanged();
}

void ThinGrid::list(RecordTable& LineTable, Progress& progress) const {
  for (Int32 x = 0; x < gridwidth_; ++x) {
    const std::uint64_t* cells = column(x);
    for (Int32 y = seek<false>(cells, 0, gridheight_, 1); y < gridheight_;
         y = seek<false>(cells, y + 1, gridheight_, 1)) {
      const Int32 n = add32(LineTable.count(), 1);
      LineTable.count() = n;
      // Beyond the table a cell is counted, not stored.
      if (LineTable.holds(n)) {
        LineTable[n].x1 = toFloat32(x);
        LineTable[n].y1 = toFloat32(y);
      }
    }
    progress.bar().Value = static_cast<float>(x);
    progress.yield();
  }
  progress.bar().Value = 0.0F;
}

}  // namespace quern

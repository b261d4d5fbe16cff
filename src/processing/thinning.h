#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/line_tables.h"
#include "base/numbers.h"
#include "base/progress.h"
#include "base/zeroed_memory.h"
#include "surface/picture_box.h"

namespace quern {

// Grid indices run from 0 to 5600: the peeling reads one cell beyond the
// picture on the right and below, so a picture may be up to 5600 pixels.
inline constexpr Int32 kThinGridLimit = 5600;
inline constexpr Int16 kThinMinWidth = 10;
inline constexpr Int16 kThinMaxCycles = 100;
// The listing must leave one record spare for chain assembly: a table of the
// default size takes this many listed pixels.
inline constexpr Int32 kThinMaxListed = RecordTable::kLastRecord - 1;
// However far a table may grow, a count stays a 32-bit number.
inline constexpr long long kMaxPixelsListed = 2000000000LL;

// A cell's 3 by 3 neighbourhood: ringcells[i][j] is grid cell (x + i - 1, y + j - 1).
using RingCells = std::array<std::array<Int16, 3>, 3>;

// 1 when the centre cell may go: every set neighbour touches another set
// neighbour (diagonals included, the centre not counting). Connected groups
// are not counted, so a cell between two separate pairs may go.
Int16 ringtest(RingCells ringcells);

// A picture above the grid limit is refused before its cells are loaded.
bool tooLargeForThinning(Int32 width, Int32 height, Int32 limit = kThinGridLimit);

enum class ThinOutcome {
  Listed,         // peeled, painted and listed
  TooNarrow,      // under 10 pixels wide: nothing peeled, painted or listed
  TooLarge,       // refused before loading: the picture exceeds the grid
  TooManyPixels,  // refused after peeling: the listing would not fit the table
  NoPicture,      // nothing to thin
};

// How a thinning run ended, with the line pixels its peeling left.
struct ThinResult {
  ThinOutcome outcome = ThinOutcome::NoPicture;
  Int32 linePixels = 0;
};

// What the user is told of a refused run: a picture of width by height
// beyond the grid limit, or a listing of linePixels beyond the records the
// line table takes; `limit` is the one that was met.
std::string thinRefusalMessage(ThinOutcome outcome, Int32 width, Int32 height, long long linePixels, long long limit);

// The working store of one thinning run: the cells of the picture plus one
// column and one row beyond it, which read as background. It is held twice,
// column by column and row by row, so that every pass scans memory in order,
// a bit a cell.
class ThinGrid {
 public:
  // Reads the picture (red byte 0 is foreground) and calls thingrid. A
  // picture above the grid limit is refused, nothing touched.
  ThinOutcome loadgrid(PictureBox& picture, Int16 width, Int16 height, RecordTable& LineTable, Progress& progress,
                       Int32 limit = kThinGridLimit);

  // loadgrid in three steps, for a caller that makes the rows itself: begin
  // sizes the grid, all background (false, nothing touched, above the grid
  // limit); loadRow reads row y from up to `count` colours, red byte 0 being
  // foreground, and loadRows a bitmap of width by height colours; finish
  // makes the column copy and calls thingrid.
  bool begin(Int16 width, Int16 height, Int32 limit = kThinGridLimit);
  void loadRow(Int32 y, const Colour* pixels, Int32 count);
  void loadRows(const Colour* bits, Int32 width, Int32 height);
  ThinOutcome finish(PictureBox* picture, RecordTable& LineTable, Progress& progress);

  // Peels, then paints the survivors black on white into `picture`, when
  // there is one, and lists them in LineTable, column by column. A listing
  // that would take the table's count past its last record but one is
  // refused before anything is painted or stored, unless the table may grow.
  ThinOutcome thingrid(PictureBox* picture, RecordTable& LineTable, Progress& progress);

  Int16 width() const { return gridwidth_; }
  Int16 height() const { return gridheight_; }

  // The last cycle run, 0 before any.
  Int16 thincycle() const { return thincycle_; }
  // Foreground cells left by the peeling so far.
  Int32 foreground() const { return foreground_; }

 private:
  enum Side { kTop, kBottom, kLeft, kRight };

  // Column x and row y of the cells, as bits (see thin_cells.h).
  std::uint64_t* column(Int32 x) { return byColumn_.data() + static_cast<std::size_t>(x) * columnWords_; }
  const std::uint64_t* column(Int32 x) const { return byColumn_.data() + static_cast<std::size_t>(x) * columnWords_; }
  std::uint64_t* row(Int32 y) { return byRow_.data() + static_cast<std::size_t>(y) * rowWords_; }
  const std::uint64_t* row(Int32 y) const { return byRow_.data() + static_cast<std::size_t>(y) * rowWords_; }
  bool peelPass(Side side, Progress& progress);
  static bool mayGo(const std::uint64_t* line, Int32 pos, std::size_t stride);
  void clear(Int32 x, Int32 y);
  void paint(PictureBox& picture) const;
  void list(RecordTable& LineTable, Progress& progress) const;

  Int16 gridwidth_ = 0;
  Int16 gridheight_ = 0;
  Int16 thincycle_ = 0;
  Int32 foreground_ = 0;
  using Cells = std::vector<std::uint64_t, PrefaultAllocator<std::uint64_t>>;
  std::size_t columnWords_ = 0;  // a column of height + 1 cells
  std::size_t rowWords_ = 0;     // a row of width + 1 cells
  Cells byColumn_;               // cell (x, y) at bit y of column(x)
  Cells byRow_;                  // cell (x, y) at bit x of row(y)

  // A scan that took nothing is remembered and skipped the next time while
  // its line and the armed state it starts in are the same: late cycles
  // change little. The neighbouring lines don't matter: a failed ring test
  // fails for as long as its cell stands, since removals only leave more
  // neighbours alone, and a lone neighbour cannot go first (the cell would
  // have to touch another of that neighbour's neighbours, which would touch
  // the lone one too).
  struct Memo {
    std::int64_t scannedAt = 0;  // 0: nothing remembered
    bool armedIn = false;
    bool armedOut = false;
  };
  std::int64_t tick_ = 0;                    // counts line scans
  std::vector<std::int64_t> columnChanged_;  // tick of the last removal in each column
  std::vector<std::int64_t> rowChanged_;
  std::vector<Memo> memo_[4];  // per side, per line
};

}  // namespace quern

#include "sheet_trace.h"

#include "base/progress.h"
#include "processing/raster_context.h"
#include "processing/raster_stages.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/session.h"

namespace quern {

namespace {
constexpr long long kLargePixels = 100LL * 1000 * 1000;
}

Picture fixedBlackWhite(const Picture& picture, Int16 threshold) {
  FractionProgress progress;
  return blackWhitePicture(picture, threshold, RasterLimits::large(kLargePixels), progress).picture;
}

std::vector<tools::SheetPolyline> traceBlackWhite(const Picture& blackWhite) {
  FractionProgress progress;
  Session session;
  session.allowGrowth();
  session.LineTable.count() = 0;
  thinPicture(blackWhite, session.LineTable, RasterLimits::large(kLargePixels), progress);
  BuildChains(session, progress);
  session.GeneralizeTolerance = 1;
  session.LastPolyBound = 0;
  NormalizePass(session, kDefaultTwipsPerPixel);

  std::vector<tools::SheetPolyline> segments;
  const RecordTable& chains = session.ChainTable;
  // The records the drawing is written from, as the DXF writer reads them.
  for (Int32 i = 1; i <= chains.count(); ++i) {
    const LineRecord& r = chains[i];
    if (isSeparator(r)) continue;
    segments.push_back({{r.x1, r.y1}, {r.x2, r.y2}});
  }
  return segments;
}

}  // namespace quern

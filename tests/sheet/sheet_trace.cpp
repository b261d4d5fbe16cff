#include "sheet_trace.h"

#include "base/host.h"
#include "imgproc/imgproc.h"
#include "processing/raster_context.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/session.h"

namespace quern {

namespace {
constexpr long long kLargePixels = 100LL * 1000 * 1000;
}

Picture fixedBlackWhite(const Picture& picture, Int16 threshold) {
  QuietHost host;
  RasterContext context(RasterLimits::large(kLargePixels));
  ImgProc control(context, &host);
  control.setPicture(picture);
  control.colnorm3(threshold);
  return control.picture();
}

std::vector<tools::SheetPolyline> traceBlackWhite(const Picture& blackWhite) {
  QuietHost host;
  RasterContext context(RasterLimits::large(kLargePixels));
  ImgProc thinned(context, &host);
  Session session;
  session.allowGrowth();
  session.LineTable.count() = 0;
  thinned.setPicture(blackWhite);
  thinned.thin(session.LineTable);
  BuildChains(session, host);
  session.GeneralizeTolerance = 1;
  session.LastPolyBound = 0;
  NormalizePass(session, host.TwipsPerPixelX());

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

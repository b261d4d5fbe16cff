#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/drawing_entities.h"
#include "base/drawing_paths.h"
#include "base/drawing_units.h"

namespace quern {

// Paths of straight segments as chains of LINE pieces, closed where the
// path is, so that they go through the same writers as fitted chains.
std::vector<FittedChain> chainsOfPaths(const std::vector<DrawingPath>& paths);

// The extents of a placed drawing, in drawing units.
struct DrawingBox {
  double minX = 0.0;
  double minY = 0.0;
  double maxX = 0.0;
  double maxY = 0.0;
};

// Chains in thinned pixels with y down moved into the drawing: multiplied by
// options.unitScale, y turned up, and with the lower left origin moved so
// that the extents start at (0, 0). Arcs keep their ends; their sweep, now
// counter-clockwise positive, changes sign with the turn of y.
std::vector<FittedChain> placeChains(const std::vector<FittedChain>& chains, const DrawingOptions& options);
DrawingBox extentsOf(const std::vector<FittedChain>& placed);

// The layer every entity of a drawing is on.
inline constexpr std::string_view kDrawingLayer = "Quern_CNC";

// A drawing of geometry only, as the text of a DXF file with CR LF lines,
// in options.dxfVersion: no template entities or blocks, the extents the
// geometry has, every layer used in the layer table. With options.polyline
// each chain of lines and arcs is one polyline (arcs as bulges), closed
// where the chain is; otherwise each piece is a LINE or an ARC. A circle is
// always a CIRCLE. Pieces without length are left out. R2000 carries the
// unit in $INSUNITS and writes LWPOLYLINE, with the handles, owners and
// objects its readers require.
std::string cadDxfText(const std::vector<FittedChain>& chains, const DrawingOptions& options);

}  // namespace quern

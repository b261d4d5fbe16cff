#pragma once

#include <string>
#include <vector>

#include "base/drawing_entities.h"
#include "base/drawing_units.h"
#include "base/line_tables.h"

namespace quern {

// The final segments of ChainTable, records 1 to its count, as an SVG
// drawing: coordinates multiplied by options.unitScale with y down as in the
// picture, a <line> for each record that has a length, or with polyline a
// <polyline> (<polygon> when closed) for each run of touching records; with
// clean, a <polyline> or <polygon> for each path as cadPaths cleans them. One
// user unit is one options.unit: the viewBox is the drawing's extent with a
// margin of one thinned pixel, and width and height are that size in the unit.
std::string svgDrawing(const RecordTable& ChainTable, const DrawingOptions& options);

// svgDrawing written to path, replaced whole or not at all. Throws FileError
// naming the file and the reason.
void writeSvgFile(const std::string& path, const RecordTable& ChainTable, const DrawingOptions& options);

// The fitted chains as SVG in the same frame: a <path> for each line (L)
// or arc (the A command, its sweep flag set for arcs that turn from +x
// towards +y, as y runs down in both) and a <circle> for each circle; with
// polyline one <path> for each chain of lines and arcs, closed with Z where
// the chain is.
std::string svgDrawing(const std::vector<FittedChain>& fitted, const DrawingOptions& options);

void writeSvgFile(const std::string& path, const std::vector<FittedChain>& fitted, const DrawingOptions& options);

}  // namespace quern

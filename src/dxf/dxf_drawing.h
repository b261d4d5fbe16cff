#pragma once

#include <string>
#include <vector>

#include "base/drawing_entities.h"
#include "base/drawing_units.h"
#include "base/line_tables.h"
#include "dxf/dxf_writer.h"

namespace quern {

// The drawing of ChainTable, records 1 to its count, in the fixed frame of
// WriteDxfFile, with every coordinate multiplied by options.unitScale (y
// still turned). Without polyline each record is a LINE, as WriteDxfFile
// writes it, separators and the record past the last one included, so the
// default options give WriteDxfFile's file byte for byte. With polyline the
// records without length are left out and each run of touching records is
// one POLYLINE (see drawingPaths). The unit itself is not written: R12 has no
// field for it.
DxfDocument dxfDrawing(const RecordTable& ChainTable, const DrawingOptions& options);

// dxfDrawing written to path as WriteDxfFile writes (replaced whole, or not at
// all). Throws FileError naming the file and the reason.
void writeDxfDrawing(const std::string& path, const RecordTable& ChainTable, const DrawingOptions& options);

// The fitted chains in the same frame: each line a LINE, each arc an ARC,
// each circle a CIRCLE, coordinates and radii multiplied by
// options.unitScale and y turned. Turning y turns the sense of every arc;
// an ARC runs counter-clockwise from its start angle to its end angle, so
// its angles are those of its two ends in the turned drawing, in the order
// that goes round counter-clockwise. With polyline each chain of lines and
// arcs is one POLYLINE whose arcs are vertex bulges, closed where the chain
// is, and a circle stays a CIRCLE.
DxfDocument dxfDrawing(const std::vector<FittedChain>& fitted, const DrawingOptions& options);

void writeDxfDrawing(const std::string& path, const std::vector<FittedChain>& fitted, const DrawingOptions& options);

}  // namespace quern

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

// The bytes of the drawing's file, CR LF lines. Without options.clean it is
// dxfDrawing's text; with it, the geometry-only drawing of cadDxfText over
// the table's paths as cadPaths cleans them for the strokes' width.
std::string dxfDrawingBytes(const RecordTable& ChainTable, const DrawingOptions& options);

// dxfDrawingBytes written to path as WriteDxfFile writes (replaced whole, or not at
// all). Throws FileError naming the file and the reason.
void writeDxfDrawing(const std::string& path, const RecordTable& ChainTable, const DrawingOptions& options);

// The fitted chains as a clean drawing (cadDxfText): each line a LINE, each
// arc an ARC (counter-clockwise once y is turned), each circle a CIRCLE, or
// with polyline each chain one polyline whose arcs are vertex bulges, in
// the DXF version and at the origin the options ask for.
void writeDxfDrawing(const std::string& path, const std::vector<FittedChain>& fitted, const DrawingOptions& options);

}  // namespace quern

#pragma once

#include <string>
#include <vector>

#include "base/drawing_paths.h"
#include "base/line_tables.h"
#include "base/numbers.h"

namespace quern {

// A 32-bit float in its shortest decimal form: whole numbers without a point,
// "-" only for negative values (so -0 is "0"), 52.5 as "52.5".
std::string dxfNumber(float v);

// One export's text, built as the file will read with a bar for each line
// end: a fixed header and tables, the blocks and the entities.
class DxfDocument {
 public:
  std::string DxfEntities;
  std::string DxfBlocks;
  Int16 DxfBlockNumber = 0;
  std::string DxfLayer = "Quern_CNC";

  // A fixed DIMENSION entity referring to the next block, and that block.
  void DxfAddDimension(const std::string& layer, float x13, float y13, float x14, float y14, float x10, float y10,
                       float x11, float y11, float angle, const std::string& kind);
  // An empty block *D<number>; moves on to the next number.
  void DxfAddBlock();
  void DxfAddLine(const std::string& layer, float x1, float y1, float z1, float x2, float y2, float z2);
  // A 2D POLYLINE with a VERTEX for each point and its SEQEND; flag 1 closes it.
  void DxfAddPolyline(const std::string& layer, const std::vector<PathPoint>& points, bool closed);
  // The same with a bulge for each vertex (the arc to the next vertex: the
  // tangent of a quarter of its angle, positive counter-clockwise); a vertex
  // of bulge 0 runs straight on and carries no group 42.
  void DxfAddPolyline(const std::string& layer, const std::vector<PathPoint>& points, const std::vector<float>& bulges,
                      bool closed);
  // An ARC counter-clockwise from startAngle to endAngle, in degrees.
  void DxfAddArc(const std::string& layer, float cx, float cy, float radius, float startAngle, float endAngle);
  void DxfAddCircle(const std::string& layer, float cx, float cy, float radius);
  static std::string DxfHeaderText();
  // The bytes of the file: the header, the blocks and the entities, each bar
  // of them a CR LF line end.
  std::string fileBytes() const;
  // Writes fileBytes(): beside the target first,
  // then renamed over it, so a failed write leaves an existing file as it
  // was. Throws FileError naming the file and the reason.
  void DxfWriteAll(const std::string& fileName) const;
};

// The name a drawing is written to: kept when it ends in ".dxf" or ".DXF",
// else ".dxf" appended.
std::string withDxfExtension(const std::string& name);

// The four fixed dimensions every drawing carries, with their blocks.
void DxfAddFixedDimensions(DxfDocument& doc);

// A LINE for each record 1 to count of the table, from (x1, -y1, 0) to
// (x2, -y2, 0), every coordinate multiplied by `scale`; separators and the
// record past the last one included.
void DxfAddTableLines(DxfDocument& doc, const RecordTable& table, double scale = 1.0);

// Writes ChainTable, records 1 to its count, as LINE entities from
// (x1, -y1, 0) to (x2, -y2, 0) after the fixed frame of four dimensions.
void WriteDxfFile(const std::string& path, const RecordTable& ChainTable);

}  // namespace quern

#include "dxf/dxf_writer.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/number_text.h"
#include "base/numbers.h"
#include "base/replace_file.h"

namespace quern {

namespace {

// The header and tables, fixed whatever the drawing holds.
constexpr std::array<std::string_view, 20> kHeaderTexts = {
    "  0|SECTION|  2|HEADER|  9",
    "$ACADVER|  1|AC1009|  9",
    "$INSBASE| 10|0.0| 20|0.0| 30|0.0|  9",
    "$EXTMIN| 10|  0| 20|  0| 30|  0|  9",
    "$EXTMAX| 10|368| 20|326| 30|0.0|  9",
    "$LIMMIN| 10|0.0| 20|0.0|  9",
    "$LIMMAX| 10|100.0| 20|100.0|  9",
    "$ORTHOMODE| 70|     1|  9",
    "$DIMSCALE| 40|8.0|  9",
    "$DIMSTYLE|  2|STANDARD|  9",
    "$FILLETRAD| 40|0.0|  9",
    "$PSLTSCALE| 70|     1|  0",
    "ENDSEC|  0",
    "SECTION|  2|TABLES|  0",
    "TABLE|  2|VPORT| 70|     2|  0|VPORT|  2|*ACTIVE| 70|     0| 10|0.0| 20|0.0| 11|1.0| 21|1.0| 12|50.0| 22|50.0| "
    "13|0.0| 23|0.0| 14|1.0| 24|1.0| 15|0.0| 25|0.0| 16|0.0| 26|0.0| 36|1.0| 17|0.0| 27|0.0| 37|0.0| 40|100.0| "
    "41|1.55| 42|50.0| 43|0.0| 44|0.0| 50|0.0| 51|0.0| 71|     0| 72|   100| 73|     1| 74|     1| 75|     0| 76|     "
    "0| 77|     0| 78|     0|  0|ENDTAB|  0",
    "TABLE|  2|LTYPE| 70|     1|  0|LTYPE|  2|CONTINUOUS|  70|     0|  3|Solid Line| 72|    65| 73|     0| 40|0.0|  "
    "0|ENDTAB|  0",
    "TABLE|  2|LAYER| 70|     3|  0|LAYER|  2|0| 70|     0| 62|     7|  6|CONTINUOUS|  0|LAYER|  2|CLOCK_FACE| 70|     "
    "0| 62|     7|  6|CONTINUOUS|  0|LAYER|  2|DEFPOINTS| 70|     0| 62|     7| 6|CONTINUOUS|  0|ENDTAB|  0",
    "TABLE|  2|VIEW| 70|     0|  0|ENDTAB|  0",
    "TABLE|  2|DIMSTYLE| 70|     1|  0|DIMSTYLE|  2|STANDARD| 70|     0|  3||  4||  5||  6||  7|| 40|1.0| 41|0.18| "
    "42|0.0625| 43|0.38| 44|0.18| 45|0.0| 46|0.0| 47|0.0| "
    "48|0.0|140|0.18|141|0.09|142|0.0|143|25.4|144|1.0|145|0.0|146|1.0|147|0.09| 71|     0| 72|     0| 73|     1| 74|  "
    "   1| 75|     0| 76|     0| 77|     0| 78|     0|170|     0|171|     2|172|     0|173|     0|174|     0|175|     "
    "0|176|     0|177|     0|178|     0|  0|ENDTAB|  0",
    "ENDSEC|  0|",
};

constexpr std::string_view kDimensionStyle =
    "1001|ACAD|1000|DSTYLE|1002|{|1070|   287|1070|     3|1070|    40|1040|8.0|1070|   271|1070|     3|1070|   "
    "272|1070|     3|1070|   279|1070|     0|1002|}|  0|";

// The text before a value, then the value.
void appendField(std::string& out, std::string_view before, float v) {
  out += before;
  appendDecimal(out, v);
}

}  // namespace

std::string dxfNumber(float v) {
  std::string out;
  appendDecimal(out, v);
  return out;
}

void DxfDocument::DxfAddDimension(const std::string& layer, float x13, float y13, float x14, float y14, float x10,
                                  float y10, float x11, float y11, float angle, const std::string& kind) {
  std::string& e = DxfEntities;
  e += "DIMENSION|  8|";
  e += layer;
  e += "|  6|CONTINUOUS|  2|*D";
  e += std::to_string(DxfBlockNumber);
  appendField(e, "| 10|", x10);
  appendField(e, "| 20|", y10);
  appendField(e, "| 30|0.0| 11|", x11);
  appendField(e, "| 21|", y11);
  e += "| 31|0.0| 70|     0";
  if (kind != "None") {
    e += "|  1|";
    e += kind;
  }
  appendField(e, "| 13|", x13);
  appendField(e, "| 23|", y13);
  appendField(e, "| 33|0.0| 14|", x14);
  appendField(e, "| 24|", y14);
  e += "| 34|0.0";
  if (angle != 0.0F) appendField(e, "| 50|", angle);
  e += '|';
  e += kDimensionStyle;
  DxfAddBlock();
}

void DxfDocument::DxfAddBlock() {
  const std::string number = std::to_string(DxfBlockNumber);
  DxfBlocks += "BLOCK|  8|0|  2|*D";
  DxfBlocks += number;
  DxfBlocks += "|70|     1| 10|0.0| 20|0.0| 30|0.0|  3|*D";
  DxfBlocks += number;
  DxfBlocks += "|  1||0|ENDBLK|  8|0|0|";
  DxfBlockNumber = add16(DxfBlockNumber, 1);
}

void DxfDocument::DxfAddLine(const std::string& layer, float x1, float y1, float z1, float x2, float y2, float z2) {
  std::string& e = DxfEntities;
  e += "LINE|8|";
  e += layer;
  appendField(e, "| 10|", x1);
  appendField(e, "| 20|", y1);
  appendField(e, "| 30|", z1);
  appendField(e, "| 11|", x2);
  appendField(e, "| 21|", y2);
  appendField(e, "| 31|", z2);
  e += "|0|";
}

void DxfDocument::DxfAddPolyline(const std::string& layer, const std::vector<PathPoint>& points, bool closed) {
  DxfAddPolyline(layer, points, std::vector<float>(points.size(), 0.0F), closed);
}

void DxfDocument::DxfAddPolyline(const std::string& layer, const std::vector<PathPoint>& points,
                                 const std::vector<float>& bulges, bool closed) {
  std::string& e = DxfEntities;
  e += "POLYLINE|  8|";
  e += layer;
  e += "| 66|     1| 10|0.0| 20|0.0| 30|0.0| 70|";
  e += closed ? "     1" : "     0";
  e += "|  0|";
  for (std::size_t k = 0; k < points.size(); ++k) {
    e += "VERTEX|  8|";
    e += layer;
    appendField(e, "| 10|", points[k].x);
    appendField(e, "| 20|", points[k].y);
    e += "| 30|0.0";
    if (k < bulges.size() && bulges[k] != 0.0F) appendField(e, "| 42|", bulges[k]);
    e += "|  0|";
  }
  e += "SEQEND|  8|";
  e += layer;
  e += "|  0|";
}

void DxfDocument::DxfAddArc(const std::string& layer, float cx, float cy, float radius, float startAngle,
                            float endAngle) {
  std::string& e = DxfEntities;
  e += "ARC|  8|";
  e += layer;
  appendField(e, "| 10|", cx);
  appendField(e, "| 20|", cy);
  appendField(e, "| 30|0.0| 40|", radius);
  appendField(e, "| 50|", startAngle);
  appendField(e, "| 51|", endAngle);
  e += "|  0|";
}

void DxfDocument::DxfAddCircle(const std::string& layer, float cx, float cy, float radius) {
  std::string& e = DxfEntities;
  e += "CIRCLE|  8|";
  e += layer;
  appendField(e, "| 10|", cx);
  appendField(e, "| 20|", cy);
  appendField(e, "| 30|0.0| 40|", radius);
  e += "|  0|";
}

std::string DxfDocument::DxfHeaderText() {
  std::string out;
  for (std::size_t k = 0; k < kHeaderTexts.size(); ++k) {
    if (k != 0) out += '|';
    out += kHeaderTexts[k];
  }
  return out;
}

std::string DxfDocument::fileBytes() const {
  const std::string header = DxfHeaderText();
  const std::string_view parts[] = {header,      "SECTION|  2|BLOCKS|  0|",
                                    DxfBlocks,   "ENDSEC|  0|SECTION|  2|ENTITIES|  0|",
                                    DxfEntities, "ENDSEC|  0|EOF|"};
  // Each bar becomes two bytes: the size is known before a byte is copied.
  // Bars come every few bytes, so a plain loop beats a search for each.
  std::size_t size = 0;
  for (const std::string_view part : parts) {
    size += part.size() + static_cast<std::size_t>(std::count(part.begin(), part.end(), '|'));
  }
  std::string lines(size, '\0');
  char* to = lines.data();
  for (const std::string_view part : parts) {
    for (const char c : part) {
      if (c == '|') {
        *to++ = '\r';
        *to++ = '\n';
      } else {
        *to++ = c;
      }
    }
  }
  return lines;
}

void DxfDocument::DxfWriteAll(const std::string& fileName) const {
  replaceFile(fileName, fileBytes());
}

std::string withDxfExtension(const std::string& name) {
  const std::string tail = name.size() >= 4 ? name.substr(name.size() - 4) : std::string();
  return tail == ".dxf" || tail == ".DXF" ? name : name + ".dxf";
}

void DxfAddFixedDimensions(DxfDocument& doc) {
  doc.DxfAddDimension(doc.DxfLayer, 55, 70, 55, 80, 60, 80, 60, 75, 90, "None");
  doc.DxfAddDimension(doc.DxfLayer, 50, 70, 55, 70, 55, 65, 52.5F, 65, 0, "None");
  doc.DxfAddDimension(doc.DxfLayer, 50, 70, 50, 80, 45, 80, 45, 75, 90, "Height");
  doc.DxfAddDimension(doc.DxfLayer, 50, 80, 55, 80, 55, 85, 52.5F, 85, 0, "Width");
}

void DxfAddTableLines(DxfDocument& doc, const RecordTable& table, double scale) {
  // Products in 64 bits, stored in 32 like every table value: a scale of 1
  // gives each value back unchanged, and y merely turned.
  const auto scaled = [scale](float v) { return toFloat32(static_cast<double>(v) * scale); };
  const auto turned = [scale](float v) { return toFloat32(-(static_cast<double>(v) * scale)); };
  // About sixty bytes a line: room made once rather than grown line by line.
  doc.DxfEntities.reserve(doc.DxfEntities.size() + 64 * static_cast<std::size_t>(std::max(table.count(), 0)));
  for (Int32 i = 1; i <= table.count(); ++i) {
    const LineRecord& r = table[i];
    doc.DxfAddLine(doc.DxfLayer, scaled(r.x1), turned(r.y1), 0, scaled(r.x2), turned(r.y2), 0);
  }
}

void WriteDxfFile(const std::string& path, const RecordTable& ChainTable) {
  DxfDocument doc;
  DxfAddFixedDimensions(doc);
  DxfAddTableLines(doc, ChainTable);
  doc.DxfWriteAll(path);
}

}  // namespace quern

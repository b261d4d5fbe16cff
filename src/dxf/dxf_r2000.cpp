#include "dxf/dxf_r2000.h"

#include <initializer_list>
#include <string_view>
#include <tuple>
#include <utility>

namespace quern {

namespace {

// The fixed frame's handles. Every table, record, block and object names its
// owner: the tables the drawing, their records the table, the two space
// blocks their block records, the layouts the layout dictionary.
enum Handle : unsigned {
  kVportTable = 1,
  kVportActive,
  kLtypeTable,
  kLtypeByBlock,
  kLtypeByLayer,
  kLtypeContinuous,
  kLayerTable,
  kLayerZero,
  kLayerDrawing,
  kStyleTable,
  kStyleStandard,
  kViewTable,
  kUcsTable,
  kAppidTable,
  kAppidAcad,
  kDimstyleTable,
  kDimstyleStandard,
  kBlockRecordTable,
  // 0x13 to 0x19 stay free; the model space's record is kModelSpaceRecord.
  kPaperRecord = kModelSpaceRecord + 1,
  kModelBlock,
  kModelEnd,
  kPaperBlock,
  kPaperEnd,
  kRootDictionary,
  kGroupDictionary,
  kLayoutDictionary,
  kModelLayout,
  kPaperLayout,
};

// $INSUNITS: 0 no unit, 1 inches, 4 millimetres.
int insunits(DrawingUnit unit) {
  switch (unit) {
    case DrawingUnit::Millimetre:
      return 4;
    case DrawingUnit::Inch:
      return 1;
    case DrawingUnit::Pixel:
      break;
  }
  return 0;
}

void xy(DxfGroups& g, int code, double x, double y) {
  g.number(code, x);
  g.number(code + 10, y);
}

void xyz(DxfGroups& g, int code, double x, double y) {
  xy(g, code, x, y);
  g.number(code + 20, 0.0);
}

void table(DxfGroups& g, std::string_view name, unsigned handle, int entries) {
  g.text(0, "TABLE");
  g.text(2, name);
  g.handle(5, handle);
  g.handle(330, 0);
  g.text(100, "AcDbSymbolTable");
  g.whole(70, entries);
}

void record(DxfGroups& g, std::string_view type, unsigned handle, unsigned owner, std::string_view subclass,
            std::string_view name) {
  g.text(0, type);
  g.handle(type == "DIMSTYLE" ? 105 : 5, handle);
  g.handle(330, owner);
  g.text(100, "AcDbSymbolTableRecord");
  g.text(100, subclass);
  g.text(2, name);
  g.whole(70, 0);
}

void header(DxfGroups& g, unsigned handseed, const DrawingBox& box, DrawingUnit unit) {
  g.text(0, "SECTION");
  g.text(2, "HEADER");
  g.text(9, "$ACADVER");
  g.text(1, "AC1015");
  g.text(9, "$HANDSEED");
  g.handle(5, handseed);
  g.text(9, "$INSBASE");
  xyz(g, 10, 0.0, 0.0);
  g.text(9, "$EXTMIN");
  xyz(g, 10, box.minX, box.minY);
  g.text(9, "$EXTMAX");
  xyz(g, 10, box.maxX, box.maxY);
  g.text(9, "$LIMMIN");
  xy(g, 10, box.minX, box.minY);
  g.text(9, "$LIMMAX");
  xy(g, 10, box.maxX, box.maxY);
  g.text(9, "$INSUNITS");
  g.whole(70, insunits(unit));
  g.text(9, "$MEASUREMENT");
  g.whole(70, unit == DrawingUnit::Inch ? 0 : 1);
  g.text(0, "ENDSEC");
  g.text(0, "SECTION");
  g.text(2, "CLASSES");
  g.text(0, "ENDSEC");
}

void tables(DxfGroups& g, const DrawingBox& box) {
  g.text(0, "SECTION");
  g.text(2, "TABLES");

  table(g, "VPORT", kVportTable, 1);
  record(g, "VPORT", kVportActive, kVportTable, "AcDbViewportTableRecord", "*Active");
  // The view opens on the whole drawing.
  const double width = box.maxX - box.minX;
  const double height = box.maxY - box.minY;
  xy(g, 10, 0.0, 0.0);
  xy(g, 11, 1.0, 1.0);
  xy(g, 12, (box.minX + box.maxX) / 2.0, (box.minY + box.maxY) / 2.0);
  xy(g, 13, 0.0, 0.0);
  xy(g, 14, 1.0, 1.0);
  xy(g, 15, 1.0, 1.0);
  xyz(g, 16, 0.0, 0.0);
  g.number(36, 1.0);
  xyz(g, 17, 0.0, 0.0);
  g.number(40, height > 0.0 ? height * 1.1 : 1.0);
  g.number(41, height > 0.0 && width > 0.0 ? width / height : 1.0);
  g.number(42, 50.0);
  for (const int code : {43, 44, 50, 51}) g.number(code, 0.0);
  for (const auto& [code, value] : std::initializer_list<std::pair<int, int>>{
           {71, 0}, {72, 100}, {73, 1}, {74, 3}, {75, 0}, {76, 0}, {77, 0}, {78, 0}}) {
    g.whole(code, value);
  }
  g.text(0, "ENDTAB");

  table(g, "LTYPE", kLtypeTable, 3);
  using Linetype = std::tuple<unsigned, std::string_view, std::string_view>;
  for (const auto& [handle, name, description] :
       std::initializer_list<Linetype>{{kLtypeByBlock, "ByBlock", ""},
                                       {kLtypeByLayer, "ByLayer", ""},
                                       {kLtypeContinuous, "Continuous", "Solid line"}}) {
    record(g, "LTYPE", handle, kLtypeTable, "AcDbLinetypeTableRecord", name);
    g.text(3, description);
    g.whole(72, 65);
    g.whole(73, 0);
    g.number(40, 0.0);
  }
  g.text(0, "ENDTAB");

  table(g, "LAYER", kLayerTable, 2);
  using Layer = std::pair<unsigned, std::string_view>;
  for (const auto& [handle, name] : std::initializer_list<Layer>{{kLayerZero, "0"}, {kLayerDrawing, kDrawingLayer}}) {
    record(g, "LAYER", handle, kLayerTable, "AcDbLayerTableRecord", name);
    g.whole(62, 7);
    g.text(6, "Continuous");
  }
  g.text(0, "ENDTAB");

  table(g, "STYLE", kStyleTable, 1);
  record(g, "STYLE", kStyleStandard, kStyleTable, "AcDbTextStyleTableRecord", "Standard");
  g.number(40, 0.0);
  g.number(41, 1.0);
  g.number(50, 0.0);
  g.whole(71, 0);
  g.number(42, 2.5);
  g.text(3, "txt");
  g.text(4, "");
  g.text(0, "ENDTAB");

  table(g, "VIEW", kViewTable, 0);
  g.text(0, "ENDTAB");
  table(g, "UCS", kUcsTable, 0);
  g.text(0, "ENDTAB");

  table(g, "APPID", kAppidTable, 1);
  record(g, "APPID", kAppidAcad, kAppidTable, "AcDbRegAppTableRecord", "ACAD");
  g.text(0, "ENDTAB");

  table(g, "DIMSTYLE", kDimstyleTable, 1);
  g.text(100, "AcDbDimStyleTable");
  g.whole(71, 0);
  record(g, "DIMSTYLE", kDimstyleStandard, kDimstyleTable, "AcDbDimStyleTableRecord", "Standard");
  g.text(0, "ENDTAB");

  table(g, "BLOCK_RECORD", kBlockRecordTable, 2);
  record(g, "BLOCK_RECORD", kModelSpaceRecord, kBlockRecordTable, "AcDbBlockTableRecord", "*Model_Space");
  g.handle(340, kModelLayout);
  record(g, "BLOCK_RECORD", kPaperRecord, kBlockRecordTable, "AcDbBlockTableRecord", "*Paper_Space");
  g.handle(340, kPaperLayout);
  g.text(0, "ENDTAB");
  g.text(0, "ENDSEC");
}

void spaceBlock(DxfGroups& g, std::string_view name, unsigned owner, unsigned begin, unsigned end, bool paper) {
  g.text(0, "BLOCK");
  g.handle(5, begin);
  g.handle(330, owner);
  g.text(100, "AcDbEntity");
  if (paper) g.whole(67, 1);
  g.text(8, "0");
  g.text(100, "AcDbBlockBegin");
  g.text(2, name);
  g.whole(70, 0);
  xyz(g, 10, 0.0, 0.0);
  g.text(3, name);
  g.text(1, "");
  g.text(0, "ENDBLK");
  g.handle(5, end);
  g.handle(330, owner);
  g.text(100, "AcDbEntity");
  if (paper) g.whole(67, 1);
  g.text(8, "0");
  g.text(100, "AcDbBlockEnd");
}

void dictionary(DxfGroups& g, unsigned handle, unsigned owner,
                std::initializer_list<std::pair<std::string_view, unsigned>> entries) {
  g.text(0, "DICTIONARY");
  g.handle(5, handle);
  g.handle(330, owner);
  g.text(100, "AcDbDictionary");
  g.whole(281, 1);
  for (const auto& [name, entry] : entries) {
    g.text(3, name);
    g.handle(350, entry);
  }
}

void layout(DxfGroups& g, unsigned handle, std::string_view name, int tab, unsigned record, const DrawingBox& box) {
  g.text(0, "LAYOUT");
  g.handle(5, handle);
  g.handle(330, kLayoutDictionary);
  g.text(100, "AcDbPlotSettings");
  g.text(1, "");
  g.text(2, "none_device");
  g.text(4, "");
  g.text(6, "");
  for (const int code : {40, 41, 42, 43, 44, 45, 46, 47, 48, 49, 140, 141}) g.number(code, 0.0);
  g.number(142, 1.0);
  g.number(143, 1.0);
  g.whole(70, 688);
  for (const int code : {72, 73, 74}) g.whole(code, 0);
  g.text(7, "");
  g.whole(75, 0);
  g.number(147, 1.0);
  g.number(148, 0.0);
  g.number(149, 0.0);
  g.text(100, "AcDbLayout");
  g.text(1, name);
  g.whole(70, 1);
  g.whole(71, tab);
  xy(g, 10, box.minX, box.minY);
  xy(g, 11, box.maxX, box.maxY);
  xyz(g, 12, 0.0, 0.0);
  xyz(g, 14, box.minX, box.minY);
  xyz(g, 15, box.maxX, box.maxY);
  g.number(146, 0.0);
  xyz(g, 13, 0.0, 0.0);
  xyz(g, 16, 1.0, 0.0);
  xyz(g, 17, 0.0, 1.0);
  g.whole(76, 0);
  g.handle(330, record);
}

}  // namespace

std::string r2000File(const DxfGroups& entities, unsigned handseed, const DrawingBox& box, DrawingUnit unit) {
  DxfGroups g;
  header(g, handseed, box, unit);
  tables(g, box);
  g.text(0, "SECTION");
  g.text(2, "BLOCKS");
  spaceBlock(g, "*Model_Space", kModelSpaceRecord, kModelBlock, kModelEnd, false);
  spaceBlock(g, "*Paper_Space", kPaperRecord, kPaperBlock, kPaperEnd, true);
  g.text(0, "ENDSEC");
  g.text(0, "SECTION");
  g.text(2, "ENTITIES");
  g.append(entities);
  g.text(0, "ENDSEC");
  g.text(0, "SECTION");
  g.text(2, "OBJECTS");
  dictionary(g, kRootDictionary, 0, {{"ACAD_GROUP", kGroupDictionary}, {"ACAD_LAYOUT", kLayoutDictionary}});
  dictionary(g, kGroupDictionary, kRootDictionary, {});
  dictionary(g, kLayoutDictionary, kRootDictionary, {{"Layout1", kPaperLayout}, {"Model", kModelLayout}});
  layout(g, kModelLayout, "Model", 0, kModelSpaceRecord, box);
  layout(g, kPaperLayout, "Layout1", 1, kPaperRecord, DrawingBox{0.0, 0.0, 420.0, 297.0});
  g.text(0, "ENDSEC");
  g.text(0, "EOF");
  return g.str();
}

}  // namespace quern

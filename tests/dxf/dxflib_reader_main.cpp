// A second reader for the drawings: Debian's dxflib reads a file and this
// prints what it saw, one "name value" line each, for dxf_cad_readback.py to
// set beside what ezdxf saw.
#include <dl_creationadapter.h>
#include <dl_dxf.h>

#include <iostream>
#include <map>
#include <set>
#include <string>

namespace {

class Tally : public DL_CreationAdapter {
 public:
  void addLayer(const DL_LayerData& data) override { layers.insert(data.name); }
  void addLine(const DL_LineData&) override { entity("LINE"); }
  void addArc(const DL_ArcData&) override { entity("ARC"); }
  void addCircle(const DL_CircleData&) override { entity("CIRCLE"); }
  void addPolyline(const DL_PolylineData& data) override {
    entity("POLYLINE");
    if (data.flags & 1) ++counts["closed"];
  }
  void addVertex(const DL_VertexData& data) override {
    ++counts["vertices"];
    if (data.bulge != 0.0) ++counts["bulges"];
  }
  void setVariableInt(const std::string& key, int value, int) override {
    if (key == "$INSUNITS") counts["insunits"] = value;
  }

  std::map<std::string, long> counts;
  std::set<std::string> layers;
  std::set<std::string> used;

 private:
  void entity(const std::string& type) {
    ++counts[type];
    used.insert(getAttributes().getLayer());
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: dxflib_reader DRAWING.dxf\n";
    return 2;
  }
  Tally tally;
  DL_Dxf dxf;
  if (!dxf.in(argv[1], &tally)) {
    std::cerr << "dxflib cannot read " << argv[1] << "\n";
    return 1;
  }
  for (const auto& [name, count] : tally.counts) std::cout << name << " " << count << "\n";
  long undefined = 0;
  for (const std::string& layer : tally.used) undefined += tally.layers.count(layer) == 0 ? 1 : 0;
  std::cout << "undefined_layers " << undefined << "\n";
  return 0;
}

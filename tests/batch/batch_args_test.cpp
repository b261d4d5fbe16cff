#include "batch/batch_args.h"

#include <gtest/gtest.h>

namespace quern {
namespace {

TEST(BatchArgs, OutOfRangeAndMalformedArgumentsAreRefused) {
  const std::vector<std::vector<std::string>> bad = {
      {},
      {"--scale", "0", "o.dxf"},
      {"--scale", "3.01", "o.dxf"},
      {"--scale", "0.005", "o.dxf"},
      {"--scale", "abc", "o.dxf"},
      {"--blur", "4", "o.dxf"},
      {"--threshold", "0", "o.dxf"},
      {"--threshold", "256", "o.dxf"},
      {"--tolerance", "101", "o.dxf"},
      {"--tolerance", "1.5", "o.dxf"},
      {"--tolerance"},
      {"--colour", "o.dxf"},
      {"a.gif", "b.gif", "o.dxf"},
      {"--dpi", "300", "o.dxf"},   // a resolution for a drawing in pixels
      {"--units", "mm", "o.dxf"},  // millimetres without a resolution
      {"--units", "cm", "--dpi", "300", "o.dxf"},
      {"--dpi", "0", "--units", "mm", "o.dxf"},
      {"--dpi", "100001", "--units", "mm", "o.dxf"},
      {"--dpi", "299.5", "--units", "mm", "o.dxf"},
      {"--min-branch", "-1", "o.dxf"},
      {"--min-chain", "100000", "o.dxf"},
      {"--page", "0", "a.tif", "o.dxf"},
      {"--page", "65536", "a.tif", "o.dxf"},
      {"--svg", "o.dxf"},  // the drawing taken as the SVG's name leaves no drawing
      {"--threshold", "Auto", "o.dxf"},
      {"--sensitivity", "0.5", "o.dxf"},  // a local setting without the local threshold
      {"--threshold", "auto", "--local-window", "31", "o.dxf"},
      {"--threshold", "local", "--sensitivity", "1.5", "o.dxf"},
      {"--threshold", "local", "--local-window", "2", "o.dxf"},
      {"scan.gif"},  // a picture alone would be converted into scan.gif.dxf
      {"scan.gif", ""},
      {"scan.gif", "out/"},
      {"--max-megapixels", "50", "o.dxf"},  // without --large nothing reads it
      {"--no-original", "o.dxf"},           // without a preview nothing shows it
      {"--on-collision", "suffix", "o.dxf"},
      {"--on-collision", "overwrite", "--out-dir", "d", "a.gif"},
      {"--fit", "--fit-tolerance", "0", "o.dxf"},
      {"--fit", "--fit-tolerance", "101", "o.dxf"},
      {"--fit", "--fit-tolerance", "wide", "o.dxf"},
      {"--fit-tolerance", "2", "o.dxf"},  // a tolerance for nothing to fit
  };
  for (const auto& argv : bad) {
    const BatchParse p = parseBatchArgs(argv);
    EXPECT_FALSE(p.args) << ::testing::PrintToString(argv);
    EXPECT_FALSE(p.error.empty());
  }
  EXPECT_NE(parseBatchArgs({"--blur", "4", "o.dxf"}).error.find("0 to 3"), std::string::npos);
  EXPECT_NE(parseBatchArgs({"--units", "mm", "o.dxf"}).error.find("--dpi"), std::string::npos);
  EXPECT_NE(parseBatchArgs({"--dpi", "300", "o.dxf"}).error.find("--units mm"), std::string::npos);
  EXPECT_NE(parseBatchArgs({"scan.gif"}).error.find("scan.gif DRAWING.dxf"), std::string::npos);
}

TEST(BatchArgs, TwoDashesEndTheOptions) {
  const BatchParse p = parseBatchArgs({"--large", "--", "--scale.gif", "-j.dxf"});
  ASSERT_TRUE(p.args) << p.error;
  EXPECT_TRUE(p.args->large);
  EXPECT_EQ(p.args->picture, "--scale.gif");
  EXPECT_EQ(p.args->drawing, "-j.dxf");
  EXPECT_FALSE(parseBatchArgs({"--", "--large", "a.gif", "o.dxf"}).args) << "three files";
}

// -jN is -j N, as make takes it; a name that only starts so stays a name.
TEST(BatchArgs, JobsMayFollowTheirOptionDirectly) {
  const BatchParse two = parseBatchArgs({"-j2", "--out-dir", "d", "-j3.gif", "a.gif"});
  ASSERT_TRUE(two.args) << two.error;
  EXPECT_EQ(two.args->jobs, 2);
  EXPECT_EQ(two.args->pictures, (std::vector<std::string>{"-j3.gif", "a.gif"}));
  const BatchParse many = parseBatchArgs({"-j65", "--out-dir", "d", "a.gif"});
  EXPECT_FALSE(many.args);
  EXPECT_NE(many.error.find("-j"), std::string::npos) << many.error;
}

TEST(BatchArgs, OutputOptionsGiveTheDrawingOptions) {
  struct Case {
    std::vector<std::string> argv;
    DrawingUnit unit = DrawingUnit::Pixel;
    double unitScale = 1.0;
    bool polyline = false;
    bool clean = false;
    DxfVersion version = DxfVersion::R12;
    DrawingOrigin origin = DrawingOrigin::TopLeft;
    bool fit = false;
    double fitTolerance = kDefaultFitTolerance;
  };
  const DrawingUnit px = DrawingUnit::Pixel;
  const DxfVersion r12 = DxfVersion::R12;
  const DrawingOrigin topLeft = DrawingOrigin::TopLeft;
  const Case cases[] = {
      // Only the defaults keep the defined drawing; every CAD option asks for a clean one.
      {{"o.dxf"}},
      {{"--units", "px", "--polyline", "o.dxf"}, px, 1.0, true, true},
      {{"--units", "px", "--svg", "o.svg", "o.dxf"}},
      {{"--dpi", "300", "--units", "mm", "o.dxf"}, DrawingUnit::Millimetre, 25.4 / 300, false, true},
      // Rescaled to half, each thinned pixel covers two of the scan.
      {{"--scale", "0.5", "--units", "in", "--dpi", "200", "o.dxf"}, DrawingUnit::Inch, 1.0 / 100, false, true},
      {{"--clean", "o.dxf"}, px, 1.0, false, true},
      {{"--dxf", "12", "o.dxf"}},
      {{"--dxf", "2000", "o.dxf"}, px, 1.0, false, true, DxfVersion::R2000},
      {{"--origin", "top-left", "o.dxf"}},
      {{"--origin", "lower-left", "o.dxf"}, px, 1.0, false, true, r12, DrawingOrigin::LowerLeft},
      // Fitting is off by default and takes a tolerance in pixels.
      {{"--fit", "o.dxf"}, px, 1.0, false, true, r12, topLeft, true},
      {{"--fit", "--fit-tolerance", "0.75", "o.dxf"}, px, 1.0, false, true, r12, topLeft, true, 0.75},
      {{"--fit-tolerance", "3", "--fit", "--polyline", "o.dxf"}, px, 1.0, true, true, r12, topLeft, true, 3.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.argv));
    const BatchParse p = parseBatchArgs(c.argv);
    ASSERT_TRUE(p.args) << p.error;
    const DrawingOptions o = drawingOptionsOf(*p.args);
    EXPECT_EQ(o.unit, c.unit);
    EXPECT_DOUBLE_EQ(o.unitScale, c.unitScale);
    EXPECT_EQ(o.polyline, c.polyline);
    EXPECT_EQ(o.clean, c.clean);
    EXPECT_EQ(o.dxfVersion, c.version);
    EXPECT_EQ(o.origin, c.origin);
    EXPECT_EQ(o.fit, c.fit);
    EXPECT_DOUBLE_EQ(o.fitTolerance, c.fitTolerance);
  }
  EXPECT_NE(parseBatchArgs({"--dxf", "14", "o.dxf"}).error.find("12 or 2000"), std::string::npos);
  EXPECT_NE(parseBatchArgs({"--origin", "centre", "o.dxf"}).error.find("lower-left"), std::string::npos);
  // A dash is the drawing's name for standard output, not an option.
  EXPECT_EQ(parseBatchArgs({"--polyline", "-"}).args->drawing, "-");
  const BatchParse p = parseBatchArgs({"--min-branch", "12", "--min-chain", "99999", "--svg", "o.svg", "o.dxf"});
  ASSERT_TRUE(p.args) << p.error;
  EXPECT_EQ(p.args->minBranch, 12);
  EXPECT_EQ(p.args->minChain, 99999);
  EXPECT_EQ(p.args->svg, "o.svg");
  EXPECT_EQ(parseBatchArgs({"o.dxf"}).args->minBranch, 0);
  // The last --threshold given counts, a number or a mode.
  const BatchParse local = parseBatchArgs(
      {"--threshold", "auto", "--threshold", "local", "--local-window", "31", "--sensitivity", "0.6", "o.dxf"});
  ASSERT_TRUE(local.args) << local.error;
  EXPECT_EQ(local.args->thresholdMode, ThresholdMode::local);
  EXPECT_EQ(local.args->localWindow, 31);
  EXPECT_EQ(local.args->sensitivity, 0.6);
  EXPECT_EQ(parseBatchArgs({"--threshold", "local", "--threshold", "150", "o.dxf"}).args->thresholdMode,
            ThresholdMode::fixed);
  EXPECT_NE(std::string(kBatchUsage).find("no unit field"), std::string::npos);
}

}  // namespace
}  // namespace quern

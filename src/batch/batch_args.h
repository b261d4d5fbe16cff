#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/drawing_units.h"
#include "base/numbers.h"
#include "pipeline/stage.h"

namespace quern {

// What a batch run is asked to do, with every value already in the range of
// the scroll bar that sets it.
struct BatchArgs {
  Int32 scale = 100;      // hundredths, 1 to 300
  Int32 blur = 1;         // 0 to 3
  Int32 threshold = 200;  // 1 to 255
  // --threshold auto or local instead of a number.
  ThresholdMode thresholdMode = ThresholdMode::fixed;
  Int32 localWindow = 0;  // pixels; 0: from --dpi, else from the picture's short side
  std::optional<double> sensitivity;
  Int32 tolerance = 1;  // twips, 1 to 100
  bool reorder = false;
  bool noOriginal = false;
  std::optional<std::string> preview;
  std::optional<std::string> picture;
  std::string drawing;
  // Output for CAD and CNC; the defaults give today's drawing.
  std::optional<Int32> dpi;  // the scan's resolution, given exactly when units is mm or in
  DrawingUnit units = DrawingUnit::Pixel;
  bool polyline = false;
  Int32 minBranch = 0;  // pixels; 0 keeps every spur
  Int32 minChain = 0;   // pixels; 0 keeps every speck
  std::optional<std::string> svg;
  bool fit = false;                    // lines, arcs and circles
  std::optional<double> fitTolerance;  // pixels of the thinned picture; kDefaultFitTolerance
  bool clean = false;                  // geometry only; implied by the other CAD options (see drawingOptionsOf)
  DxfVersion dxfVersion = DxfVersion::R12;
  DrawingOrigin origin = DrawingOrigin::TopLeft;
  // Large scans and many files.
  bool large = false;                     // lift the stages' size caps for this run
  Int32 maxMegapixels = 100;              // with --large: the largest picture, original or rescaled
  std::optional<std::string> outDir;      // many pictures: DIR/NAME.dxf each
  std::optional<std::string> previewDir;  // and DIR/NAME.png
  std::vector<std::string> pictures;      // the pictures of an --out-dir run
  Int32 jobs = 0;                         // pictures at a time; 0: one per core
  bool suffixOnCollision = false;         // --on-collision suffix: NAME-2.dxf for a second NAME
  bool quiet = false;                     // no progress on the terminal
  Int32 page = 1;                         // of a multi-page TIFF, counted from 1
  std::optional<std::string> report;      // the review page, FILE.html
};

// How the drawing is to be written: the unit scale counts the rescale
// (scale hundredths) into the length of a thinned pixel. Asking for a unit,
// polylines, R2000 or the lower left origin asks for a drawing for CAD, so
// each of them makes it clean as --clean does.
DrawingOptions drawingOptionsOf(const BatchArgs& args);

// The arguments, or the reason they cannot be taken (with `help` set when
// only the usage was asked for).
struct BatchParse {
  std::optional<BatchArgs> args;
  std::string error;
  bool help = false;
};

BatchParse parseBatchArgs(const std::vector<std::string>& argv);
extern const char* const kBatchUsage;

}  // namespace quern

#include "batch/batch_args.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string_view>

#include "base/number_text.h"
#include "intake/picture_loader.h"
#include "vector/chains.h"

namespace quern {

const char* const kBatchUsage =
    "usage: quernline-batch [--scale F] [--blur N] [--threshold T|auto|local] [--tolerance K] [--reorder]\n"
    "                       [--no-original] [--preview FILE.png] [--dpi N --units mm|in] [--polyline]\n"
    "                       [--min-branch N] [--min-chain N] [--svg FILE.svg] [--fit [--fit-tolerance X]]\n"
    "                       [--clean] [--dxf 12|2000] [--origin top-left|lower-left]\n"
    "                       [--large [--max-megapixels N]] [--page N] [--quiet]\n"
    "                       [--report FILE.html] [PICTURE] DRAWING.dxf\n"
    "       quernline-batch [options] --out-dir DIR [--preview-dir DIR] [-j N]\n"
    "                       [--on-collision refuse|suffix] [--report FILE.html] PICTURE...\n"
    "       quernline-batch --version\n"
    "  --scale F       rescale factor, 0.01 to 3 in steps of 0.01 (default 1)\n"
    "  --blur N        smoothing runs, 0 to 3 (default 1)\n"
    "  --threshold T   black-and-white threshold, 1 to 255 (default 200); or auto: one threshold\n"
    "                  chosen from the picture's histogram; or local: a threshold for every pixel\n"
    "                  from the light around it, for pages in uneven light (shadows, photos)\n"
    "  --local-window N  with --threshold local, the window's side in pixels, 3 to 9999 (default:\n"
    "                  8 mm of paper with --dpi, else 1/26 of the picture's short side)\n"
    "  --sensitivity F with --threshold local, 0.05 to 1 (default 0.8); higher finds fainter ink\n"
    "  --tolerance K   simplification tolerance in twips, 1 to 100 (default 1)\n"
    "  --reorder       string all segments into one path, nearest end next\n"
    "  --no-original   draw the preview lines on an empty box\n"
    "  --preview FILE  save the preview as a PNG picture\n"
    "  --dpi N         the scan's resolution in dots per inch, 1 to 100000; needs --units mm or in\n"
    "  --units U       the drawing's unit: px (default, one pixel of the thinned picture), or mm or in\n"
    "                  of the original paper, which needs --dpi. DXF R12 carries no unit field:\n"
    "                  tell the program that reads the drawing which unit it is in, or use --dxf 2000\n"
    "  --polyline      join touching segments into one POLYLINE each (closed where they loop)\n"
    "  --min-branch N  remove spurs shorter than N pixels, 0 to 99999 (default 0: keep all)\n"
    "  --min-chain N   remove lines shorter than N pixels that touch nothing, 0 to 99999 (default 0)\n"
    "  --svg FILE      also write the drawing as an SVG picture in the same unit\n"
    "  --fit           write each line as straight lines, arcs and circles (LINE, ARC, CIRCLE; with\n"
    "                  --polyline, arcs as bulges), joined through crossings, instead of short\n"
    "                  segments; implies --clean\n"
    "  --fit-tolerance X  with --fit, how far the fit may stray from the traced centre line, in pixels\n"
    "                  of the thinned picture, 0.1 to 100 (default 1.5, for 300 dpi scans)\n"
    "  --clean         geometry only: no template dimensions, true extents, loops closed, stubs\n"
    "                  dropped; implied by --units mm|in, --polyline, --fit, --dxf 2000 and\n"
    "                  --origin lower-left\n"
    "  --dxf V         12 (default, AC1009) or 2000 (AC1015: carries the unit, LWPOLYLINE)\n"
    "  --origin O      top-left (default, y turned, y <= 0) or lower-left (the drawing's lower left\n"
    "                  corner at 0,0, y up: every coordinate positive, as CAM expects)\n"
    "  --large         lift the stages' size limits (1500 and 1501 pixels, the 5600-pixel grid, the\n"
    "                  100000-record tables) for pictures of up to --max-megapixels\n"
    "  --max-megapixels N  with --large, the largest picture taken, original or rescaled, in\n"
    "                  millions of pixels, 1 to 1000 (default 100: about 1.6 GB of memory at most)\n"
    "  --out-dir DIR   many pictures: write DIR/NAME.dxf for each PICTURE, a summary table follows\n"
    "  --preview-dir DIR  with --out-dir, also write DIR/NAME.png, the preview of each\n"
    "  -j N, -jN       with --out-dir, pictures at a time, 1 to 64 (default: one per core)\n"
    "  --page N        of a multi-page TIFF, page N, 1 to 65535 (default 1)\n"
    "  --on-collision R  with --out-dir, two pictures of one name (a/scan.gif, b/scan.jpg):\n"
    "                  refuse (default: nothing is converted) or suffix (scan.dxf, scan-2.dxf ...)\n"
    "  --              the end of the options: every later argument is a file\n"
    "  --quiet         no progress bars on the terminal\n"
    "  --report FILE   also write FILE.html, a page to review the run in a browser: totals, then a\n"
    "                  thumbnail of each picture with its lines in red, failures first; a click\n"
    "                  opens the preview, kept in the page, its lines sharp at any size\n"
    "  DRAWING         the DXF file to write; - writes it to standard output\n"
    "  PICTURE         a .jpg, .jpeg, .bmp, .gif, .png, .tif or .tiff file, in any case\n"
    "                  (default: the built-in picture)\n"
    "Exit status: 0 every drawing written, 1 a picture or a stage failed (nothing written for it),\n"
    "2 bad arguments, or an output that is an input or another output.\n";

namespace {

constexpr Int32 kMaxDpi = 100000;

// An option's value taken into the arguments, or why it is refused.
using Take = std::optional<std::string> (*)(BatchArgs& args, const std::string& option, const std::string& value);

struct OptionRow {
  std::string_view name;
  bool takesValue;
  Take take;
};

template <bool BatchArgs::*Field>
std::optional<std::string> setFlag(BatchArgs& args, const std::string&, const std::string&) {
  args.*Field = true;
  return std::nullopt;
}

template <Int32 BatchArgs::*Field, Int32 Min, Int32 Max>
std::optional<std::string> setWhole(BatchArgs& args, const std::string& option, const std::string& value) {
  const std::optional<Int32> n = readWhole32(value);
  if (!n || *n < Min || *n > Max) {
    return option + " " + value + " is refused: it takes a whole number from " + std::to_string(Min) + " to " +
           std::to_string(Max);
  }
  args.*Field = *n;
  return std::nullopt;
}

template <std::optional<std::string> BatchArgs::*Field, bool Folder>
std::optional<std::string> setName(BatchArgs& args, const std::string& option, const std::string& value) {
  if (value.empty()) return option + (Folder ? " needs a folder" : " needs a file name");
  args.*Field = value;
  return std::nullopt;
}

std::optional<std::string> setScale(BatchArgs& args, const std::string&, const std::string& value) {
  const std::optional<double> f = readNumber(value);
  if (!f) return "--scale needs a number from 0.01 to 3";
  const double hundredths = *f * 100.0;
  const double whole = std::round(hundredths);
  if (!(whole >= 1.0 && whole <= 300.0) || std::abs(hundredths - whole) > 1e-6) {
    return "--scale " + value + " is refused: the scale runs from 0.01 to 3 in steps of 0.01";
  }
  args.scale = static_cast<Int32>(whole);
  return std::nullopt;
}

std::optional<std::string> setThreshold(BatchArgs& args, const std::string& option, const std::string& value) {
  if (value == "auto" || value == "local") {
    args.thresholdMode = value == "auto" ? ThresholdMode::automatic : ThresholdMode::local;
    return std::nullopt;
  }
  args.thresholdMode = ThresholdMode::fixed;
  const std::optional<std::string> refused = setWhole<&BatchArgs::threshold, 1, 255>(args, option, value);
  if (refused) return *refused + ", or auto, or local";
  return std::nullopt;
}

std::optional<std::string> setSensitivity(BatchArgs& args, const std::string&, const std::string& value) {
  const std::optional<double> f = readNumber(value);
  if (!f || !(*f >= 0.05 && *f <= 1.0))
    return "--sensitivity " + value + " is refused: it takes a number from 0.05 to 1";
  args.sensitivity = *f;
  return std::nullopt;
}

std::optional<std::string> setFitTolerance(BatchArgs& args, const std::string&, const std::string& value) {
  const std::optional<double> f = readNumber(value);
  if (!f || !(*f >= 0.1 && *f <= 100.0)) return "--fit-tolerance needs a number of pixels from 0.1 to 100";
  args.fitTolerance = *f;
  return std::nullopt;
}

std::optional<std::string> setUnits(BatchArgs& args, const std::string&, const std::string& value) {
  const std::optional<DrawingUnit> unit = drawingUnitNamed(value);
  if (!unit) return "--units " + value + " is refused: it takes mm, in or px";
  args.units = *unit;
  return std::nullopt;
}

std::optional<std::string> setDpi(BatchArgs& args, const std::string&, const std::string& value) {
  const std::optional<Int32> n = readWhole32(value);
  if (!n || *n < 1 || *n > kMaxDpi) {
    return "--dpi " + value + " is refused: it takes a whole number from 1 to " + std::to_string(kMaxDpi);
  }
  args.dpi = *n;
  return std::nullopt;
}

std::optional<std::string> setDxfVersion(BatchArgs& args, const std::string&, const std::string& value) {
  if (value == "12") {
    args.dxfVersion = DxfVersion::R12;
  } else if (value == "2000") {
    args.dxfVersion = DxfVersion::R2000;
  } else {
    return "--dxf " + value + " is refused: it takes 12 or 2000";
  }
  return std::nullopt;
}

std::optional<std::string> setOrigin(BatchArgs& args, const std::string&, const std::string& value) {
  if (value == "top-left") {
    args.origin = DrawingOrigin::TopLeft;
  } else if (value == "lower-left") {
    args.origin = DrawingOrigin::LowerLeft;
  } else {
    return "--origin " + value + " is refused: it takes top-left or lower-left";
  }
  return std::nullopt;
}

std::optional<std::string> setCollision(BatchArgs& args, const std::string&, const std::string& value) {
  if (value != "refuse" && value != "suffix")
    return "--on-collision " + value + " is refused: it takes refuse or suffix";
  args.suffixOnCollision = value == "suffix";
  return std::nullopt;
}

constexpr OptionRow kOptions[] = {
    {"--scale", true, setScale},
    {"--blur", true, setWhole<&BatchArgs::blur, 0, 3>},
    {"--threshold", true, setThreshold},
    {"--local-window", true, setWhole<&BatchArgs::localWindow, 3, 9999>},
    {"--sensitivity", true, setSensitivity},
    {"--tolerance", true, setWhole<&BatchArgs::tolerance, 1, 100>},
    {"--reorder", false, setFlag<&BatchArgs::reorder>},
    {"--no-original", false, setFlag<&BatchArgs::noOriginal>},
    {"--preview", true, setName<&BatchArgs::preview, false>},
    {"--dpi", true, setDpi},
    {"--units", true, setUnits},
    {"--polyline", false, setFlag<&BatchArgs::polyline>},
    {"--fit", false, setFlag<&BatchArgs::fit>},
    {"--fit-tolerance", true, setFitTolerance},
    {"--min-branch", true, setWhole<&BatchArgs::minBranch, 0, kMaxChainPixels>},
    {"--min-chain", true, setWhole<&BatchArgs::minChain, 0, kMaxChainPixels>},
    {"--svg", true, setName<&BatchArgs::svg, false>},
    {"--clean", false, setFlag<&BatchArgs::clean>},
    {"--dxf", true, setDxfVersion},
    {"--origin", true, setOrigin},
    {"--large", false, setFlag<&BatchArgs::large>},
    {"--max-megapixels", true, setWhole<&BatchArgs::maxMegapixels, 1, 1000>},
    {"--page", true, setWhole<&BatchArgs::page, 1, 65535>},
    {"--out-dir", true, setName<&BatchArgs::outDir, true>},
    {"--preview-dir", true, setName<&BatchArgs::previewDir, true>},
    {"-j", true, setWhole<&BatchArgs::jobs, 1, 64>},
    {"--jobs", true, setWhole<&BatchArgs::jobs, 1, 64>},
    {"--quiet", false, setFlag<&BatchArgs::quiet>},
    {"--on-collision", true, setCollision},
    {"--report", true, setName<&BatchArgs::report, false>},
};

const OptionRow* optionNamed(std::string_view name) {
  for (const OptionRow& row : kOptions) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

// Why a name cannot be an output file, or "". A drawing named for a folder
// (or ending in a slash) would become a hidden ".dxf" inside it.
std::string notAFile(const std::string& name, const std::string& what, const char* example) {
  if (name.empty()) return "the " + what + "'s name is empty";
  const std::filesystem::path p(name);
  const std::string last = p.filename().string();
  std::error_code ec;
  if (last.empty() || last == "." || last == ".." || std::filesystem::is_directory(p, ec)) {
    return "\"" + name + "\" is a folder: name the " + what + " to write in it, as " +
           (p / example).lexically_normal().string();
  }
  return "";
}

// The options taken together: what one needs of another, and the files.
// Options that would do nothing without another are refused rather than
// quietly ignored.
std::optional<std::string> settle(BatchArgs& args, std::vector<std::string> positional, bool megapixelsGiven) {
  if (megapixelsGiven && !args.large) return "--max-megapixels goes with --large: without it the stages' limits hold";
  if (args.noOriginal && !args.preview && !args.previewDir) {
    return "--no-original changes only the preview: give --preview FILE or --preview-dir DIR";
  }
  if (args.suffixOnCollision && !args.outDir) return "--on-collision goes with --out-dir";
  if (args.svg) {
    if (std::string why = notAFile(*args.svg, "SVG picture", "drawing.svg"); !why.empty()) return why;
  }
  if (args.preview) {
    if (std::string why = notAFile(*args.preview, "preview", "preview.png"); !why.empty()) return why;
  }
  const bool paper = args.units != DrawingUnit::Pixel;
  if (paper && !args.dpi) {
    return "--units " + std::string(unitName(args.units)) +
           " needs --dpi N, the scan's resolution, to know how long a pixel is";
  }
  if (!paper && args.dpi) return "--dpi needs --units mm or --units in: a drawing in pixels has no use for it";
  if (!args.fit && args.fitTolerance) return "--fit-tolerance goes with --fit";
  if (args.thresholdMode != ThresholdMode::local && (args.localWindow != 0 || args.sensitivity)) {
    return "--local-window and --sensitivity go with --threshold local";
  }
  if (args.outDir) {
    if (args.preview || args.svg)
      return "with --out-dir, use --preview-dir for previews; --preview and --svg name one file";
    if (positional.empty()) return "--out-dir needs the pictures to convert";
    args.pictures = std::move(positional);
    return std::nullopt;
  }
  if (args.previewDir || args.jobs != 0) return "--preview-dir and -j go with --out-dir";
  if (positional.empty()) return "the DXF drawing to write is missing";
  if (positional.size() > 2) return "too many files: give at most a picture and a drawing";
  if (positional.size() == 1) {
    if (isBatchPictureName(positional[0])) {
      return positional[0] + " is a picture: name the drawing too (quernline-batch " + positional[0] +
             " DRAWING.dxf), or convert many with --out-dir DIR";
    }
  }
  if (positional.size() == 2) args.picture = positional[0];
  args.drawing = positional.back();
  if (std::string why = notAFile(args.drawing, "drawing", "drawing.dxf"); !why.empty()) return why;
  return std::nullopt;
}

}  // namespace

BatchParse parseBatchArgs(const std::vector<std::string>& argv) {
  BatchParse out;
  BatchArgs args;
  std::vector<std::string> positional;
  bool megapixelsGiven = false;
  for (std::size_t i = 0; i < argv.size(); ++i) {
    const std::string& a = argv[i];
    if (a == "--") {
      positional.insert(positional.end(), argv.begin() + static_cast<std::ptrdiff_t>(i) + 1, argv.end());
      break;
    }
    megapixelsGiven = megapixelsGiven || a == "--max-megapixels";
    if (a == "--help" || a == "-h") {
      out.help = true;
      return out;
    }
    const OptionRow* row = optionNamed(a);
    // -jN, as make takes it, is -j N.
    std::string attached;
    if (!row && a.size() > 2 && a.starts_with("-j") &&
        std::all_of(a.begin() + 2, a.end(), [](char c) { return c >= '0' && c <= '9'; })) {
      row = optionNamed("-j");
      attached = a.substr(2);
    }
    if (!row) {
      if (a.starts_with("--")) {
        out.error = "unknown option " + a;
        return out;
      }
      positional.push_back(a);
      continue;
    }
    static const std::string none;
    if (row->takesValue && attached.empty() && i + 1 >= argv.size()) {
      // The option's own refusal of a missing value says what it wanted.
      out.error = row->take(args, a, none).value_or(a + " needs a value");
      return out;
    }
    const std::string& value = !attached.empty() ? attached : row->takesValue ? argv[++i] : none;
    if (const std::optional<std::string> refused = row->take(args, std::string(row->name), value)) {
      out.error = *refused;
      return out;
    }
  }
  if (const std::optional<std::string> refused = settle(args, std::move(positional), megapixelsGiven)) {
    out.error = *refused;
    return out;
  }
  out.args = std::move(args);
  return out;
}

DrawingOptions drawingOptionsOf(const BatchArgs& args) {
  const double dpi = args.dpi.value_or(0);
  DrawingOptions options;
  options.unit = args.units;
  options.unitScale = unitsPerPixel(args.units, dpi, args.scale / 100.0);
  options.polyline = args.polyline;
  options.fit = args.fit;
  options.fitTolerance = args.fitTolerance.value_or(kDefaultFitTolerance);
  options.dxfVersion = args.dxfVersion;
  options.origin = args.origin;
  options.clean = args.clean || args.units != DrawingUnit::Pixel || args.polyline || args.fit ||
                  args.dxfVersion == DxfVersion::R2000 || args.origin == DrawingOrigin::LowerLeft;
  return options;
}

}  // namespace quern

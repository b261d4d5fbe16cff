#include "batch/batch_args.h"

#include <cmath>

#include "base/number_text.h"
#include "vector/chains.h"

namespace quern {

const char* const kBatchUsage =
    "usage: quernline-batch [--scale F] [--blur N] [--threshold T] [--tolerance K] [--reorder]\n"
    "                       [--no-original] [--preview FILE.png] [--dpi N --units mm|in] [--polyline]\n"
    "                       [--min-branch N] [--min-chain N] [--svg FILE.svg] [--fit [--fit-tolerance X]]\n"
    "                       [--large [--max-megapixels N]]\n"
    "                       [--quiet] [PICTURE] DRAWING.dxf\n"
    "       quernline-batch [options] --out-dir DIR [--preview-dir DIR] [-j N] PICTURE...\n"
    "       quernline-batch --version\n"
    "  --scale F       rescale factor, 0.01 to 3 in steps of 0.01 (default 1)\n"
    "  --blur N        smoothing runs, 0 to 3 (default 1)\n"
    "  --threshold T   black-and-white threshold, 1 to 255 (default 200)\n"
    "  --tolerance K   simplification tolerance in twips, 1 to 100 (default 1)\n"
    "  --reorder       string all segments into one path, nearest end next\n"
    "  --no-original   draw the preview lines on an empty box\n"
    "  --preview FILE  save the preview as a PNG picture\n"
    "  --dpi N         the scan's resolution in dots per inch, 1 to 100000; needs --units mm or in\n"
    "  --units U       the drawing's unit: px (default, one pixel of the thinned picture), or mm or in\n"
    "                  of the original paper, which needs --dpi. DXF R12 carries no unit field:\n"
    "                  tell the program that reads the drawing which unit it is in\n"
    "  --polyline      join touching segments into one POLYLINE each (closed where they loop)\n"
    "  --min-branch N  remove spurs shorter than N pixels, 0 to 99999 (default 0: keep all)\n"
    "  --min-chain N   remove lines shorter than N pixels that touch nothing, 0 to 99999 (default 0)\n"
    "  --svg FILE      also write the drawing as an SVG picture in the same unit\n"
    "  --fit           write each line as straight lines, arcs and circles (LINE, ARC, CIRCLE; with\n"
    "                  --polyline, arcs as bulges), joined through crossings, instead of short segments\n"
    "  --fit-tolerance X  with --fit, how far the fit may stray from the traced centre line, in pixels\n"
    "                  of the thinned picture, 0.1 to 100 (default 1.5, for 300 dpi scans)\n"
    "  --large         lift the stages' size limits (1500 and 1501 pixels, the 5600-pixel grid, the\n"
    "                  100000-record tables) for pictures of up to --max-megapixels\n"
    "  --max-megapixels N  with --large, the largest picture taken, original or rescaled, in\n"
    "                  millions of pixels, 1 to 1000 (default 100: about 1.6 GB of memory at most)\n"
    "  --out-dir DIR   many pictures: write DIR/NAME.dxf for each PICTURE, a summary table follows\n"
    "  --preview-dir DIR  with --out-dir, also write DIR/NAME.png, the preview of each\n"
    "  -j N            with --out-dir, pictures at a time, 1 to 64 (default: one per core)\n"
    "  --quiet         no progress bars on the terminal\n"
    "  PICTURE         a .jpg, .JPG, .bmp, .BMP, .gif or .GIF file (default: the built-in picture)\n"
    "Exit status: 0 every drawing written, 1 a picture or a stage failed (nothing written for it),\n"
    "2 bad arguments.\n";

namespace {
struct Range {
  const char* option;
  Int32 min;
  Int32 max;
  Int32 BatchArgs::*field;
};
constexpr Range kWholeOptions[] = {
    {"--blur", 0, 3, &BatchArgs::blur},
    {"--threshold", 1, 255, &BatchArgs::threshold},
    {"--tolerance", 1, 100, &BatchArgs::tolerance},
    {"--min-branch", 0, kMaxChainPixels, &BatchArgs::minBranch},
    {"--min-chain", 0, kMaxChainPixels, &BatchArgs::minChain},
    {"--max-megapixels", 1, 1000, &BatchArgs::maxMegapixels},
    {"-j", 1, 64, &BatchArgs::jobs},
    {"--jobs", 1, 64, &BatchArgs::jobs},
};
constexpr Int32 kMaxDpi = 100000;
}  // namespace

BatchParse parseBatchArgs(const std::vector<std::string>& argv) {
  BatchParse out;
  BatchArgs args;
  std::vector<std::string> positional;
  auto fail = [&out](std::string why) {
    out.error = std::move(why);
    return out;
  };
  for (std::size_t i = 0; i < argv.size(); ++i) {
    const std::string& a = argv[i];
    auto value = [&]() -> std::optional<std::string> {
      if (i + 1 >= argv.size()) return std::nullopt;
      return argv[++i];
    };
    if (a == "--help" || a == "-h") {
      out.help = true;
      return out;
    }
    if (a == "--reorder") {
      args.reorder = true;
    } else if (a == "--large") {
      args.large = true;
    } else if (a == "--quiet") {
      args.quiet = true;
    } else if (a == "--out-dir" || a == "--preview-dir") {
      const auto v = value();
      if (!v || v->empty()) return fail(a + " needs a folder");
      (a == "--out-dir" ? args.outDir : args.previewDir) = *v;
    } else if (a == "--no-original") {
      args.noOriginal = true;
    } else if (a == "--polyline") {
      args.polyline = true;
    } else if (a == "--fit") {
      args.fit = true;
    } else if (a == "--fit-tolerance") {
      const auto v = value();
      const std::optional<double> f = v ? readNumber(*v) : std::nullopt;
      if (!f || !(*f >= 0.1 && *f <= 100.0)) return fail("--fit-tolerance needs a number of pixels from 0.1 to 100");
      args.fitTolerance = *f;
    } else if (a == "--svg") {
      const auto v = value();
      if (!v || v->empty()) return fail("--svg needs a file name");
      args.svg = *v;
    } else if (a == "--units") {
      const auto v = value();
      const std::optional<DrawingUnit> unit = v ? drawingUnitNamed(*v) : std::nullopt;
      if (!unit) return fail("--units " + v.value_or("") + " is refused: it takes mm, in or px");
      args.units = *unit;
    } else if (a == "--dpi") {
      const auto v = value();
      const std::optional<Int32> n = v ? readWhole32(*v) : std::nullopt;
      if (!n || *n < 1 || *n > kMaxDpi) {
        return fail("--dpi " + v.value_or("") + " is refused: it takes a whole number from 1 to " +
                    std::to_string(kMaxDpi));
      }
      args.dpi = *n;
    } else if (a == "--preview") {
      const auto v = value();
      if (!v || v->empty()) return fail("--preview needs a file name");
      args.preview = *v;
    } else if (a == "--scale") {
      const auto v = value();
      const std::optional<double> f = v ? readNumber(*v) : std::nullopt;
      if (!f) return fail("--scale needs a number from 0.01 to 3");
      const double hundredths = *f * 100.0;
      const double whole = std::round(hundredths);
      if (!(whole >= 1.0 && whole <= 300.0) || std::abs(hundredths - whole) > 1e-6) {
        return fail("--scale " + *v + " is refused: the scale runs from 0.01 to 3 in steps of 0.01");
      }
      args.scale = static_cast<Int32>(whole);
    } else if (a.starts_with("--") || a == "-j") {
      const Range* range = nullptr;
      for (const Range& r : kWholeOptions) {
        if (a == r.option) range = &r;
      }
      if (!range) return fail("unknown option " + a);
      const auto v = value();
      const std::optional<Int32> n = v ? readWhole32(*v) : std::nullopt;
      if (!n || *n < range->min || *n > range->max) {
        return fail(a + " " + (v ? *v : std::string()) + " is refused: it takes a whole number from " +
                    std::to_string(range->min) + " to " + std::to_string(range->max));
      }
      args.*(range->field) = *n;
    } else {
      positional.push_back(a);
    }
  }
  const bool paper = args.units != DrawingUnit::Pixel;
  if (paper && !args.dpi) {
    return fail("--units " + std::string(unitName(args.units)) +
                " needs --dpi N, the scan's resolution, to know how long a pixel is");
  }
  if (!paper && args.dpi) return fail("--dpi needs --units mm or --units in: a drawing in pixels has no use for it");
  if (!args.fit && args.fitTolerance != kDefaultFitTolerance) return fail("--fit-tolerance goes with --fit");
  if (args.outDir) {
    if (args.preview || args.svg)
      return fail("with --out-dir, use --preview-dir for previews; --preview and --svg name one file");
    if (positional.empty()) return fail("--out-dir needs the pictures to convert");
    args.pictures = std::move(positional);
    out.args = std::move(args);
    return out;
  }
  if (args.previewDir || args.jobs != 0) return fail("--preview-dir and -j go with --out-dir");
  if (positional.empty()) return fail("the DXF drawing to write is missing");
  if (positional.size() > 2) return fail("too many files: give at most a picture and a drawing");
  if (positional.size() == 2) args.picture = positional[0];
  args.drawing = positional.back();
  out.args = std::move(args);
  return out;
}

DrawingOptions drawingOptionsOf(const BatchArgs& args) {
  const double dpi = args.dpi.value_or(0);
  return {args.units, unitsPerPixel(args.units, dpi, args.scale / 100.0), args.polyline, args.fit, args.fitTolerance};
}

}  // namespace quern

#include "batch/batch_run.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <thread>

#include "base/errors.h"
#include "base/number_text.h"
#include "base/replace_file.h"
#include "batch/progress.h"
#include "dxf/dxf_drawing.h"
#include "dxf/dxf_writer.h"
#include "intake/builtin_pictures.h"
#include "intake/picture_loader.h"
#include "pipeline/preview.h"
#include "pipeline/stage_chain.h"
#include "pipeline/statistics.h"
#include "svg/svg_writer.h"

namespace quern {

namespace {

// The terminal's progress line: a line for each stage that reports, its bar
// at the fraction the stage has done.
FractionReport progressReport(ProgressLine* progress) {
  if (!progress) return FractionReport();
  return FractionReport([progress, shown = Stage::rescale](Stage stage, double fraction) mutable {
    if (stage != shown) progress->begin(stageName(stage));
    shown = stage;
    progress->update(fraction, 1.0);
  });
}

long long largestPicture(const BatchArgs& args) {
  return args.large ? static_cast<long long>(args.maxMegapixels) * 1'000'000 : kMaxPicturePixels;
}

Picture loadOriginal(const BatchArgs& args, const std::optional<std::string>& picture) {
  if (!picture) return builtinPicture();
  const std::optional<std::string> extension = pictureExtension(*picture);
  if (!extension || !isPictureExtension(*extension)) {
    throw FileError("cannot load " + *picture + ": Not a valid File___" + extension.value_or(*picture) +
                    " (the name must end in jpg, JPG, bmp, BMP, gif or GIF)");
  }
  return loadPictureFile(*picture, largestPicture(args));
}

// The values exactly as the window's value boxes hand them to the stages.
StageParams paramsOf(const BatchArgs& args) {
  StageParams p;
  p.scale = readNumber(decimalText(args.scale / 100.0)).value_or(1.0);
  p.blurRuns = args.blur;
  p.threshold = toInt16(args.threshold);
  p.tolerance = args.tolerance;
  p.reorder = args.reorder;
  p.keepOriginal = !args.noOriginal;
  p.minBranch = args.minBranch;
  p.minChain = args.minChain;
  return p;
}

// The window's last preview: stage 6 draws on a cleared box, over the
// original when it is kept.
void writePreview(const StageChain& chain, const Picture& original, bool keepOriginal, const std::string& path) {
  const Int32 w = pictureWidth(original);
  const Int32 h = pictureHeight(original);
  PictureBox box(static_cast<float>(kTwipsPerPixel), 0);
  layOutPreview(box, w, h);
  if (keepOriginal) box.PaintPicture(original, 0.0F, 0.0F, static_cast<float>(w), static_cast<float>(h));
  drawSegments(chain.segments(), box, chain.previewFactor());
  saveBitmapPng(box, path);
}

// A rescale factor, in hundredths, at which a refused picture would fit.
std::optional<Int32> fittingScale(const BatchArgs& args, const StageOutcome& o) {
  const double scale = args.scale / 100.0;
  double fit = 0.0;
  if (o.stage == Stage::rescale && o.width > 0 && o.height > 0) {
    fit = scale * std::sqrt(static_cast<double>(o.limit) / (static_cast<double>(o.width) * o.height));
  } else if (o.count > 0) {
    fit = scale * static_cast<double>(o.limit) / static_cast<double>(o.count) * 0.95;
  } else if (o.width > 0 || o.height > 0) {
    fit = scale * static_cast<double>(o.limit) / std::max(o.width, o.height);
  }
  const auto hundredths = static_cast<Int32>(std::floor(fit * 100.0 - 1e-9));
  if (hundredths < 1 || hundredths >= args.scale) return std::nullopt;
  return hundredths;
}

std::string describe(const BatchArgs& args, const StageOutcome& o) {
  std::string reason = o.reason;
  while (!reason.empty() && reason.back() == '.') reason.pop_back();
  std::string text = std::string("stage ") + std::to_string(static_cast<int>(o.stage)) + " (" + stageName(o.stage) +
                     ")" + (o.kind == StageOutcome::Kind::refused ? " refused: " : " failed: ") + reason;
  if (o.kind != StageOutcome::Kind::refused) return text;
  const std::string size = std::to_string(o.width) + " by " + std::to_string(o.height);
  if (o.width > 0 && reason.find(size) == std::string::npos) text += " (the picture is " + size + " pixels)";
  text += ".";
  if (const std::optional<Int32> fit = fittingScale(args, o)) {
    text += " A --scale of " + decimalText(*fit / 100.0) + " would fit";
    text += args.large ? ";" : ", or";
  }
  text += args.large ? " --max-megapixels sets how large a picture --large takes."
                     : " --large lifts the limit for this run.";
  return text;
}

}  // namespace

BatchResult convertPicture(const BatchArgs& args, const std::optional<std::string>& picture, const std::string& drawing,
                           const std::optional<std::string>& preview, ProgressLine* progress) {
  const auto started = std::chrono::steady_clock::now();
  BatchResult result;
  result.picture = picture.value_or("");
  auto finish = [&](std::string error) {
    result.error = std::move(error);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (progress) progress->finish();
    return result;
  };
  RasterLimits limits = args.large ? RasterLimits::large(largestPicture(args)) : RasterLimits{};
  // Several pictures at a time take large blocks from the heap (see allocateZeroed).
  limits.mapLargeBlocks = !args.outDir;
  RasterContext context(limits);
  FractionReport report = progressReport(progress);
  // A batch run reruns nothing: each picture goes once the next stage has
  // taken it on, and memory holds about two pictures at a time. The original
  // stays only while the preview still needs it.
  StageChain chain(context, report, ChainOptions{Retention::letGo});
  const StageParams params = paramsOf(args);
  Picture original;
  try {
    original = loadOriginal(args, picture);
  } catch (const QuernError& e) {
    return finish(e.what());
  }
  result.width = pictureWidth(original);
  result.height = pictureHeight(original);
  chain.setOriginal(original);
  if (!preview) original = nullptr;
  const std::vector<StageOutcome> outcomes = chain.run(Stage::rescale, params);
  if (!outcomes.back().done()) return finish(describe(args, outcomes.back()));
  try {
    const DrawingOptions options = drawingOptionsOf(args);
    writeDxfDrawing(withDxfExtension(drawing), chain.segments(), options);
    if (args.svg) writeSvgFile(*args.svg, chain.segments(), options);
    if (preview) writePreview(chain, original, params.keepOriginal, *preview);
  } catch (const QuernError& e) {
    return finish(e.what());
  }
  const std::string name = picture ? std::filesystem::path(*picture).filename().string() : std::string();
  result.lines = chain.segments().count();
  const std::array<std::string, 6> lines =
      statisticsLines(name, result.width, result.height, outcomes.front().width, outcomes.front().height, result.lines);
  result.statistics.assign(lines.begin(), lines.end());
  return finish("");
}

BatchResult runBatch(const BatchArgs& args, ProgressLine* progress) {
  return convertPicture(args, args.picture, args.drawing, args.preview, progress);
}

std::vector<BatchResult> runMany(const BatchArgs& args, ProgressLine* progress) {
  const std::filesystem::path outDir(*args.outDir);
  std::error_code made;
  std::filesystem::create_directories(outDir, made);
  if (args.previewDir) std::filesystem::create_directories(*args.previewDir, made);
  // Every drawing is synced as it is written; its folder once, at the end.
  const FolderSyncBatch folders;
  std::vector<BatchResult> results(args.pictures.size());
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> finished{0};
  auto work = [&] {
    for (std::size_t i = next++; i < args.pictures.size(); i = next++) {
      const std::string& picture = args.pictures[i];
      const std::string stem = std::filesystem::path(picture).stem().string();
      std::optional<std::string> preview;
      if (args.previewDir) preview = (std::filesystem::path(*args.previewDir) / (stem + ".png")).string();
      results[i] = convertPicture(args, picture, (outDir / (stem + ".dxf")).string(), preview, nullptr);
      ++finished;
    }
  };
  const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
  const std::size_t jobs =
      std::min<std::size_t>(args.jobs > 0 ? static_cast<std::size_t>(args.jobs) : cores, args.pictures.size());
  std::vector<std::thread> workers;
  for (std::size_t j = 1; j < jobs; ++j) workers.emplace_back(work);
  if (progress) {
    progress->begin("pictures");
    // The calling thread keeps the bar while the workers convert.
    workers.emplace_back(work);
    while (finished < args.pictures.size()) {
      progress->update(static_cast<double>(finished), static_cast<double>(args.pictures.size()));
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    progress->finish();
  } else {
    work();
  }
  for (std::thread& t : workers) t.join();
  return results;
}

std::string summaryTable(const std::vector<BatchResult>& results) {
  std::size_t wide = 7;
  for (const BatchResult& r : results) wide = std::max(wide, r.picture.size());
  std::ostringstream out;
  char line[64];
  out << std::string("picture") << std::string(wide - 7 + 2, ' ') << "       size   lines  seconds  result\n";
  for (const BatchResult& r : results) {
    const std::string size = r.width > 0 ? std::to_string(r.width) + " x " + std::to_string(r.height) : "-";
    std::snprintf(line, sizeof line, "  %11s  %6d  %7.2f  ", size.c_str(), r.lines, r.seconds);
    out << r.picture << std::string(wide - r.picture.size(), ' ') << line << (r.ok() ? "written" : "failed: " + r.error)
        << "\n";
  }
  return out.str();
}

}  // namespace quern

#include "batch/batch_run.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <thread>

#include "base/errors.h"
#include "base/number_text.h"
#include "batch/progress.h"
#include "dxf/dxf_drawing.h"
#include "dxf/dxf_writer.h"
#include "intake/builtin_pictures.h"
#include "intake/picture_loader.h"
#include "pipeline/preview.h"
#include "pipeline/stage_chain.h"
#include "svg/svg_writer.h"
#include "vector/fitting.h"

namespace quern {

namespace {

// The stages report through their host. A batch run has no interface to let
// run; it tells of refusals through the stage outcomes, so the controls' own
// messages are not repeated, and it shows the stage's bar on the terminal.
class BatchHost : public Host {
 public:
  explicit BatchHost(ProgressLine* progress) : progress_(progress) {}
  void DoEvents() override {
    if (progress_ && bar_ >= 0) progress_->update(bars_[bar_].Value, bars_[bar_].Max);
  }
  ProgressBar& PB(Int16 index) override { return progressBarAt(bars_, index); }
  void MsgBox(const std::string&) override {}
  void follow(Stage stage) {
    static constexpr int kBar[] = {0, 1, 2, 3, 5, 6};
    const int bar = kBar[static_cast<int>(stage) - 1];
    // Pruning runs as a second step of the chain stage: it keeps its line.
    if (progress_ && bar != bar_) progress_->begin(stageName(stage));
    bar_ = bar;
  }

 private:
  ProgressLine* progress_;
  ProgressBar bars_[7];
  int bar_ = -1;
};

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
void writePreview(const StageChain& chain, Int32 w, Int32 h, float factor, bool keepOriginal, const std::string& path) {
  PictureBox box(static_cast<float>(kTwipsPerPixel), 0);
  layOutPreview(box, w, h);
  if (keepOriginal)
    box.PaintPicture(chain.original.picture(), 0.0F, 0.0F, static_cast<float>(w), static_cast<float>(h));
  drawSegments(chain.session.ChainTable, box, factor);
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
  BatchHost host(progress);
  RasterContext context(args.large ? RasterLimits::large(largestPicture(args)) : RasterLimits{});
  StageChain chain(context, host);
  const StageParams params = paramsOf(args);
  try {
    chain.original.setPicture(loadOriginal(args, picture));
  } catch (const QuernError& e) {
    return finish(e.what());
  }
  result.width = chain.original.picwidth();
  result.height = chain.original.picheight();
  Int32 rescaledWidth = 0;
  Int32 rescaledHeight = 0;
  // A batch run reruns nothing, so each picture is let go once the stage
  // after it has taken it on: memory holds about two pictures at a time.
  const std::vector<StageOutcome> outcomes = chain.run(Stage::rescale, params, [&](Stage stage) {
    host.follow(stage);
    if (stage == Stage::blur) {
      rescaledWidth = chain.rescaled.picwidth();
      rescaledHeight = chain.rescaled.picheight();
      if (!preview) chain.original.setPicture(nullptr);
    } else if (stage == Stage::threshold) {
      chain.rescaled.setPicture(nullptr);
      context.filterpixels.release();
    } else if (stage == Stage::thin) {
      chain.smoothed.setPicture(nullptr);
    } else if (stage == Stage::chain) {
      chain.blackWhite.setPicture(nullptr);
    }
  });
  if (!outcomes.back().done()) return finish(describe(args, outcomes.back()));
  try {
    const DrawingOptions options = drawingOptionsOf(args);
    if (options.fit) {
      const std::vector<FittedChain> fitted = fitDrawing(chain.session.LineTable, options.fitTolerance);
      writeDxfDrawing(withDxfExtension(drawing), fitted, options);
      if (args.svg) writeSvgFile(*args.svg, fitted, options);
    } else {
      writeDxfDrawing(withDxfExtension(drawing), chain.session.ChainTable, options);
      if (args.svg) writeSvgFile(*args.svg, chain.session.ChainTable, options);
    }
    if (preview) {
      const float factor = toFloat32(static_cast<double>(result.width) / chain.thinned.picwidth());
      writePreview(chain, result.width, result.height, factor, params.keepOriginal, *preview);
    }
  } catch (const QuernError& e) {
    return finish(e.what());
  }
  const std::string name = picture ? std::filesystem::path(*picture).filename().string() : std::string();
  result.lines = chain.session.ChainTable.count();
  result.statistics = {
      "Filename: ..." + name,
      "Original Image X: " + std::to_string(result.width) + " pixels",
      "Original Image Y: " + std::to_string(result.height) + " pixels",
      "Adjusted Image X: " + std::to_string(rescaledWidth) + " pixels",
      "Adjusted Image Y: " + std::to_string(rescaledHeight) + " pixels",
      "Lines for output: " + std::to_string(result.lines) + " Normalized Objects",
  };
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

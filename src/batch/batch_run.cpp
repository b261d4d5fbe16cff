#include "batch/batch_run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <new>
#include <sstream>
#include <thread>

#include "base/errors.h"
#include "base/number_text.h"
#include "base/output_set.h"
#include "batch/progress.h"
#include "batch/refusals.h"
#include "batch/report.h"
#include "batch/report_pictures.h"
#include "dxf/cad_dxf.h"
#include "dxf/dxf_drawing.h"
#include "dxf/dxf_writer.h"
#include "intake/builtin_pictures.h"
#include "intake/picture_format.h"
#include "intake/picture_loader.h"
#include "pipeline/preview.h"
#include "pipeline/stage_chain.h"
#include "pipeline/statistics.h"
#include "processing/colour_normalise.h"
#include "processing/filter_store.h"
#include "svg/svg_writer.h"
#include "vector/fitting.h"

namespace quern {

namespace {

// The terminal's progress line: a line for each stage that reports, its bar
// at the fraction the stage has done.
FractionReport progressReport(ProgressLine* progress) {
  // Without a line to show them on, the stages report to nobody.
  if (!progress || !progress->enabled()) return FractionReport();
  return FractionReport([progress, shown = Stage::rescale](Stage stage, double fraction) mutable {
    if (stage != shown) progress->begin(stageName(stage));
    shown = stage;
    progress->update(fraction, 1.0);
  });
}

long long largestPicture(const BatchArgs& args) {
  return args.large ? static_cast<long long>(args.maxMegapixels) * 1'000'000 : kMaxPicturePixels;
}

void checkPictureName(const std::string& picture) {
  if (!isBatchPictureName(picture)) {
    throw FileError("cannot load " + picture + ": the name must end in " + kBatchPictureEndings + " (in any case)");
  }
}

Picture loadOriginal(const BatchArgs& args, const std::optional<std::string>& picture) {
  if (!picture) return builtinPicture();
  checkPictureName(*picture);
  return loadPictureFile(*picture, largestPicture(args), args.page);
}

// The values exactly as the window's value boxes hand them to the stages.
StageParams paramsOf(const BatchArgs& args) {
  StageParams p;
  p.scale = readNumber(decimalText(args.scale / 100.0)).value_or(1.0);
  p.blurRuns = args.blur;
  p.threshold = toInt16(args.threshold);
  ThresholdSetting& t = p.thresholdSetting;
  t.mode = args.thresholdMode;
  t.window = args.localWindow;
  t.sensitivity = args.sensitivity.value_or(t.sensitivity);
  t.dpi = args.dpi.value_or(0);
  t.scale = args.scale / 100.0;
  p.tolerance = args.tolerance;
  p.reorder = args.reorder;
  p.keepOriginal = !args.noOriginal;
  p.minBranch = args.minBranch;
  p.minChain = args.minChain;
  return p;
}

// What stage 3 used, in words: the fixed or the chosen threshold, or the
// local threshold's window and sensitivity.
std::string thresholdUsed(const StageParams& params, const std::vector<StageOutcome>& outcomes) {
  Int32 value = params.threshold;
  for (const StageOutcome& o : outcomes) {
    if (o.stage == Stage::threshold && o.done()) value = o.value;
  }
  const ThresholdSetting& t = params.thresholdSetting;
  switch (t.mode) {
    case ThresholdMode::automatic:
      return "auto " + std::to_string(value);
    case ThresholdMode::local:
      return "local, window " + std::to_string(value) + " pixels, sensitivity " + decimalText(t.sensitivity);
    case ThresholdMode::fixed:
      break;
  }
  return std::to_string(value);
}

// The black pixels the threshold stage left, as its outcome counts them.
long long blackPixels(const std::vector<StageOutcome>& outcomes) {
  for (const StageOutcome& o : outcomes) {
    if (o.stage == Stage::threshold && o.done()) return o.count;
  }
  return 0;
}

// The strokes' width in thinned pixels: their black area over the length of
// the centre lines drawn through them.
float lineWidthOf(long long black, const RecordTable& segments) {
  double length = 0.0;
  for (Int32 i = 1; i <= segments.count(); ++i) {
    const LineRecord& r = segments[i];
    if (!isSeparator(r)) length += std::hypot(r.x2 - r.x1, r.y2 - r.y1);
  }
  if (length <= 0.0) return 1.0F;
  return static_cast<float>(std::clamp(static_cast<double>(black) / length, 1.0, 64.0));
}

// The rescale's refusal, told from the size in the picture's header before
// any pixel is decoded, so that a --scale too large costs no picture memory.
// Nothing when the header cannot be read: loading says why.
std::optional<StageOutcome> refusedByHeader(const BatchArgs& args, const PictureFileBytes& bytes, long long limit) {
  const PictureShape shape = inspectPictureFile(bytes.data.get(), bytes.size);
  // The header gives the first page's size only.
  if (!shape.problem.empty() || shape.width <= 0 || shape.height <= 0 || args.page != 1) return std::nullopt;
  const double factor = paramsOf(args).scale;
  StageOutcome o;
  o.stage = Stage::rescale;
  o.width = static_cast<Int32>(std::min(2e9, std::round(static_cast<double>(shape.width) * factor)));
  o.height = static_cast<Int32>(std::min(2e9, std::round(static_cast<double>(shape.height) * factor)));
  o.limit = limit;
  if (static_cast<long long>(o.width) * o.height <= limit) return std::nullopt;
  o.kind = StageOutcome::Kind::refused;
  o.reason = "the rescaled picture would be " + std::to_string(o.width) + " by " + std::to_string(o.height) +
             " pixels, over the limit of " + std::to_string(limit) + " pixels";
  return o;
}

BatchResult convertOrThrow(const BatchArgs& args, const std::optional<std::string>& picture, const std::string& drawing,
                           const std::optional<std::string>& preview, ProgressLine* progress, Review review,
                           FolderSyncs* folderSyncs) {
  const auto started = std::chrono::steady_clock::now();
  BatchResult result;
  result.picture = picture.value_or("");
  result.threshold = std::to_string(args.threshold);
  auto finish = [&](std::string failedAt, std::string error) {
    result.failedAt = std::move(failedAt);
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
  // A batch run reruns nothing and shows no stage's picture: each picture
  // goes once the next stage has taken it on, those only the next stage reads
  // are not made, and memory holds about two pictures at a time.
  StageChain chain(context, report, ChainOptions{Retention::drawingOnly});
  const StageParams params = paramsOf(args);
  // The file is read once: its header may refuse it before any pixel is decoded.
  Picture original;
  try {
    if (picture) {
      checkPictureName(*picture);
      const PictureFileBytes bytes = readPictureFile(*picture, largestPicture(args));
      if (const auto refused = refusedByHeader(args, bytes, context.limits.surfacePixels)) {
        return finish("loading", describe(args, *refused));
      }
      original = decodePictureFile(bytes.data.get(), bytes.size, *picture, largestPicture(args), args.page);
    } else {
      original = builtinPicture();
    }
  } catch (const QuernError& e) {
    return finish("loading", e.what());
  }
  result.width = pictureWidth(original);
  result.height = pictureHeight(original);
  // A box that cannot be made leaves the card without a thumbnail, and a
  // preview asked for fails the writing.
  std::optional<PictureBox> box;
  std::optional<PictureBox::RowPainter> painter;
  // The review page's own preview, when no other was asked for, is painted
  // as greys: the box then only lays it out and draws nothing.
  std::optional<ReviewPicture> painted;
  std::string noBox;
  try {
    if (preview || review != Review::none) {
      box = review == Review::thumbnailAndPagePreview ? pageBox(result.width, result.height)
                                                      : previewBox(result.width, result.height);
      if (review == Review::thumbnailAndPagePreview) painted = blankReview(*box);
      if (params.keepOriginal) painter.emplace(originalPainter(*box, result.width, result.height));
      if (painter && painted) painter->intoGreys(painted->pixels.data(), kReviewLine - 1);
    }
  } catch (const QuernError& e) {
    box.reset();
    painter.reset();
    painted.reset();
    noBox = e.what();
  }
  RowSink originalRows;
  GreyRowSink originalGreys;
  if (painter) {
    originalRows = [&p = *painter](Int32 y, const Colour* pixels) { p.row(y, pixels); };
    originalGreys = [&p = *painter](Int32 y, const std::uint8_t* greys) { p.row(y, greys); };
  }
  // The chain holds the original only until the rescale has taken it on,
  // and paints it into the preview box as it goes.
  chain.setOriginal(std::move(original), std::move(originalRows), std::move(originalGreys));
  const std::vector<StageOutcome> outcomes = chain.run(Stage::rescale, params);
  if (!outcomes.back().done()) {
    // A grey page refused at thinning is told of the threshold that would
    // keep only its line work: the original is read again for that.
    const StageOutcome& last = outcomes.back();
    const long long area = static_cast<long long>(last.width) * last.height;
    const bool mostlyDark = last.stage == Stage::thin && area > 0 &&
                            static_cast<double>(blackPixels(outcomes)) > kMostlyDark * static_cast<double>(area);
    Darkness darkness;
    if (mostlyDark) {
      try {
        darkness = darknessOf(loadOriginal(args, picture), args.threshold);
      } catch (const QuernError&) {
      }
    }
    if (review != Review::none && box) {
      // The review page shows what was refused; nothing is written for it.
      try {
        PreviewImages images = previewImages(*box, painted ? &*painted : nullptr, nullptr, 1.0F, std::nullopt, review);
        result.shown = std::move(images.shown);
      } catch (const QuernError&) {
        // The card then shows no picture; the refusal it must show stands either way.
      }
    }
    return finish("stage " + std::to_string(static_cast<int>(last.stage)) + " (" + stageName(last.stage) + ")",
                  describe(args, last, darkness));
  }
  try {
    // Every output is staged before any is put in place: a preview that
    // cannot be written leaves the old drawing too.
    DrawingOptions options = drawingOptionsOf(args);
    options.lineWidth = lineWidthOf(blackPixels(outcomes), chain.segments());
    const std::vector<FittedChain> fitted =
        options.fit ? fitDrawing(chain.session.LineTable, options.fitTolerance) : std::vector<FittedChain>{};
    const std::string dxf = options.fit ? cadDxfText(fitted, options) : dxfDrawingBytes(chain.segments(), options);
    OutputSet::Options writing;
    writing.folderSyncs = folderSyncs;
    OutputSet outputs(writing);
    // In a batch of many, every file waits for one sync of its file system at the end.
    const OutputSet::Sync sync = folderSyncs ? OutputSet::Sync::atEnd : OutputSet::Sync::atOnce;
    if (drawing != "-") {
      result.drawing = withDxfExtension(drawing);
      outputs.add(result.drawing, dxf, sync);
    }
    if (args.svg) {
      outputs.add(*args.svg, options.fit ? svgDrawing(fitted, options) : svgDrawing(chain.segments(), options), sync);
      result.svg = *args.svg;
    }
    if (preview && !box) throw FileError("cannot make the preview " + *preview + ": " + noBox);
    if (box) {
      PreviewImages images =
          previewImages(*box, painted ? &*painted : nullptr, &chain.segments(), chain.previewFactor(), preview, review);
      if (preview && !images.file.empty()) {
        outputs.add(*preview, images.file, sync);
        result.preview = *preview;
      }
      result.shown = std::move(images.shown);
    }
    outputs.commit();
    if (drawing == "-") {
      std::cout.write(dxf.data(), static_cast<std::streamsize>(dxf.size()));
      std::cout.flush();
      if (!std::cout) throw FileError("cannot write the drawing to standard output");
    }
  } catch (const QuernError& e) {
    return finish("writing", e.what());
  }
  const std::string name = picture ? std::filesystem::path(*picture).filename().string() : std::string();
  result.lines = chain.segments().count();
  const std::array<std::string, 6> lines =
      statisticsLines(name, result.width, result.height, outcomes.front().width, outcomes.front().height, result.lines);
  result.statistics.assign(lines.begin(), lines.end());
  result.threshold = thresholdUsed(params, outcomes);
  // The window's six lines stay as they are; another way of thresholding says which it took.
  if (params.thresholdSetting.mode != ThresholdMode::fixed)
    result.statistics.push_back("Threshold: " + result.threshold);
  return finish("", "");
}

}  // namespace

BatchResult convertPicture(const BatchArgs& args, const std::optional<std::string>& picture, const std::string& drawing,
                           const std::optional<std::string>& preview, ProgressLine* progress, Review review,
                           FolderSyncs* folderSyncs) {
  const auto started = std::chrono::steady_clock::now();
  try {
    return convertOrThrow(args, picture, drawing, preview, progress, review, folderSyncs);
  } catch (const std::bad_alloc&) {
    // The chain and its pictures are gone with the stack: the next picture has the memory back.
    BatchResult result;
    result.picture = picture.value_or("");
    result.failedAt = "memory";
    result.error = "out of memory: the run could not get the memory this picture needs, and wrote nothing for it";
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (progress) progress->finish();
    return result;
  }
}

namespace {

// With --report, a picture's preview in the page's colours, in the page,
// unless one was asked for elsewhere: then the page holds its thumbnail.
Review reportPreview(const BatchArgs& args, const std::optional<std::string>& preview) {
  if (!args.report) return Review::none;
  return preview ? Review::thumbnail : Review::thumbnailAndPagePreview;
}

}  // namespace

BatchResult runBatch(const BatchArgs& args, ProgressLine* progress) {
  return convertPicture(args, args.picture, args.drawing, args.preview, progress, reportPreview(args, args.preview));
}

std::vector<BatchResult> runMany(const BatchArgs& args, const RunPlan& plan, ProgressLine* progress,
                                 const BeforeSync& beforeSync, const EachDone& eachDone) {
  for (const std::optional<std::string>& folder : {args.outDir, args.previewDir}) {
    std::error_code made;
    if (folder) std::filesystem::create_directories(*folder, made);
    // The reason itself: a write into the folder would only say it is not there.
    if (made) throw FileError("Cannot make the folder \"" + *folder + "\": " + made.message());
  }
  if (!plan.error.empty()) throw QuernError(plan.error);
  // The files go to disk together at the end: one sync of each file system.
  FolderSyncs folders;
  std::vector<BatchResult> results(args.pictures.size());
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> finished{0};
  // The bar's thread is woken by the last picture, not left to its next tick.
  std::mutex allDoneLock;
  std::condition_variable allDone;
  auto work = [&] {
    for (std::size_t k = next++; k < args.pictures.size(); k = next++) {
      const std::size_t i = plan.order[k];
      const PictureFiles& files = plan.pictures[i];
      results[i] = convertPicture(args, files.picture, files.drawing, files.preview, nullptr,
                                  reportPreview(args, files.preview), &folders);
      if (eachDone) eachDone(results[i], i, folders);
      if (++finished == args.pictures.size()) {
        const std::lock_guard<std::mutex> hold(allDoneLock);
        allDone.notify_all();
      }
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
    std::unique_lock<std::mutex> hold(allDoneLock);
    while (finished < args.pictures.size()) {
      progress->update(static_cast<double>(finished), static_cast<double>(args.pictures.size()));
      allDone.wait_for(hold, std::chrono::milliseconds(50), [&] { return finished == args.pictures.size(); });
    }
    progress->finish();
  } else {
    work();
  }
  for (std::thread& t : workers) t.join();
  if (beforeSync) beforeSync(results, folders);
  // A drawing is written only once it is on disk.
  if (const std::string failure = folders.syncAll(); !failure.empty()) {
    for (BatchResult& r : results) {
      if (!r.ok()) continue;
      r.failedAt = "writing";
      r.error = failure;
    }
  }
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
  std::size_t failed = 0;
  double seconds = 0.0;
  for (const BatchResult& r : results) {
    failed += r.ok() ? 0 : 1;
    seconds += r.seconds;
  }
  out << results.size() << (results.size() == 1 ? " picture: " : " pictures: ") << results.size() - failed
      << " written, " << failed << " failed";
  std::snprintf(line, sizeof line, ", %.2f seconds of work\n", seconds);
  out << line;
  return out.str();
}

}  // namespace quern

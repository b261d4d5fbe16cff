#include "batch/batch_run.h"

#include <filesystem>

#include "base/errors.h"
#include "base/number_text.h"
#include "dxf/dxf_drawing.h"
#include "dxf/dxf_writer.h"
#include "intake/builtin_pictures.h"
#include "intake/picture_loader.h"
#include "pipeline/preview.h"
#include "pipeline/stage_chain.h"
#include "svg/svg_writer.h"

namespace quern {

namespace {

// The stages report through the control's host; a batch run has no interface
// to let run and tells the user of refusals through the stage outcomes, so
// the controls' own messages are not repeated.
class BatchHost : public Host {
 public:
  void DoEvents() override {}
  ProgressBar& PB(Int16 index) override { return progressBarAt(bars_, index); }
  void MsgBox(const std::string&) override {}

 private:
  ProgressBar bars_[7];
};

Picture loadOriginal(const BatchArgs& args) {
  if (!args.picture) return builtinPicture();
  const std::string& path = *args.picture;
  const std::optional<std::string> extension = pictureExtension(path);
  if (!extension || !isPictureExtension(*extension)) {
    throw FileError("cannot load " + path + ": Not a valid File___" + extension.value_or(path) +
                    " (the name must end in jpg, JPG, bmp, BMP, gif or GIF)");
  }
  return loadPictureFile(path);
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
void writePreview(const StageChain& chain, bool keepOriginal, const std::string& path) {
  const Int32 w = chain.original.picwidth();
  const Int32 h = chain.original.picheight();
  PictureBox box(static_cast<float>(kTwipsPerPixel), 0);
  layOutPreview(box, w, h);
  if (keepOriginal)
    box.PaintPicture(chain.original.picture(), 0.0F, 0.0F, static_cast<float>(w), static_cast<float>(h));
  drawSegments(chain.session.ChainTable, box, chain.previewFactor());
  saveBitmapPng(box, path);
}

std::string describe(const StageOutcome& o) {
  const char* verb = o.kind == StageOutcome::Kind::refused ? " refused: " : " failed: ";
  return std::string("stage ") + std::to_string(static_cast<int>(o.stage)) + " (" + stageName(o.stage) + ")" + verb +
         o.reason;
}

}  // namespace

BatchResult runBatch(const BatchArgs& args) {
  BatchResult result;
  BatchHost host;
  RasterContext context;
  StageChain chain(context, host);
  const StageParams params = paramsOf(args);
  try {
    chain.original.setPicture(loadOriginal(args));
  } catch (const FileError& e) {
    result.error = e.what();
    return result;
  }
  result.width = chain.original.picwidth();
  result.height = chain.original.picheight();
  result.outcomes = chain.run(Stage::rescale, params);
  if (!result.outcomes.back().done()) {
    result.error = describe(result.outcomes.back());
    return result;
  }
  try {
    const DrawingOptions options = drawingOptionsOf(args);
    writeDxfDrawing(withDxfExtension(args.drawing), chain.session.ChainTable, options);
    if (args.svg) writeSvgFile(*args.svg, chain.session.ChainTable, options);
    if (args.preview) writePreview(chain, params.keepOriginal, *args.preview);
  } catch (const QuernError& e) {
    result.error = e.what();
    return result;
  }
  const std::string name = args.picture ? std::filesystem::path(*args.picture).filename().string() : std::string();
  result.lines = chain.session.ChainTable.count();
  result.statistics = {
      "Filename: ..." + name,
      "Original Image X: " + std::to_string(chain.original.picwidth()) + " pixels",
      "Original Image Y: " + std::to_string(chain.original.picheight()) + " pixels",
      "Adjusted Image X: " + std::to_string(chain.rescaled.picwidth()) + " pixels",
      "Adjusted Image Y: " + std::to_string(chain.rescaled.picheight()) + " pixels",
      "Lines for output: " + std::to_string(result.lines) + " Normalized Objects",
  };
  return result;
}

}  // namespace quern

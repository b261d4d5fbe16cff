#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "batch/batch_args.h"
#include "batch/report_pictures.h"
#include "pipeline/stage.h"

namespace quern {

class FolderSyncs;

class ProgressLine;

// What one picture's run came to: the statistics the window would show, or
// the reason nothing was written.
struct BatchResult {
  std::string picture;   // as named on the command line; empty for the built-in one
  std::string error;     // empty when the drawing was written
  std::string failedAt;  // what failed: "loading", a stage as "stage 2 (blur)", "writing"
  std::vector<std::string> statistics;
  Int32 width = 0;  // of the original
  Int32 height = 0;
  Int32 lines = 0;        // records of the drawing
  std::string threshold;  // the threshold stage 3 used, in words ("200", "auto 137", ...)
  double seconds = 0.0;
  // The files written for it, as named to the writers; empty when not written.
  std::string drawing;
  std::string svg;
  std::string preview;
  // For the review page; the URI is let go once the page's file holds it.
  ShownPicture shown;
  bool ok() const { return error.empty(); }
};

// The files of one picture's run.
struct PictureFiles {
  std::optional<std::string> picture;  // none: the built-in one
  std::string drawing;                 // with its extension
  std::optional<std::string> preview;
};

// Every picture's files, worked out and checked before any work: no output
// may be an input or another output, by identity, whatever the names. With
// --out-dir two pictures of one name (a/scan.gif, b/scan.jpg) are refused,
// or with --on-collision suffix the later ones are written as scan-2 ...
// in the order given. `error` names the clash.
struct RunPlan {
  std::vector<PictureFiles> pictures;
  // The order to start them in: largest file first, so that a large picture
  // is not left to run alone at the end; files of one size, and those that
  // cannot be read (which fail at once), in the order given.
  std::vector<std::size_t> order;
  std::string error;
};
RunPlan planRun(const BatchArgs& args);

// Loads one picture (or takes the built-in one), runs the six stages with
// the run's values in a session of its own and, when every stage did its
// work, writes the drawing, the SVG and the preview asked for, all together
// or none. A picture that could not be loaded, a stage that refused or
// failed, an output that could not be written or memory that ran out writes
// nothing: every existing file stays as it was. `progress` may be null.
// `folderSyncs`, when given, holds the files' and folders' syncs until the
// batch ends (one sync of each file system, then).
// `review` asks for the review page's pictures (see PreviewImages; a
// picture that loaded but failed a stage still gets them, of the original
// alone), and says whether `preview` is the page's own, in its colours.
BatchResult convertPicture(const BatchArgs& args, const std::optional<std::string>& picture, const std::string& drawing,
                           const std::optional<std::string>& preview, ProgressLine* progress,
                           Review review = Review::none, FolderSyncs* folderSyncs = nullptr);

// The single-picture form: PICTURE (or the built-in one) to DRAWING.
BatchResult runBatch(const BatchArgs& args, ProgressLine* progress = nullptr);

// The many-picture form: each picture to DIR/NAME.dxf (and DIR/NAME.png with
// --preview-dir, and a thumbnail for the review page with --report),
// args.jobs pictures at a time on threads of their own. One
// picture's failure does not stop the others. Results in the pictures' order.
// `plan` is planRun's for these args. Throws QuernError when the folders
// cannot be made or the files clash.
// `eachDone` is given each picture's result, with its index, on the thread
// that made it, as soon as it is made; it may take what it needs from it.
// `beforeSync` is given the results once every picture is done, before the
// files go to disk: what they write with `syncs` goes there in the same sync.
using EachDone = std::function<void(BatchResult& result, std::size_t index, FolderSyncs& syncs)>;
using BeforeSync = std::function<void(const std::vector<BatchResult>& results, FolderSyncs& syncs)>;
std::vector<BatchResult> runMany(const BatchArgs& args, const RunPlan& plan, ProgressLine* progress = nullptr,
                                 const BeforeSync& beforeSync = {}, const EachDone& eachDone = {});

// The summary of a many-picture run: picture, size, lines, seconds, result,
// and a line of totals.
std::string summaryTable(const std::vector<BatchResult>& results);

}  // namespace quern

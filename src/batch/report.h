#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/output_set.h"
#include "batch/batch_run.h"

namespace quern {

// The review page of a batch: totals, then one card per picture with its
// thumbnail, numbers and links, failures first. It is plain HTML and CSS that
// a browser opens from its folder with no server. The previews are inside
// it, each its card's thumbnail too, so that a picture costs the batch no
// file but its drawing to write carefully; every file it links to is named
// relative to its folder.

// The page for these results of a batch that took `seconds` in all.
std::string reportPage(const std::string& page, const std::vector<BatchResult>& results, double seconds);

// The page as a batch writes it while it runs: each picture a card shows
// goes into the page's file soon after its run has made it, and is let go;
// only the text of the totals and cards waits for the end. The page is
// written with the careful writer and its folder made when missing; with
// `syncs`, it goes to disk with the batch's files, in their sync at the end.
class ReviewPage {
 public:
  ReviewPage(std::string page, std::size_t pictures);
  ~ReviewPage();
  ReviewPage(const ReviewPage&) = delete;
  ReviewPage& operator=(const ReviewPage&) = delete;
  // Takes the picture the result's card shows into the page, and lets go
  // of its URI; makes its card for finish(). On any thread; a failure is
  // kept for finish(), which then throws it.
  void take(BatchResult& result, std::size_t index, FolderSyncs* syncs);
  // Writes the rest of the page, with the pictures not taken yet, and puts
  // it in place. Throws FileError.
  void finish(const std::vector<BatchResult>& results, double seconds, FolderSyncs* syncs);
  // Once finished: the page written again for results that have changed
  // since (drawings whose sync failed), its pictures read back from its
  // file. Throws FileError.
  void rewrite(const std::vector<BatchResult>& results, double seconds);

 private:
  void open(FolderSyncs* syncs);
  // Writes pictures taken, opening the page first; a failure is kept for
  // finish().
  void write(std::string_view pictures, FolderSyncs* syncs);
  // Pictures are written some at a time, in fewer and larger writes: each
  // write costs the kernel more than its bytes do. The page's growing
  // output sends them on to disk as they pass 128 kB.
  static constexpr std::size_t kWriteEvery = 64 << 10;
  std::string page_;
  std::filesystem::path folder_;
  std::size_t pictures_;
  // Each picture's card once its picture is taken, by its place.
  std::vector<std::string> cards_;
  // `lock_` holds the cards, the pictures not yet written and the first
  // failure; `writing_` the page's file. A thread that holds both took
  // `writing_` first.
  std::mutex lock_;
  std::mutex writing_;
  std::unique_ptr<OutputSet> set_;
  std::optional<OutputSet::Growing> out_;
  std::string error_;
  std::string pending_;
  std::size_t titleAt_ = 0;
  std::size_t picturesEnd_ = 0;
};

// The page for these results, written at once. Throws FileError.
void writeReport(const std::string& page, const std::vector<BatchResult>& results, double seconds,
                 FolderSyncs* syncs = nullptr);

// Text as HTML shows it, in an element or an attribute.
std::string htmlText(std::string_view text);

// A link from the page's folder to `target`: relative where it can be, every
// byte but the unreserved ones and '/' percent-encoded.
std::string linkFrom(const std::string& page, const std::string& target);

}  // namespace quern

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "batch/batch_run.h"

namespace quern {

// The review page of a batch: totals, then one card per picture with its
// thumbnail, numbers and links, failures first. It is plain HTML and CSS that
// a browser opens from its folder with no server. The previews are inside
// it, each its card's thumbnail too, unless one is too busy to code small,
// so that a picture costs the batch no file but its drawing to write
// carefully; every file it links to is named relative to its folder.

// Where the page keeps the pictures' previews when no others were asked
// for: PAGE_files beside PAGE.html, and in it STEM + suffix.
std::string reportFolder(const std::string& page);
std::string reportFile(const std::string& page, const std::string& stem, std::string_view suffix);

// The page for these results of a batch that took `seconds` in all.
std::string reportPage(const std::string& page, const std::vector<BatchResult>& results, double seconds);

// The page written to `page` with the careful writer; with `syncs`, it goes
// to disk with the batch's files, in their sync at the end. Throws FileError.
void writeReport(const std::string& page, const std::vector<BatchResult>& results, double seconds,
                 FolderSyncs* syncs = nullptr);

// Text as HTML shows it, in an element or an attribute.
std::string htmlText(std::string_view text);

// A link from the page's folder to `target`: relative where it can be, every
// byte but the unreserved ones and '/' percent-encoded.
std::string linkFrom(const std::string& page, const std::string& target);

}  // namespace quern

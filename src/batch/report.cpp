#include "batch/report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <type_traits>

#include "base/errors.h"
#include "base/output_set.h"

namespace quern {

namespace {

namespace fs = std::filesystem;

constexpr const char* kStyle = R"(
body{font:14px/1.35 sans-serif;margin:16px;background:#f4f4f2;color:#222}
header{display:flex;flex-wrap:wrap;gap:8px 24px;align-items:baseline;margin-bottom:14px}
header h1{font-size:20px;margin:0 16px 0 0}
header dl{display:flex;gap:20px;margin:0}
header dt{color:#666;font-size:12px}
header dd{margin:0;font-size:18px;font-weight:bold}
#sheet{display:grid;grid-template-columns:repeat(auto-fill,minmax(230px,1fr));gap:12px}
.card{background:#fff;border:1px solid #ccc;border-radius:4px;padding:10px;overflow-wrap:anywhere}
.card.failed{border:2px solid #c00;background:#fff4f4}
.card h2{font-size:14px;margin:6px 0 2px}
.thumb{display:flex;align-items:center;justify-content:center;height:210px;background:#eee}
.thumb svg,.thumb img{max-width:100%;max-height:210px;filter:saturate(4)}
.pictures{position:absolute;width:0;height:0;overflow:hidden}
.none{color:#888}
.failure{color:#a00;font-weight:bold;margin:4px 0}
.reason{color:#a00;margin:4px 0}
.card ul{list-style:none;padding:0;margin:4px 0;color:#444;font-size:12px}
.card dl{display:grid;grid-template-columns:auto 1fr;gap:0 8px;margin:4px 0;font-size:12px}
.card dt{color:#666}.card dd{margin:0}
body.only-failed .card.ok{display:none}
.view{display:flex;align-items:center;justify-content:center;width:100%;height:100%}
.view .full,.view .close{display:none}
.view:target{position:fixed;inset:0;z-index:1;height:auto;background:rgba(0,0,0,.8)}
.view:target svg,.view:target img{width:96vw;height:94vh;max-width:none;max-height:none;object-fit:contain;image-rendering:pixelated;filter:none;stroke-width:1.5px}
.view:target .full{display:block}
.view.two:target .open{display:none}
.view:target .close{display:block;position:fixed;inset:0;cursor:zoom-out}
)";

// The page's text as it is put together, numbers in decimal.
struct PageText {
  std::string text;

  PageText& operator<<(std::string_view part) {
    text += part;
    return *this;
  }
  template <typename T>
  requires std::is_integral_v<T> PageText& operator<<(T value) {
    text += std::to_string(value);
    return *this;
  }
};

// The folder links are made from: the page's own, in whole.
fs::path folderOfPage(const std::string& page) {
  return fs::absolute(fs::path(page)).parent_path().lexically_normal();
}

// The part of `target` after `folder` and a slash, when every step of it
// names a file or a folder (none is empty, "." or ".."): what a link from
// the folder to it is, with no paths to take apart. Most links of a page
// are to files in its own folder, named so.
std::optional<std::string_view> plainlyIn(const std::string& folder, std::string_view target) {
  if (target.size() <= folder.size() + 1 || !target.starts_with(folder) || target[folder.size()] != '/') {
    return std::nullopt;
  }
  const std::string_view rest = target.substr(folder.size() + 1);
  for (std::size_t at = 0; at <= rest.size();) {
    const std::size_t end = std::min(rest.find('/', at), rest.size());
    const std::string_view step = rest.substr(at, end - at);
    if (step.empty() || step == "." || step == "..") return std::nullopt;
    at = end + 1;
  }
  return rest;
}

// A link from `folder` to `target`, as linkFrom makes it.
std::string linkFromFolder(const fs::path& folder, const std::string& target) {
  std::string path;
  std::string out;
  if (const std::optional<std::string_view> in = plainlyIn(folder.native(), target)) {
    path = *in;
  } else {
    const fs::path whole = fs::absolute(fs::path(target)).lexically_normal();
    const fs::path relative = whole.lexically_relative(folder);
    path = relative.empty() ? whole.string() : relative.string();
    if (relative.empty()) out = "file://";
  }
  static constexpr char kHex[] = "0123456789ABCDEF";
  for (unsigned char c : path) {
    const bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
                       c == '.' || c == '_' || c == '~' || c == '/';
    if (plain) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

// Seconds to two places, as "%.2f" writes them, without printf's cost on every card.
std::string seconds2(double s) {
  char text[320];  // room for the largest double
  const auto written = std::to_chars(text, text + sizeof text, s, std::chars_format::fixed, 2);
  return std::string(text, written.ptr);
}

std::string baseName(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return name.empty() ? path : name;
}

void item(PageText& out, std::string_view term, const std::string& value) {
  out << "<dt>" << term << "</dt><dd>" << htmlText(value) << "</dd>";
}

// The picture a card shows, as the page holds it among its pictures.
void shownPicture(PageText& out, const ShownPicture& shown, std::size_t index, const std::string& name) {
  out << "<svg viewBox=\"0 0 " << shown.width << " " << shown.height << "\" width=\"" << shown.width << "\" height=\""
      << shown.height << "\" role=\"img\" aria-label=\"" << htmlText(name) << "\"><use href=\"#p" << index
      << "\"/></svg>";
}

// `index`: the picture's place in the batch, which names its picture in the page.
void card(PageText& out, const fs::path& folder, const BatchResult& r, std::size_t index) {
  const std::string name = r.picture.empty() ? std::string("built-in picture") : baseName(r.picture);
  out << "<article class=\"card " << (r.ok() ? "ok" : "failed") << "\" data-ok=\"" << (r.ok() ? 1 : 0) << "\">\n";
  out << "<div class=\"thumb\">";
  // The preview in the page is its own thumbnail, its red made stronger
  // there for lines drawn into a picture that shrink to less than a pixel;
  // a preview written to a file of its own is opened from that file, its
  // thumbnail made small for the card.
  const ShownPicture& shown = r.shown;
  const std::string full = !shown.isPreview && !r.preview.empty() ? linkFromFolder(folder, r.preview) : std::string();
  if (shown.width <= 0) {
    out << "<span class=\"none\">no picture</span>";
  } else if (!shown.isPreview && full.empty()) {
    // Nothing larger to show than the picture itself.
    if (!r.picture.empty()) out << "<a href=\"" << linkFromFolder(folder, r.picture) << "\">";
    shownPicture(out, shown, index, name);
    if (!r.picture.empty()) out << "</a>";
  } else {
    // A click shows the preview over the page; a click on it closes it.
    const std::string id = "view" + std::to_string(index);
    out << "<div class=\"view" << (full.empty() ? "" : " two") << "\" id=\"" << id << "\"><a class=\"open\" href=\"#"
        << id << "\">";
    shownPicture(out, shown, index, name);
    out << "</a>";
    if (!full.empty()) out << "<img class=\"full\" src=\"" << full << "\" alt=\"" << htmlText(name) << "\">";
    out << "<a class=\"close\" href=\"#close\" title=\"close\"></a></div>";
  }
  out << "</div>\n<h2 title=\"" << htmlText(r.picture) << "\">" << htmlText(name) << "</h2>\n";
  if (!r.ok()) {
    // The reason names the stage itself more often than not; say it once.
    std::string_view reason = r.error;
    if (reason.starts_with(r.failedAt + " ")) reason.remove_prefix(r.failedAt.size() + 1);
    out << "<p class=\"failure\">Failed at " << htmlText(r.failedAt) << "</p>\n<p class=\"reason\">" << htmlText(reason)
        << "</p>\n";
  }
  out << "<dl>";
  item(out, "size", r.width > 0 ? std::to_string(r.width) + " x " + std::to_string(r.height) + " pixels" : "-");
  item(out, "threshold", r.threshold);
  item(out, "lines", std::to_string(r.lines));
  item(out, "time", seconds2(r.seconds) + " s");
  out << "</dl>\n";
  if (!r.statistics.empty()) {
    out << "<ul class=\"statistics\">";
    for (const std::string& line : r.statistics) out << "<li>" << htmlText(line) << "</li>";
    out << "</ul>\n";
  }
  if (r.ok()) {
    out << "<p class=\"links\"><a href=\"" << linkFromFolder(folder, r.drawing) << "\">DXF</a>";
    if (!r.svg.empty()) out << " <a href=\"" << linkFromFolder(folder, r.svg) << "\">SVG</a>";
    out << "</p>\n";
  }
  out << "</article>\n";
}

}  // namespace

std::string htmlText(std::string_view text) {
  // Most text has nothing to escape.
  const std::size_t first = text.find_first_of("&<>\"'");
  if (first == std::string_view::npos) return std::string(text);
  std::string out;
  out.reserve(text.size() + 16);
  out.append(text.substr(0, first));
  for (char c : text.substr(first)) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string linkFrom(const std::string& page, const std::string& target) {
  return linkFromFolder(folderOfPage(page), target);
}

namespace {

// The title's count of failures is written once the batch is done, over a
// slot of its own: the count, the title's end and spaces to fill the slot.
constexpr std::size_t kTitleSlot = 40;

std::string titleEnd(std::size_t failed) {
  std::string out = std::to_string(failed) + " failed</title>";
  out.resize(std::max(out.size(), kTitleSlot), ' ');
  return out;
}

// The page up to its pictures: the head, with a slot for the title's count
// of failures at `titleAt`, then the holder of the pictures the cards show.
// The pictures come first so that each can be written as soon as it is made.
std::string pageHead(std::size_t pictures, std::size_t& titleAt) {
  std::string out =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<title>quernline-batch: " +
      std::to_string(pictures) + " pictures, ";
  titleAt = out.size();
  out += titleEnd(0);
  out += std::string("\n<style>") + kStyle + "</style>\n</head>\n<body>\n" +
         "<svg class=\"pictures\" aria-hidden=\"true\" focusable=\"false\"><defs>\n";
  return out;
}

// The picture a card shows as the page holds it, in pieces: its group and
// picture up to the data: URI, the URI, and the rest, with the lines over
// the picture when they are apart from it. The picture fills the card's
// picture whatever its own size; the lines keep their width in pixels of
// the screen whatever the picture is shown at.
std::array<std::string_view, 5> pictureElement(const ShownPicture& shown, std::size_t index, std::string& head) {
  head = "<g id=\"p" + std::to_string(index) + "\"><image width=\"" + std::to_string(shown.width) + "\" height=\"" +
         std::to_string(shown.height) + "\" preserveAspectRatio=\"none\" href=\"";
  if (shown.lines.empty()) return {head, shown.uri, "\"/></g>\n", "", ""};
  return {head, shown.uri, "\"/><path d=\"", shown.lines,
          "\" fill=\"none\" stroke=\"#f00\" stroke-linecap=\"round\" "
          "stroke-linejoin=\"round\" vector-effect=\"non-scaling-stroke\"/></g>\n"};
}

// The pictures of the results that were not taken yet, in the results' order.
std::string untakenPictures(const std::vector<BatchResult>& results) {
  std::string out;
  std::string head;
  for (std::size_t i = 0; i < results.size(); ++i) {
    if (results[i].shown.uri.empty()) continue;
    for (const std::string_view piece : pictureElement(results[i].shown, i, head)) out += piece;
  }
  return out;
}

std::size_t failures(const std::vector<BatchResult>& results) {
  return static_cast<std::size_t>(std::count_if(results.begin(), results.end(), [](const auto& r) { return !r.ok(); }));
}

constexpr std::string_view kPageEnd =
    "</main>\n<script>\ndocument.getElementById('only-failed').onchange = (e) =>\n"
    "  document.body.classList.toggle('only-failed', e.target.checked);\n"
    "document.onkeydown = (e) => { if (e.key === 'Escape' && location.hash.startsWith('#view')) location.hash = "
    "'#close'; };\n</script>\n</body>\n</html>\n";

// The rest of the page after its pictures, in pieces to write one after
// another: the totals, then the cards, failures first, each group in the
// pictures' order, then the page's end. A card already made is taken from
// `cards`, by the picture's place, where it is not empty, and not copied:
// at the end of a batch, the one thread left puts no page together.
// Cards not made yet are made into `made`.
struct PageTail {
  std::string top;
  std::vector<std::string> made;
  std::vector<std::string_view> pieces;
};

void pageTail(PageTail& tail, const fs::path& folder, const std::vector<BatchResult>& results, double seconds,
              const std::vector<std::string>& cards = {}) {
  std::vector<const BatchResult*> order;
  for (const BatchResult& r : results) order.push_back(&r);
  std::stable_partition(order.begin(), order.end(), [](const BatchResult* r) { return !r->ok(); });
  long long lines = 0;
  for (const BatchResult& r : results) lines += r.lines;
  const std::size_t failed = failures(results);

  PageText out;
  out << "</defs></svg>\n<header>\n<h1>quernline-batch</h1>\n<dl id=\"totals\">";
  out << "<div><dt>pictures</dt><dd id=\"pictures\">" << results.size() << "</dd></div>";
  out << "<div><dt>written</dt><dd id=\"written\">" << results.size() - failed << "</dd></div>";
  out << "<div><dt>failed</dt><dd id=\"failed\">" << failed << "</dd></div>";
  out << "<div><dt>time</dt><dd id=\"seconds\">" << seconds2(seconds) << " s</dd></div>";
  out << "<div><dt>lines</dt><dd id=\"lines\">" << lines << "</dd></div>";
  out << "</dl>\n<label><input type=\"checkbox\" id=\"only-failed\"> failures only</label>\n</header>\n";
  out << "<main id=\"sheet\">\n";
  tail.top = std::move(out.text);
  const auto madeAlready = [&](std::size_t index) { return index < cards.size() && !cards[index].empty(); };
  std::size_t toMake = 0;
  for (std::size_t i = 0; i < results.size(); ++i) toMake += madeAlready(i) ? 0 : 1;
  // Views into `made` stay good: it never holds more than it has room for.
  tail.made.clear();
  tail.made.reserve(toMake);
  tail.pieces.assign({tail.top});
  for (const BatchResult* r : order) {
    const auto index = static_cast<std::size_t>(r - results.data());
    if (madeAlready(index)) {
      tail.pieces.push_back(cards[index]);
      continue;
    }
    PageText made;
    card(made, folder, *r, index);
    tail.pieces.push_back(tail.made.emplace_back(std::move(made.text)));
  }
  tail.pieces.push_back(kPageEnd);
}

}  // namespace

std::string reportPage(const std::string& page, const std::vector<BatchResult>& results, double seconds) {
  std::size_t titleAt = 0;
  std::string out = pageHead(results.size(), titleAt);
  out.replace(titleAt, kTitleSlot, titleEnd(failures(results)));
  PageTail tail;
  pageTail(tail, folderOfPage(page), results, seconds);
  out += untakenPictures(results);
  for (const std::string_view piece : tail.pieces) out += piece;
  return out;
}

ReviewPage::ReviewPage(std::string page, std::size_t pictures)
    : page_(std::move(page)), folder_(folderOfPage(page_)), pictures_(pictures), cards_(pictures) {}

ReviewPage::~ReviewPage() = default;

void ReviewPage::open(FolderSyncs* syncs) {
  // The page's folder is made as the drawings' is.
  if (const fs::path folder = fs::path(page_).parent_path(); !folder.empty()) {
    std::error_code made;
    fs::create_directories(folder, made);
    if (made) throw FileError("Cannot make the folder \"" + folder.string() + "\": " + made.message());
  }
  set_ = std::make_unique<OutputSet>(OutputSet::Options{true, syncs});
  out_.emplace(set_->grow(page_, syncs ? OutputSet::Sync::atEnd : OutputSet::Sync::atOnce));
  out_->append(pageHead(pictures_, titleAt_));
}

void ReviewPage::take(BatchResult& result, std::size_t index, FolderSyncs* syncs) {
  // The card is made here, on the worker, rather than at the end of the
  // batch, where every card would wait for the one thread left.
  PageText text;
  card(text, folder_, result, index);
  std::string full;
  {
    const std::lock_guard<std::mutex> hold(lock_);
    if (index < cards_.size()) cards_[index] = std::move(text.text);
    if (!result.shown.uri.empty() && error_.empty()) {
      std::string head;
      for (const std::string_view piece : pictureElement(result.shown, index, head)) pending_ += piece;
      if (pending_.size() >= kWriteEvery) {
        full.swap(pending_);
        pending_.reserve(2 * kWriteEvery);
      }
    }
  }
  // Written with only the writing held: another worker meanwhile takes its
  // picture into the next pictures to write.
  if (!full.empty()) write(full, syncs);
  std::string().swap(result.shown.uri);
  std::string().swap(result.shown.lines);
}

void ReviewPage::write(std::string_view pictures, FolderSyncs* syncs) {
  const std::lock_guard<std::mutex> hold(writing_);
  try {
    if (!out_) open(syncs);
    out_->append(pictures);
  } catch (const std::exception& e) {
    const std::lock_guard<std::mutex> held(lock_);
    if (error_.empty()) error_ = e.what();
  }
}

void ReviewPage::finish(const std::vector<BatchResult>& results, double seconds, FolderSyncs* syncs) {
  const std::lock_guard<std::mutex> writing(writing_);
  const std::lock_guard<std::mutex> hold(lock_);
  if (!error_.empty()) throw FileError(error_);
  if (!out_) open(syncs);
  out_->append(pending_);
  std::string().swap(pending_);
  out_->append(untakenPictures(results));
  picturesEnd_ = out_->size();
  out_->overwrite(titleAt_, titleEnd(failures(results)));
  PageTail tail;
  pageTail(tail, folder_, results, seconds, cards_);
  out_->append(tail.pieces);
  set_->commit();
  out_.reset();
  set_.reset();
}

void ReviewPage::rewrite(const std::vector<BatchResult>& results, double seconds) {
  // The pictures are no longer held: they are read back from the page,
  // which only a file can give (a fifo or a device would wait or give else).
  std::error_code ignored;
  std::ifstream in;
  if (fs::is_regular_file(page_, ignored)) in.open(page_, std::ios::binary);
  std::string pictures(picturesEnd_, '\0');
  if (picturesEnd_ == 0 || !in.is_open() || !in.read(pictures.data(), static_cast<std::streamsize>(picturesEnd_))) {
    throw FileError("Cannot write the file \"" + page_ + "\" again: it cannot be read back");
  }
  pictures.replace(titleAt_, kTitleSlot, titleEnd(failures(results)));
  PageTail tail;
  pageTail(tail, folder_, results, seconds);
  tail.pieces.insert(tail.pieces.begin(), pictures);
  OutputSet out;
  out.add(page_, tail.pieces);
  out.commit();
}

void writeReport(const std::string& page, const std::vector<BatchResult>& results, double seconds, FolderSyncs* syncs) {
  ReviewPage(page, results.size()).finish(results, seconds, syncs);
}

}  // namespace quern

#include "batch/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "../processing/raster_fixtures.h"
#include "../temp_files.h"
#include "base/errors.h"
#include "batch/report_pictures.h"
#include "intake/picture_loader.h"
#include "processing/luminance.h"

namespace quern {
namespace {

using testing::readAll;
using testing::TempFolder;

// The bytes of a base64 data: URI, read back without the encoder's help.
std::string bytesOfUri(const std::string& uri) {
  static const std::string kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::uint32_t bits = 0;
  int held = 0;
  for (char c : uri.substr(uri.find(',') + 1)) {
    if (c == '=') break;
    bits = bits << 6 | static_cast<std::uint32_t>(kDigits.find(c));
    held += 6;
    if (held >= 8) {
      held -= 8;
      out += static_cast<char>(bits >> held & 0xFF);
    }
  }
  return out;
}

// A thumbnail as the program's own BMP reader sees it.
Picture thumbnailPicture(const std::string& bmp) {
  return decodePicture(reinterpret_cast<const unsigned char*>(bmp.data()), bmp.size(), "thumbnail");
}

BatchResult written(const std::string& picture, Int32 lines) {
  BatchResult r;
  r.picture = picture;
  r.width = 120;
  r.height = 90;
  r.lines = lines;
  r.threshold = "200";
  r.drawing = "/out/" + std::filesystem::path(picture).stem().string() + ".dxf";
  r.shown = {"data:image/bmp;base64,Qk0=", 60, 45, false, {}};
  return r;
}

BatchResult failed(const std::string& picture, const std::string& at, const std::string& error) {
  BatchResult r = written(picture, 0);
  r.failedAt = at;
  r.error = error;
  return r;
}

TEST(ReportLinks, RelativeToThePageAndPercentEncoded) {
  struct Case {
    const char* page;
    const char* target;
    const char* link;
  };
  const Case cases[] = {
      {"/out/r.html", "/out/r_files/a.thumb.png", "r_files/a.thumb.png"},
      {"/out/r.html", "/dxf/a b.dxf", "../dxf/a%20b.dxf"},
      {"/out/sub/../r.html", "/out/./x.dxf", "x.dxf"},
      {"/out/r.html", "/out/a/../x.dxf", "x.dxf"},
      {"/out/r.html", "/out//x.dxf", "x.dxf"},
      {"/out/r.html", "/outside/x.dxf", "../outside/x.dxf"},
      {"/out/r.html", "/out/q\"<&>'#?%.dxf", "q%22%3C%26%3E%27%23%3F%25.dxf"},
      {"/out/r.html",
       "/out/\xC3\x9C"
       "ber.dxf",
       "%C3%9Cber.dxf"},
  };
  for (const Case& c : cases) EXPECT_EQ(linkFrom(c.page, c.target), c.link) << c.target;
  // A page named relative to the working folder finds files named the same way.
  EXPECT_EQ(linkFrom("report/r.html", "dxf/a.dxf"), "../dxf/a.dxf");
}

// A name is shown as written and ends neither the element nor the attribute
// it stands in, whatever its letters.
TEST(ReportPage, FailuresFirstTotalsCountEveryPictureAndNamesShowAsWritten) {
  const std::string name = "a \"b\" <c> & d 'e' \xC3\xA9t\xC3\xA9.gif";
  std::vector<BatchResult> results = {
      written("/in/one.gif", 10),  failed("/in/two.gif", "stage 2 (blur)", "stage 2 (blur) refused: too wide"),
      written("/in/three.gif", 5), failed("/in/four.gif", "loading", "cannot load /in/four.gif: cut short"),
      written("/in/" + name, 12),
  };
  results[2].preview = "/out/previews/three.png";
  const std::string page = reportPage("/out/r.html", results, 3.456);
  const auto at = [&](const std::string& text) { return page.find(text); };
  ASSERT_NE(at(">two.gif<"), std::string::npos);
  EXPECT_LT(at(">two.gif<"), at(">four.gif<")) << "failures keep the pictures' order";
  EXPECT_LT(at(">four.gif<"), at(">one.gif<"));
  EXPECT_LT(at(">one.gif<"), at(">three.gif<"));
  EXPECT_NE(at("<dd id=\"pictures\">5</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"written\">3</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"failed\">2</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"lines\">27</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"seconds\">3.46 s</dd>"), std::string::npos);
  EXPECT_NE(at("Failed at loading</p>\n<p class=\"reason\">cannot load /in/four.gif: cut short</p>"),
            std::string::npos);
  EXPECT_NE(at("Failed at stage 2 (blur)</p>\n<p class=\"reason\">refused: too wide</p>"), std::string::npos);
  // A failed picture links to no drawing: none was written.
  EXPECT_EQ(at("two.dxf"), std::string::npos);
  EXPECT_NE(at("<a href=\"one.dxf\">DXF</a>"), std::string::npos);
  EXPECT_NE(at("&quot;b&quot; &lt;c&gt; &amp; d &#39;e&#39; \xC3\xA9t\xC3\xA9.gif"), std::string::npos);
  EXPECT_EQ(at("<c>"), std::string::npos);
  EXPECT_EQ(at("\"b\""), std::string::npos);
  EXPECT_NE(at("href=\"../in/a%20%22b%22%20%3Cc%3E%20%26%20d%20%27e%27%20%C3%A9t%C3%A9.gif\""), std::string::npos)
      << "no preview: a click shows the picture itself";
  EXPECT_NE(at("<div class=\"view two\" id=\"view2\">"), std::string::npos);
  EXPECT_NE(at("<img class=\"full\" src=\"previews/three.png\""), std::string::npos)
      << "a preview written to its own file opens from it";
}

std::vector<std::string> sortedLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

// Pictures taken as their runs end, in any order, make the page that is
// written at once, each picture once; their URIs are let go. Written again
// for a drawing whose sync failed, the page keeps its pictures. The page's
// folder is made; one that cannot be fails the page, not the pictures.
TEST(ReportPage, TakenAsTheBatchRunsItIsThePageWrittenAtOnce) {
  TempFolder f;
  std::vector<BatchResult> results = {written("/in/one.gif", 10), failed("/in/two.gif", "loading", "cut short"),
                                      written("/in/three.gif", 5)};
  results[1].shown = {};
  results[2].shown = {"data:image/bmp;base64,Qk1/", 64, 48, true, "m1 2 3-4"};
  const std::string path = f.file("new folder/review.html");
  const std::string whole = reportPage(path, results, 1.5);
  std::vector<BatchResult> taken = results;
  ReviewPage page(path, taken.size());
  for (const std::size_t i : {2, 1, 0}) page.take(taken[i], i, nullptr);
  EXPECT_TRUE(taken[0].shown.uri.empty());
  EXPECT_TRUE(taken[2].shown.lines.empty());
  EXPECT_EQ(taken[2].shown.width, 64);
  page.finish(taken, 1.5, nullptr);
  const std::string wrote = readAll(path);
  EXPECT_EQ(sortedLines(wrote), sortedLines(whole));
  EXPECT_LT(wrote.find("<g id=\"p2\"><image width=\"64\" height=\"48\" preserveAspectRatio=\"none\" "
                       "href=\"data:image/bmp;base64,Qk1/\"/><path d=\"m1 2 3-4\" fill=\"none\""),
            wrote.find("<g id=\"p0\"><image width=\"60\" height=\"45\" preserveAspectRatio=\"none\" "
                       "href=\"data:image/bmp;base64,Qk0=\"/></g>"))
      << "each picture where it was taken, the lines over it when it has them apart";
  EXPECT_NE(wrote.find("<title>quernline-batch: 3 pictures, 1 failed</title>"), std::string::npos);
  EXPECT_NE(wrote.find("<use href=\"#p2\"/>"), std::string::npos);

  taken[0].failedAt = "writing";
  taken[0].error = "the disk failed";
  page.rewrite(taken, 1.5);
  const std::string again = readAll(path);
  EXPECT_NE(again.find("<title>quernline-batch: 3 pictures, 2 failed</title>"), std::string::npos);
  EXPECT_NE(again.find("<dd id=\"failed\">2</dd>"), std::string::npos);
  EXPECT_EQ(again.substr(0, again.find("</defs>")).size(), wrote.substr(0, wrote.find("</defs>")).size());
  EXPECT_NE(again.find("<g id=\"p0\"><image"), std::string::npos);

  std::ofstream(f.file("a file")) << "not a folder";
  ReviewPage refused(f.file("a file/review.html"), 1);
  std::vector<BatchResult> one = {written("/in/one.gif", 10)};
  EXPECT_NO_THROW(refused.take(one[0], 0, nullptr));
  EXPECT_TRUE(one[0].shown.uri.empty());
  EXPECT_THROW(refused.finish(one, 1.0, nullptr), FileError);
}

// Pictures converted on two threads at once, each in a chain of its own,
// give the drawings and previews that one at a time gives, and a picture
// that fails among them stops none of the others. Every picture that loaded
// has a preview in the page: the original at half the window's size, and
// for a written one its lines apart, over it; a refused one the original
// alone, nothing written. A noise of tens of thousands of lines has them
// drawn into the picture instead. Nothing is written beside the page.
TEST(ReportRun, ThreadsGiveWhatOneAtATimeGivesPreviewsInThePage) {
  const std::string golden = QUERN_GOLDEN_PICTURES;
  TempFolder in;
  ReviewPicture noise{600, 450, std::vector<std::uint8_t>(600 * 450)};
  std::uint32_t seed = 5;
  for (std::uint8_t& p : noise.pixels)
    p = static_cast<std::uint8_t>(150 + ((seed = seed * 1664525U + 1013904223U) >> 16) % 100);
  { std::ofstream(in.file("noise.bmp"), std::ios::binary) << bmpFileOf(noise, kWhite); }
  BatchArgs args;
  args.pictures = {golden + "/plan.gif",   golden + "/strokes.bmp", golden + "/wide.gif",
                   golden + "/sketch.jpg", golden + "/missing.gif", in.file("noise.bmp")};
  args.blur = 2;
  args.reorder = true;
  TempFolder one;
  TempFolder two;
  args.outDir = one.file("dxf");
  args.report = one.file("review.html");
  args.jobs = 1;
  const std::vector<BatchResult> alone = runMany(args, planRun(args));
  args.outDir = two.file("dxf");
  args.report = two.file("review.html");
  args.jobs = 2;
  const std::vector<BatchResult> together = runMany(args, planRun(args));
  ASSERT_EQ(alone.size(), 6U);
  ASSERT_EQ(together.size(), 6U);
  for (std::size_t i = 0; i < alone.size(); ++i) {
    EXPECT_EQ(together[i].picture, args.pictures[i]) << "results in the order given, whatever the order of work";
    EXPECT_EQ(alone[i].ok(), together[i].ok()) << args.pictures[i];
    EXPECT_EQ(alone[i].lines, together[i].lines) << args.pictures[i];
    EXPECT_EQ(alone[i].shown.uri, together[i].shown.uri) << args.pictures[i];
    EXPECT_EQ(alone[i].shown.isPreview, together[i].shown.isPreview) << args.pictures[i];
  }
  ASSERT_TRUE(alone[0].ok()) << alone[0].error;
  EXPECT_EQ(alone[2].failedAt, "stage 2 (blur)") << "the wide picture is refused by the filters";
  EXPECT_EQ(alone[4].failedAt, "loading");
  ASSERT_TRUE(alone[5].ok()) << alone[5].error;
  for (const char* name : {"dxf/plan.dxf", "dxf/strokes.dxf", "dxf/sketch.dxf"}) {
    const std::string written = readAll(one / name);
    EXPECT_GT(written.size(), 1000U) << name;
    EXPECT_EQ(written, readAll(two / name)) << name;
  }
  const std::string table = summaryTable(together);
  EXPECT_NE(table.find("failed: stage 2 (blur) refused"), std::string::npos) << table;
  const auto reds = [](const Picture& p) {
    return std::count_if(p->pixels().begin(), p->pixels().end(), [](Colour c) { return (c & 0xFFFFFF) == kRed; });
  };
  // The page's own previews are in its colours, their lines apart.
  for (const std::size_t i : {0, 1, 2, 3}) {
    SCOPED_TRACE(args.pictures[i]);
    EXPECT_TRUE(alone[i].preview.empty());
    EXPECT_EQ(alone[i].shown.lines, together[i].shown.lines);
    ASSERT_TRUE(alone[i].shown.uri.starts_with("data:image/bmp;base64,"));
    const std::string view = bytesOfUri(alone[i].shown.uri);
    EXPECT_EQ(pictureWidth(thumbnailPicture(view)), 200);
    EXPECT_EQ(reds(thumbnailPicture(view)), 0);
    EXPECT_EQ(alone[i].shown.lines.size() > 100, alone[i].ok())
        << "lines on every written picture, none on the refused one";
    EXPECT_TRUE(alone[i].shown.isPreview) << "the preview in the page is its own thumbnail";
    EXPECT_EQ(alone[i].shown.width, 400);
    EXPECT_EQ(alone[i].shown.height, 2 * pictureHeight(thumbnailPicture(view)));
  }
  EXPECT_TRUE(alone[5].preview.empty());
  EXPECT_TRUE(alone[5].shown.isPreview);
  EXPECT_TRUE(alone[5].shown.lines.empty());
  const std::string busy = bytesOfUri(alone[5].shown.uri);
  EXPECT_EQ(pictureWidth(thumbnailPicture(busy)), 200);
  EXPECT_GT(reds(thumbnailPicture(busy)), 5000);
  EXPECT_EQ(alone[5].shown.width, 400);
  EXPECT_FALSE(std::filesystem::exists(two / "dxf/wide.dxf"));
  EXPECT_EQ(alone[4].shown.width, 0);
  EXPECT_TRUE(alone[4].shown.uri.empty());
  EXPECT_EQ(one.entries(), 1) << "the drawings' folder, nothing else";

  // Taken into one page by both threads as they go, the pictures are those
  // one at a time makes, each once.
  TempFolder three;
  args.outDir = three.file("dxf");
  args.report = three.file("review.html");
  ReviewPage page(*args.report, args.pictures.size());
  const std::vector<BatchResult> taken = runMany(
      args, planRun(args), nullptr,
      [&](const std::vector<BatchResult>& rs, FolderSyncs& syncs) { page.finish(rs, 1.0, &syncs); },
      [&](BatchResult& r, std::size_t i, FolderSyncs& syncs) { page.take(r, i, &syncs); });
  const std::string wrote = readAll(three / "review.html");
  for (std::size_t i = 0; i < alone.size(); ++i) {
    EXPECT_TRUE(taken[i].shown.uri.empty()) << args.pictures[i];
    const std::string element =
        "<g id=\"p" + std::to_string(i) + "\"><image width=\"" + std::to_string(alone[i].shown.width) + "\" height=\"" +
        std::to_string(alone[i].shown.height) + "\" preserveAspectRatio=\"none\" href=\"" + alone[i].shown.uri +
        "\"/>" + (alone[i].shown.lines.empty() ? "" : "<path d=\"" + alone[i].shown.lines + "\"");
    const std::size_t at = wrote.find(element);
    EXPECT_EQ(at != std::string::npos, alone[i].shown.width > 0) << args.pictures[i];
    if (at != std::string::npos) {
      EXPECT_EQ(wrote.find(element, at + 1), std::string::npos) << args.pictures[i];
    }
  }
}

// The lines' path: relative steps in half pixels of the box, a line that
// starts at the pen going on from it, any other moving first, a line of no
// length kept only alone. Ends are moved to their pixels' centres, then
// rounded to the nearest half pixel, ties to even; one out of all reason
// stops a million steps out.
TEST(ReportLines, PathStepsFromThePenInHalfPixels) {
  struct Case {
    float scaleWidth;  // of a box 10 pixels wide, 8 high, in a scale as high as it is wide
    std::vector<float> ends;
    float centre;
    std::string path;
  };
  const std::vector<Case> cases = {
      {20, {}, 0, ""},
      {20, {2, 3, 5, 3}, 0, "m2 3 3 0"},
      {20, {2, 3, 5, 3, 5, 3, 5, 1}, 0, "m2 3 3 0 0-2"},
      {20, {2, 3, 5, 3, 5, 3, 5, 3, 5, 3, 6, 3}, 0, "m2 3 3 0 1 0"},
      {20, {2, 3, 5, 3, 1, 1, 1, 4}, 0, "m2 3 3 0m-4-2 0 3"},
      {20, {4, 4, 4, 4}, 0, "m4 4 0 0"},
      {20, {0, 0, 3, 0, 3, 0, 0, 0}, 0, "m0 0 3 0-3 0"},
      {20, {2.4F, 2.6F, 7.5F, 0.5F}, 0, "m2 3 6-3"},
      {20, {2, 3, 5.2F, 3, 4.9F, 3, 5, 6}, 0, "m2 3 3 0 0 3"},
      {20, {-3, 2, 1, 2}, 0, "m-3 2 4 0"},
      {40, {10, 10, 30, 10, 30, 10, 30, 15}, 0, "m5 5 10 0 0 3"},
      {10, {1234, 5, 1234, 6}, 0, "m2468 10 0 2"},
      // Steps of up to nine each way, and past that either way.
      {20, {0, 0, 1, 0, 1, 0, 10, -9, 10, -9, 0, 0}, 0, "m0 0 1 0 9-9-10 9"},
      {20, {0, 0, 1, 0, 1, 0, 1, 10, 1, 10, -11, 12}, 0, "m0 0 1 0 0 10-12 2"},
      {20, {1e30F, -1e30F, 1e30F, 5}, 0, "m1048576-1048576 0 1048581"},
      {10, {2, 3, 5, 3}, 0.5F, "m5 7 6 0"},
      {40, {10, 10, 30, 10}, 2, "m6 6 10 0"},
  };
  for (const Case& c : cases) {
    PictureBox box = testing::boxOf(10, 8);
    box.setScaleWidth(c.scaleWidth);
    box.setScaleHeight(c.scaleWidth * 0.8F);
    EXPECT_EQ(linesPath(box, c.ends, c.centre), c.path) << ::testing::PrintToString(c.ends);
  }
}

// Over colours of every kind and sides that leave odd ends, the review
// picture is each colour's grey, or the line, and its halving each block's
// darkest grey, or the line.
TEST(ReportThumbnail, GreysAndHalvingHoldForEveryColourAndOddSides) {
  PictureBox box = testing::boxOf(37, 23);
  Colour* px = box.mutableBits();
  std::uint32_t state = 12345;
  for (int i = 0; i < 37 * 23; ++i) {
    state = state * 1664525U + 1013904223U;
    px[i] = state % 7 == 0 ? kRed : static_cast<Colour>(state >> 8 & 0xFFFFFF);
  }
  // White, and the grey just below it, in the vector steps and in the tail.
  for (const int i : {0, 37 * 23 - 3}) {
    px[i] = kWhite;
    px[i + 1] = 0xFEFEFE;
  }
  box.bitsChanged();
  const ReviewPicture grey = reviewPicture(box, kRed);
  ASSERT_EQ(grey.pixels.size(), 37U * 23U);
  for (int i = 0; i < 37 * 23; ++i) {
    const int expected = px[i] == kRed ? 255 : std::min((luminanceHundredths(px[i]) + 50) / 100, 254);
    ASSERT_EQ(grey.pixels[i], expected) << "pixel " << i;
  }
  const ReviewPicture half = halved(grey);
  ASSERT_EQ(half.width, 19);
  ASSERT_EQ(half.height, 12);
  for (int y = 0; y < 12; ++y) {
    for (int x = 0; x < 19; ++x) {
      int darkest = 255;
      bool line = false;
      for (int v = 2 * y; v < std::min(2 * y + 2, 23); ++v) {
        for (int u = 2 * x; u < std::min(2 * x + 2, 37); ++u) {
          const int g = grey.pixels[static_cast<std::size_t>(v * 37 + u)];
          line = line || g == 255;
          darkest = std::min(darkest, g);
        }
      }
      ASSERT_EQ(half.pixels[static_cast<std::size_t>(y * 19 + x)], line ? 255 : darkest) << x << ", " << y;
    }
  }
}

// The page's pictures are run-length coded where that is smaller: every
// mix of runs and stretches reads back as written through the program's
// own reader, and a busy picture keeps its rows as they are.
TEST(ReportThumbnail, CodedPicturesReadBackAsWritten) {
  enum Form { rows, runs, bits };
  struct Case {
    const char* name;
    Int32 width;
    Int32 height;
    std::function<std::uint8_t(Int32 x, Int32 y)> grey;
    Form form;
  };
  std::uint32_t state = 7;
  const auto random = [&] {
    state = state * 1664525U + 1013904223U;
    return state >> 8;
  };
  // Runs of 1 to 300 of one grey, the line colour and white among them.
  std::vector<std::uint8_t> mixed(523 * 9);
  for (std::size_t i = 0; i < mixed.size();) {
    const std::size_t run = 1 + random() % (random() % 4 == 0 ? 300 : 3);
    const auto grey = static_cast<std::uint8_t>(random() % 8 == 0 ? 255 : random() % 256);
    for (std::size_t k = 0; k < run && i < mixed.size(); ++k) mixed[i++] = grey;
  }
  // Stretches of 1 to 6 greys between runs of white.
  std::vector<std::uint8_t> stretches;
  for (int n = 1; n <= 6; ++n) {
    stretches.insert(stretches.end(), 5, 254);
    for (int k = 0; k < n; ++k) stretches.push_back(static_cast<std::uint8_t>(10 * k + n));
  }
  const auto across = static_cast<Int32>(stretches.size());
  const Case cases[] = {
      {"white, longer than a run, a grey and black", 600, 3,
       [](Int32 x, Int32 y) { return static_cast<std::uint8_t>(x < 599 ? 254 : y * 90); }, runs},
      {"one column: no smaller coded", 1, 5, [](Int32, Int32 y) { return static_cast<std::uint8_t>(y * 40); }, rows},
      {"stretches of 1 to 6 between runs", across, 2, [&](Int32 x, Int32) { return stretches[x]; }, runs},
      {"a stretch longer than 255, then white", 1000, 2,
       [](Int32 x, Int32) { return static_cast<std::uint8_t>(x < 300 ? x % 200 : 254); }, runs},
      {"no runs at all", 700, 2, [](Int32 x, Int32 y) { return static_cast<std::uint8_t>(x + y); }, rows},
      {"runs of every length, odd width", 523, 9, [&](Int32 x, Int32 y) { return mixed[y * 523 + x]; }, runs},
      {"noise", 64, 64, [&](Int32, Int32) { return static_cast<std::uint8_t>(random()); }, rows},
      {"white alone", 600, 3, [](Int32, Int32) { return std::uint8_t{254}; }, bits},
      {"black on white, widths past whole bytes", 37, 5,
       [](Int32 x, Int32 y) { return static_cast<std::uint8_t>((x * 7 + y * 3) % 5 == 0 ? 0 : 254); }, bits},
      {"the line first, on white, 16 and 1 over", 17, 2,
       [](Int32 x, Int32 y) { return static_cast<std::uint8_t>(x == y || x == 16 ? 255 : 254); }, bits},
      {"two greys, three rows of 40", 40, 3,
       [&](Int32, Int32) { return static_cast<std::uint8_t>(random() % 2 == 0 ? 17 : 230); }, bits},
  };
  for (const Case& c : cases) {
    ReviewPicture picture{c.width, c.height, {}};
    for (Int32 y = 0; y < c.height; ++y) {
      for (Int32 x = 0; x < c.width; ++x) picture.pixels.push_back(c.grey(x, y));
    }
    const std::string bmp = bmpFileOf(picture, kRed);
    EXPECT_EQ(bmp[28], c.form == bits ? 1 : 8) << c.name;
    EXPECT_EQ(bmp[30], c.form == runs ? 1 : 0) << c.name;
    const Picture back = thumbnailPicture(bmp);
    ASSERT_TRUE(back) << c.name;
    ASSERT_EQ(pictureWidth(back), c.width) << c.name;
    ASSERT_EQ(pictureHeight(back), c.height) << c.name;
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
      const std::uint8_t g = picture.pixels[i];
      const Colour expected = g == kReviewLine ? kRed : g == 254 ? kWhite : g * 0x010101U;
      ASSERT_EQ(back->pixels()[i] & 0xFFFFFF, expected) << c.name << ", pixel " << i;
    }
  }
}

// Three alike end a stretch wherever they lie in it, and are coded as a run:
// greys that differ but for three alike at k and two alike that stay in a
// stretch, then white, over rows of white that make coding pay. Sixty greys
// are searched sixteen at a time, fourteen one at a time.
TEST(ReportThumbnail, ThreeAlikeEndAStretchWhereverTheyLie) {
  const auto stretch = [](std::size_t n) { return n == 0 ? 0 : n < 3 ? 2 * n : 2 + n + n % 2; };
  for (const auto& [greys, whites] : {std::pair<std::size_t, std::size_t>{60, 200}, {14, 4}}) {
    const std::size_t w = greys + whites;
    const std::size_t whiteRuns = 2 * ((w + 254) / 255);
    const std::size_t two = greys - 5;
    for (std::size_t k = 0; k + 3 <= greys; ++k) {
      // The two alike neither touch the three nor start a stretch.
      if (k + 3 >= two && k <= two + 1) continue;
      ReviewPicture picture{static_cast<Int32>(w), 8, std::vector<std::uint8_t>(w * 8, 254)};
      for (std::size_t x = 0; x < greys; ++x)
        picture.pixels[x] = static_cast<std::uint8_t>(x >= k && x < k + 3 ? 200 : x == two || x == two + 1 ? 100 : x);
      const std::string bmp = bmpFileOf(picture, kRed);
      ASSERT_EQ(bmp[30], 1) << greys << ", " << k;
      const std::size_t coded =
          static_cast<unsigned char>(bmp[34]) | static_cast<std::size_t>(static_cast<unsigned char>(bmp[35])) << 8;
      // The stretch before, the run of three, the stretch after and the white,
      // each row's end, and the picture's.
      const std::size_t first = stretch(k) + 2 + stretch(greys - k - 3) + 2 * ((whites + 254) / 255);
      EXPECT_EQ(coded, first + 2 + 7 * (whiteRuns + 2) + 2) << greys << ", " << k;
    }
  }
}

TEST(ReportThumbnail, DataUriIsBase64WithPadding) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"\xFF\xFE\xFD", "//79"},
  };
  for (const auto& [bytes, digits] : cases) {
    EXPECT_EQ(dataUri("image/bmp", bytes), std::string("data:image/bmp;base64,") + digits) << bytes;
  }
  // Long enough for sixteen digits at a step, with every byte and so every
  // digit, ending anywhere in a step: read back as written.
  std::string bytes;
  std::uint32_t seed = 3;
  for (int i = 0; i < 300; ++i) bytes += static_cast<char>(i < 256 ? i : (seed = seed * 1664525U + 1013904223U) >> 24);
  for (std::size_t size = 14; size <= bytes.size(); size += 7) {
    const std::string uri = dataUri("image/bmp", bytes.substr(0, size));
    EXPECT_EQ(uri.size(), 22 + (size + 2) / 3 * 4) << size;
    EXPECT_EQ(bytesOfUri(uri), bytes.substr(0, size)) << size;
  }
}

}  // namespace
}  // namespace quern

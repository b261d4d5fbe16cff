#include "batch/report.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "../temp_files.h"
#include "batch/report_pictures.h"

namespace quern {
namespace {

using testing::readAll;
using testing::TempFolder;

BatchResult written(const std::string& picture, Int32 lines) {
  BatchResult r;
  r.picture = picture;
  r.width = 120;
  r.height = 90;
  r.lines = lines;
  r.threshold = "200";
  r.drawing = "/out/" + std::filesystem::path(picture).stem().string() + ".dxf";
  r.thumbnailBmp = "BM";
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
TEST(ReportPage, NamesShowAsWrittenWithoutBreakingThePage) {
  const std::string name = "a \"b\" <c> & d 'e' \xC3\xA9t\xC3\xA9.gif";
  const std::string page = reportPage("/out/r.html", {written("/in/" + name, 12)}, 1.0);
  EXPECT_NE(page.find("&quot;b&quot; &lt;c&gt; &amp; d &#39;e&#39; \xC3\xA9t\xC3\xA9.gif"), std::string::npos);
  EXPECT_EQ(page.find("<c>"), std::string::npos);
  EXPECT_EQ(page.find("\"b\""), std::string::npos);
  EXPECT_NE(page.find("href=\"../in/a%20%22b%22%20%3Cc%3E%20%26%20d%20%27e%27%20%C3%A9t%C3%A9.gif\""),
            std::string::npos)
      << "no preview: a click shows the picture itself";
}

TEST(ReportPage, FailuresFirstAndTotalsCountEveryPicture) {
  const std::vector<BatchResult> results = {
      written("/in/one.gif", 10),
      failed("/in/two.gif", "stage 2 (blur)", "stage 2 (blur) refused: too wide"),
      written("/in/three.gif", 5),
      failed("/in/four.gif", "loading", "cannot load /in/four.gif: cut short"),
  };
  const std::string page = reportPage("/out/r.html", results, 3.456);
  const auto at = [&](const std::string& text) { return page.find(text); };
  ASSERT_NE(at(">two.gif<"), std::string::npos);
  EXPECT_LT(at(">two.gif<"), at(">four.gif<")) << "failures keep the pictures' order";
  EXPECT_LT(at(">four.gif<"), at(">one.gif<"));
  EXPECT_LT(at(">one.gif<"), at(">three.gif<"));
  EXPECT_NE(at("<dd id=\"pictures\">4</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"written\">2</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"failed\">2</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"lines\">15</dd>"), std::string::npos);
  EXPECT_NE(at("<dd id=\"seconds\">3.46 s</dd>"), std::string::npos);
  EXPECT_NE(at("Failed at loading</p>\n<p class=\"reason\">cannot load /in/four.gif: cut short</p>"),
            std::string::npos);
  EXPECT_NE(at("Failed at stage 2 (blur)</p>\n<p class=\"reason\">refused: too wide</p>"), std::string::npos);
  // A failed picture links to no drawing: none was written.
  EXPECT_EQ(at("two.dxf"), std::string::npos);
  EXPECT_NE(at("<a href=\"one.dxf\">DXF</a>"), std::string::npos);
}

// The run itself: a thumbnail for every picture that loaded, the preview made
// small, its preview beside the page, and for a refused picture the original
// alone with nothing written for it.
TEST(ReportRun, ThumbnailsForWrittenAndRefusedPicturesPreviewsBesideThePage) {
  const std::string golden = QUERN_GOLDEN_PICTURES;
  TempFolder out;
  BatchArgs args;
  args.pictures = {golden + "/plan.gif", golden + "/wide.gif", golden + "/missing.gif"};
  args.outDir = out.file("dxf");
  args.report = out.file("review.html");
  args.jobs = 1;
  const std::vector<BatchResult> results = runMany(args);
  ASSERT_EQ(results.size(), 3U);
  ASSERT_TRUE(results[0].ok()) << results[0].error;
  EXPECT_EQ(results[1].failedAt, "stage 2 (blur)");
  EXPECT_EQ(results[2].failedAt, "loading");
  // The width a BMP's header gives.
  const auto widthOf = [](const std::string& bmp) {
    if (bmp.size() < 54 || bmp.substr(0, 2) != "BM") return 0U;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(bmp[i])); };
    return byte(18) | byte(19) << 8 | byte(20) << 16 | byte(21) << 24;
  };
  EXPECT_EQ(results[0].preview, out.file("review_files/plan.bmp"));
  EXPECT_EQ(widthOf(readAll(results[0].preview)), 400U);
  EXPECT_EQ(widthOf(results[0].thumbnailBmp), 200U);
  EXPECT_EQ(widthOf(results[1].thumbnailBmp), 200U);
  EXPECT_TRUE(results[1].preview.empty());
  EXPECT_FALSE(std::filesystem::exists(out / "dxf/wide.dxf"));
  EXPECT_FALSE(std::filesystem::exists(out / "review_files/wide.bmp"));
  EXPECT_TRUE(results[2].thumbnailBmp.empty());
  EXPECT_EQ(out.entries(), 2) << "the drawings' folder and the previews', nothing else";
}

// A thumbnail is the preview halved: a red centre line inside a black stroke
// stays red, a thin dark line on white stays dark, an odd side rounds up.
TEST(ReportThumbnail, HalvingKeepsRedLinesAndDarkStrokes) {
  PictureBox box(1.0F, 0);
  box.setWidth(7);
  box.setHeight(4);
  box.setBackColor(kWhite);
  Colour* px = box.mutableBits();
  std::fill_n(px, 7 * 4, kWhite);
  for (int y = 0; y < 4; ++y) {
    px[y * 7 + 0] = 0x000000;  // a black stroke two pixels wide, red at its centre
    px[y * 7 + 1] = y == 1 ? kRed : 0x000000;
    px[y * 7 + 3] = 0x202020;  // a thin grey line on white
  }
  box.bitsChanged();
  const PictureBox small = shrunkKeeping(box, 2, kRed);
  ASSERT_EQ(small.pixelWidth(), 4);
  ASSERT_EQ(small.pixelHeight(), 2);
  const Colour* s = small.bits();
  EXPECT_EQ(s[0], kRed);
  EXPECT_EQ(s[4], 0x000000);
  EXPECT_EQ(s[1], 0x202020);
  EXPECT_EQ(s[2], kWhite);
  EXPECT_EQ(s[3], kWhite) << "the last, half block";
}

}  // namespace
}  // namespace quern

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_tables.h"
#include "surface/picture_box.h"

namespace quern {

// What the review page asks of a picture's run: nothing, the thumbnail, or
// the thumbnail and the preview as the page's own, in its colours.
enum class Review { none, thumbnail, thumbnailAndPagePreview };

// The window's last preview, in a box of the picture's own shape (the
// window's view is 400 pixels on its longer side): stage 6 draws on a
// cleared box, over the original when it is kept. The box is laid out as
// soon as the picture is loaded, and the original painted in by
// `originalPainter` from its rows as the stages read them, so that it is read
// from memory once and the stages need not keep it for the preview.
PictureBox previewBox(Int32 pictureWidth, Int32 pictureHeight);
// The box of the review page's own preview, half the window's on each side:
// a card shows it whole, and the page opens it larger with its lines apart.
PictureBox pageBox(Int32 pictureWidth, Int32 pictureHeight);
PictureBox::RowPainter originalPainter(PictureBox& box, Int32 pictureWidth, Int32 pictureHeight);

// A preview in the review page's colours: each pixel the grey of the box's
// pixel, 0 to 254, or 255 where it shows the line colour. The lines stand
// out on any paper, and a pixel is a byte: a third of a colour preview's.
struct ReviewPicture {
  Int32 width = 0;
  Int32 height = 0;
  std::vector<std::uint8_t> pixels;  // rows top down
};
inline constexpr std::uint8_t kReviewLine = 255;
ReviewPicture reviewPicture(const PictureBox& box, Colour line);

// A review picture of the box's size, white: where a run that needs only
// the review page's previews paints the original, its RowPainter painting
// greys into it no lighter than kReviewLine - 1 (RowPainter::intoGreys).
ReviewPicture blankReview(const PictureBox& box);

// The picture a review page's card shows: a data: URI of a picture shown
// at `width` by `height` pixels, and over it, when not empty, the centre
// lines as the data of an SVG path in pixels of that size (linesPath).
// It is the page's own preview, which also opens over the page, or a
// thumbnail of a preview written to the preview folder. Width 0: no picture.
struct ShownPicture {
  std::string uri;
  Int32 width = 0;
  Int32 height = 0;
  bool isPreview = false;
  std::string lines;
};

// Lines given by their ends in the box's scale, as SVG path data in half
// pixels of the box: a line that starts where the last one ended goes on
// from there, any other moves first; every step is relative, so that most
// numbers have a digit or two. A line of no length alone is kept, as a dot.
// An end names the corner of its pixel; `centre`, in the box's scale, is
// added to it to run the line through the pixel's centre, as it runs
// through the pixels under it: half the pixel the lines were traced in.
std::string linesPath(const PictureBox& box, std::span<const float> ends, float centre);

// What a picture's run makes for its preview and the review page; the lines
// are drawn once for all. `file`: the bytes of the preview file when
// `preview` names one and there are segments (a BMP when its name ends in
// ".bmp", else a PNG). Without segments (a stage stopped) the box shows the
// original alone and no file is made; the page shows it so.
// For the review page with its own preview (thumbnailAndPagePreview), `box`
// is a pageBox, whose original was painted as greys into `painted` (see
// blankReview), then used up; the box itself is left as it is. The page
// shows that picture at twice its size with the lines over it as a path in
// its own pixels there, so that they stay sharp when the preview is opened
// over the page. Lines whose path would take more than kLinesInPage
// bytes are drawn into the picture instead.
struct PreviewImages {
  std::string file;
  ShownPicture shown;
};
// Line work on plain paper takes a few kilobytes of path; a noisy scan's
// tens of thousands of lines would make a page slow to open.
inline constexpr std::size_t kLinesInPage = 64 * 1024;
PreviewImages previewImages(PictureBox& box, ReviewPicture* painted, const RecordTable* segments, float factor,
                            const std::optional<std::string>& preview, Review review);

// The box's bitmap as an uncompressed 24-bit BMP file. The review page's
// previews are written this way: a browser shows them as well as a PNG, and
// they cost a copy instead of a compression, which on a noisy scan is most of
// what a PNG preview takes.
std::string bmpFileOf(const PictureBox& box);

// Half as wide and high, rounded up: each pixel the line when its block of
// two by two holds it, otherwise the block's darkest grey, so that every line
// and the dark line work under it survive.
ReviewPicture halved(const ReviewPicture& picture);

// As a BMP file whose palette holds the greys and `line`: a bit a pixel
// when the picture holds two values at most, else eight bits, its rows
// run-length coded where that makes the file smaller.
std::string bmpFileOf(const ReviewPicture& picture, Colour line);

// Bytes as a data: URI of this media type, in base64.
std::string dataUri(std::string_view mediaType, std::string_view bytes);

}  // namespace quern

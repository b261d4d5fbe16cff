#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "base/numbers.h"
#include "surface/picture.h"

namespace quern {

class PictureBox;

// The drawing context of a box: device pixels of its persistent bitmap,
// no scale and no drawing attributes.
struct DeviceContext {
  PictureBox* box = nullptr;
};

// Reads one device pixel; -1 outside the bitmap.
Colour GetPixel(DeviceContext dc, Int32 x, Int32 y);
// Writes one device pixel, exactly; nothing outside the bitmap. True when written.
bool SetPixelV(DeviceContext dc, Int32 x, Int32 y, Colour colour);

inline constexpr Int16 kScaleUser = 0;
inline constexpr Int16 kScaleTwips = 1;
inline constexpr Int16 kScalePixels = 3;
inline constexpr Int16 kScaleHimetric = 8;

inline constexpr Int32 kOpcodeCopy = 0xCC0020;
inline constexpr Int32 kOpcodeAnd = 0x8800C6;
inline constexpr Int32 kOpcodePaint = 0xEE0086;
inline constexpr Int32 kOpcodeInvert = 0x660046;

inline constexpr Colour kSysButtonFace = static_cast<Colour>(0x8000000F);
inline constexpr Colour kSysButtonText = static_cast<Colour>(0x80000012);
inline constexpr Colour kSysWindow = static_cast<Colour>(0x80000005);
inline constexpr Colour kSysWindowText = static_cast<Colour>(0x80000008);

// The widest steps a grey shrink may take: all the processor has, unless a
// test asks for narrower ones to check that each way gives the same pixels.
// Taken when a painting is planned.
enum class PaintSteps { bytes, sixteenBytes, all };
void limitPaintSteps(PaintSteps steps);

// The real colour behind a system colour (0x80000000 and up); other colours as they are.
Colour resolveColour(Colour c);

// A picture box: a stored picture, a persistent bitmap that shows it with all
// that was drawn since, a scale for coordinates and the drawing attributes.
// All drawing goes to the persistent bitmap (AutoRedraw); Refresh tells the
// screen, if any, to show it.
class PictureBox {
 public:
  // `unitsPerPixel`: the unit of the container in which Width and Height count
  // (1 for pixels, 15 for twips). `border`: frame pixels on each side.
  explicit PictureBox(float unitsPerPixel = 1.0F, Int32 border = 0);

  // Outer size in the container's unit; always a whole number of pixels.
  float Width() const { return static_cast<float>(outerPixelWidth() * unitsPerPixel_); }
  float Height() const { return static_cast<float>(outerPixelHeight() * unitsPerPixel_); }
  void setWidth(float w);
  void setHeight(float h);

  // The client area in device pixels: the size of the persistent bitmap.
  Int32 pixelWidth() const { return innerW_; }
  Int32 pixelHeight() const { return innerH_; }

  float ScaleWidth() const;
  float ScaleHeight() const;
  void setScaleWidth(float w);
  void setScaleHeight(float h);
  Int16 ScaleMode() const { return scaleMode_; }
  void setScaleMode(Int16 mode);
  // Converts a length between scale modes 0, 1, 3 and 8 (0 is this box's user scale).
  float ScaleX(float value, Int16 fromMode, Int16 toMode) const;
  float ScaleY(float value, Int16 fromMode, Int16 toMode) const;

  const Picture& picture() const { return picture_; }
  // The LimitError setPicture gives for a picture of width by height pixels
  // that an AutoSize box could not take under `limit`; nothing for one it can.
  static void checkPictureFits(Int32 width, Int32 height, long long limit);
  // The persistent bitmap then shows the picture: it shares the picture's
  // pixels until the first drawing, when it takes a copy of its own.
  void setPicture(Picture p);
  // The persistent bitmap as a picture, a new one with its own Handle; it
  // shares the bitmap's pixels, and whichever side writes first copies, so
  // it stays as it is whatever happens to the box later.
  Picture Image() const;
  // The persistent bitmap as a picture, leaving the box empty (no picture, 1
  // by 1 pixel): for scratch boxes that are emptied right after.
  Picture takeImage();

  // No surface of this box may hold more pixels than this; a size beyond it
  // is a LimitError before anything is allocated.
  long long pixelLimit() const { return pixelLimit_; }
  void setPixelLimit(long long limit) { pixelLimit_ = limit; }

  bool AutoRedraw = true;
  bool AutoSize = false;

  Colour Point(float x, float y) const;
  void PSet(float x, float y, std::optional<Colour> colour = std::nullopt);
  void Line(float x1, float y1, float x2, float y2, std::optional<Colour> colour = std::nullopt);
  // Line for each four values of `ends` (x1, y1, x2, y2) in one colour, the
  // scale and the pen looked up once for all.
  void Lines(std::span<const float> ends, std::optional<Colour> colour = std::nullopt);
  // The pixels Lines draws with a one-pixel pen, set to `value` in `greys`,
  // a byte for each of the box's pixels, rows top down, instead of in the box.
  void LinesInto(std::span<const float> ends, std::uint8_t* greys, std::uint8_t value) const;
  void Circle(float x, float y, float radius, std::optional<Colour> colour = std::nullopt);
  void PaintPicture(const Picture& pic, float x1, float y1, std::optional<float> width1 = std::nullopt,
                    std::optional<float> height1 = std::nullopt, std::optional<float> x2 = std::nullopt,
                    std::optional<float> y2 = std::nullopt, std::optional<float> width2 = std::nullopt,
                    std::optional<float> height2 = std::nullopt, std::optional<Int32> opcode = std::nullopt);
  // PaintPicture fed with a picture's rows as they come instead of with the
  // picture: a pass that reads a picture row by row paints it on the way,
  // while each row is still in cache. The placement is PaintPicture's, for a
  // picture of this size. Give it the rows top to bottom, each once (rows the
  // painting does not cover may be left out); each box row is drawn as soon
  // as the picture rows it shows are in.
  class RowPainter {
   public:
    RowPainter(PictureBox& box, Int32 pictureWidth, Int32 pictureHeight, float x1, float y1,
               std::optional<float> width1 = std::nullopt, std::optional<float> height1 = std::nullopt,
               std::optional<float> x2 = std::nullopt, std::optional<float> y2 = std::nullopt,
               std::optional<float> width2 = std::nullopt, std::optional<float> height2 = std::nullopt,
               Int32 opcode = kOpcodeCopy);
    // Box rows drawn a few at a time, once their picture rows come to about a
    // quarter of a megabyte, so that a pass handing rows over is not
    // interrupted at every box row; each row given must then stay readable
    // until the last row of the picture is in.
    void gatherRows();
    void row(Int32 y, const Colour* pixels);
    // A row of a picture kept as greys, a byte a pixel (one kind of row a painting).
    void row(Int32 y, const std::uint8_t* greys);
    // Paints into `greys` instead of the box: a byte for each of the box's
    // pixels, rows top down, each the grey of what would have been painted
    // there (a grey row's own byte, a colour's luminance) but no lighter than
    // `lightest`. Pixels the painting does not reach are left as they are.
    // Copies only; call it before the first row.
    void intoGreys(std::uint8_t* greys, std::uint8_t lightest);
    // The rows it takes: [first, end), empty when it paints nothing.
    Int32 firstRow() const { return bands_.empty() ? 0 : bands_.front().from; }
    Int32 endRow() const { return bands_.empty() ? 0 : bands_.back().to; }
    bool paintsAnything() const { return paints_; }
    // The picture's own pixels, unchanged, over the whole box.
    bool wholeBoxAsItIs() const { return asItIs_; }

   private:
    // Picture rows [from, to) ANDed make box rows [firstRow, lastRow].
    struct Band {
      Int32 from;
      Int32 to;
      Int32 firstRow;
      Int32 lastRow;
    };
    // A box row from picture columns: [from, to) of the picture for each.
    struct Columns {
      Int32 from;
      Int32 to;
    };
    void take(Int32 y, const void* pixels, bool grey);
    void finishBand(const Band& band, const void* const* rows);
    void paintGreys(const Band& band, const void* const* rows);
    // A band of grey rows folded into `greyLine_`, which it returns.
    std::uint8_t* foldGreys(const Band& band, const void* const* rows);
    // The band's rows ANDed into `acc`, then each box pixel's columns into `line`.
    template <typename Pixel>
    void fold(const Band& band, const void* const* rows, Pixel* acc, Pixel* line);

    PictureBox* box_;
    Int32 op_;
    Int32 dx0_ = 0;
    bool paints_ = false;
    bool asItIs_ = false;
    bool coversAll_ = false;
    Int32 iFrom_ = 0;
    Int32 iTo_ = 0;
    Int32 uFrom_ = 0;
    Int32 uTo_ = 0;
    std::vector<Band> bands_;
    std::vector<Columns> columns_;
    // Every span's width lies in [window_, 2 window_]; 0 when they differ more.
    Int32 window_ = 0;
    // The rows of the bands not yet drawn, from band `drawn_` on; they stay
    // readable until then.
    std::vector<const void*> rows_;
    bool greyRows_ = false;
    // acc_ and line_ for grey rows, a byte a pixel.
    std::vector<std::uint8_t> greyAcc_;
    std::vector<std::uint8_t> greyLine_;
    std::size_t deferRows_ = 1;
    std::size_t drawn_ = 0;
    std::vector<Colour> acc_;
    std::vector<Colour> line_;
    // Grey box pixels gathered sixteen at a time by byte shuffles: a group
    // of sixteen box columns whose window ends lie in at most kShuffleBlocks
    // blocks of sixteen bytes of `acc` from `base` on. `shuffleMasks_` holds
    // for each group and block the shuffle of the first ends, then of the
    // second; the groups reach box column `shuffledTo_`, -1 until planned.
    struct ShuffleGroup {
      Int32 first;
      Int32 base;
      Int32 blocks;
      std::size_t masks;  // where its shuffles start in shuffleMasks_
    };
    static constexpr Int32 kShuffleBlocks = 8;
    void planShuffles();
    // Box pixels of every group into `line`, from the columns of `acc`.
    void shuffleGroups(const std::uint8_t* acc, std::uint8_t* line) const;
    // Where the processor permutes bytes across 128 of them, groups of
    // thirty-two or sixteen box columns instead (`blocks` says which), each
    // drawing on 128 bytes of `acc` from its base: `shuffleMasks_` then
    // holds for each group 64 indices of the columns' first ends, then 64
    // of their second. False, and nothing planned, where a group of sixteen
    // would reach further.
    bool planPermutes();
    void permuteGroups(const std::uint8_t* acc, std::uint8_t* line) const;
    bool permutes_ = false;
    std::vector<ShuffleGroup> shuffleGroups_;
    std::vector<std::uint8_t> shuffleMasks_;
    Int32 shuffledTo_ = -1;
    std::size_t band_ = 0;
    Int32 next_ = 0;
    Colour* out_ = nullptr;
    std::uint8_t* greyOut_ = nullptr;
    std::uint8_t lightest_ = 0xFF;
  };

  void Cls();
  void Refresh();
  DeviceContext hDC() { return DeviceContext{this}; }

  Colour BackColor() const { return backColor_; }
  void setBackColor(Colour c);

  Colour ForeColor = kSysButtonText;
  Colour FillColor = 0;
  Int16 FillStyle = 1;  // 0 solid, 1 no fill
  Int16 DrawWidth = 1;
  Int16 DrawMode = 13;  // 13 paints the pen colour as it is
  Int16 DrawStyle = 0;  // kept for hosts; lines are always drawn solid
  float CurrentX = 0.0F;
  float CurrentY = 0.0F;

  // Direct access to the persistent bitmap, row by row, for loops that would
  // otherwise call GetPixel and SetPixelV once per pixel. Reading costs
  // nothing; mutableBits() first takes a copy if the pixels are shared, and
  // overwriteBits() gives pixels of undefined content for a caller that
  // writes every one of them.
  const Colour* bits() const;
  Colour* mutableBits();
  Colour* overwriteBits();
  // Tells views that the bitmap was changed through mutableBits() or overwriteBits().
  void bitsChanged() { touch(); }

  // Called by Refresh; a view sets it to repaint itself from Image().
  std::function<void()> onRefresh;
  // Called after the client area changed size, by a new size or by AutoSize
  // taking a picture's size; the picture control re-lays its scroll bars on it.
  std::function<void()> onResize;
  // Counts every change of the persistent bitmap, so a view knows when to repaint.
  unsigned long long version() const { return version_; }

 private:
  friend Colour GetPixel(DeviceContext, Int32, Int32);
  friend bool SetPixelV(DeviceContext, Int32, Int32, Colour);

  Int32 outerPixelWidth() const { return innerW_ + 2 * border_; }
  Int32 outerPixelHeight() const { return innerH_ + 2 * border_; }
  void resizeInner(Int32 w, Int32 h);
  void resetBitmap();
  std::size_t area() const { return static_cast<std::size_t>(innerW_) * static_cast<std::size_t>(innerH_); }
  PixelBuffer newBitmap() const;
  // The colour of the box's background, which an unallocated bitmap shows everywhere.
  Colour background() const { return resolveColour(backColor_); }
  Colour at(Int32 x, Int32 y) const {
    return bitmap_ ? bitmap_[static_cast<std::size_t>(y) * innerW_ + x] : background();
  }
  double unitsPerPixelX(Int16 mode) const;
  double unitsPerPixelY(Int16 mode) const;
  double toPixelX(float x) const { return x / unitsPerPixelX(scaleMode_); }
  double toPixelY(float y) const { return y / unitsPerPixelY(scaleMode_); }
  void plot(Int32 x, Int32 y, Colour pen);
  void dot(Int32 x, Int32 y, Colour pen);
  // The pixels of a line between two pixels; false when it lies wholly
  // beyond the bitmap and nothing was drawn.
  bool stroke(Int32 ax, Int32 ay, Int32 bx, Int32 by, Colour pen);
  bool beyondBitmap(Int32 ax, Int32 ay, Int32 bx, Int32 by) const;
  // A one-pixel pen that paints its colour as it is: pixels are set in place.
  bool plainPen() const { return DrawWidth <= 1 && DrawMode == 13; }
  void plainStroke(Colour* bits, Int32 ax, Int32 ay, Int32 bx, Int32 by, Colour pen) const;
  void touch() { ++version_; }
  // Each line of `ends` as the pixels of its two ends; the lines that can
  // show in the bitmap go to `draw`, and the last end is returned.
  template <typename Draw>
  std::pair<float, float> eachLine(std::span<const float> ends, Draw draw) const;
  // The bitmap now is `picture`'s own pixels, as they are; an image taken of
  // it keeps what the picture is known to be until the box draws.
  void shown(const PictureData& picture) { greyBitmap_ = picture.grey() ? bitmap_.get() : nullptr; }
  bool showsGrey() const { return bitmap_ && greyBitmap_ == bitmap_.get(); }

  float unitsPerPixel_;
  Int32 border_;
  Int32 innerW_ = 1;
  Int32 innerH_ = 1;
  Int16 scaleMode_ = kScalePixels;
  float userScaleW_ = 0.0F;
  float userScaleH_ = 0.0F;
  Colour backColor_ = kSysButtonFace;
  Picture picture_;
  // Null while the whole bitmap is background: a box that is about to be
  // painted over costs no clearing.
  mutable PixelBuffer bitmap_;
  // The bitmap while it is a grey picture's own, untouched.
  mutable const Colour* greyBitmap_ = nullptr;
  long long pixelLimit_ = kDefaultSurfacePixelLimit;
  unsigned long long version_ = 0;
};

}  // namespace quern

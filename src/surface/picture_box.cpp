#include "surface/picture_box.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "base/errors.h"

namespace quern {

Colour resolveColour(Colour c) {
  if (c >= 0) return c;
  switch (static_cast<std::uint32_t>(c)) {
    case 0x8000000FU:  // button face
      return 0xC0C0C0;
    case 0x80000005U:  // window background
      return 0xFFFFFF;
    case 0x80000012U:  // button text
    case 0x80000008U:  // window text
      return 0x000000;
    default:
      return c & 0xFFFFFF;
  }
}

Colour GetPixel(DeviceContext dc, Int32 x, Int32 y) {
  const PictureBox& b = *dc.box;
  if (x < 0 || y < 0 || x >= b.innerW_ || y >= b.innerH_) return kNoColour;
  return b.at(x, y);
}

bool SetPixelV(DeviceContext dc, Int32 x, Int32 y, Colour colour) {
  PictureBox& b = *dc.box;
  if (x < 0 || y < 0 || x >= b.innerW_ || y >= b.innerH_) return false;
  b.mutableBits()[static_cast<std::size_t>(y) * b.innerW_ + x] = colour & 0xFFFFFF;
  b.touch();
  return true;
}

PictureBox::PictureBox(float unitsPerPixel, Int32 border) : unitsPerPixel_(unitsPerPixel), border_(border) {
  resetBitmap();
}

namespace {
// A box is a whole number of pixels, at least one: a fractional size rounds to
// the nearest pixel and anything below one pixel becomes one.
Int32 wholePixels(float value, float unitsPerPixel, const char* what) {
  if (!std::isfinite(value) || value < 0.0F) {
    throw SurfaceError(std::string("Invalid property value: ") + what + " " + std::to_string(value));
  }
  return std::max<Int32>(1, roundToInt32(static_cast<double>(value) / unitsPerPixel));
}
}  // namespace

void PictureBox::setWidth(float w) {
  const Int32 inner = std::max<Int32>(1, wholePixels(w, unitsPerPixel_, "Width") - 2 * border_);
  resizeInner(inner, innerH_);
}

void PictureBox::setHeight(float h) {
  const Int32 inner = std::max<Int32>(1, wholePixels(h, unitsPerPixel_, "Height") - 2 * border_);
  resizeInner(innerW_, inner);
}

PixelBuffer PictureBox::newBitmap() const {
  return allocatePixels(static_cast<long long>(area()), pixelLimit_);
}

// What was drawn stays where it was; the rest is background.
void PictureBox::resizeInner(Int32 w, Int32 h) {
  if (w == innerW_ && h == innerH_) return;
  const long long wanted = static_cast<long long>(w) * h;
  if (wanted > pixelLimit_) {
    throw LimitError("Out of memory: a picture box of " + std::to_string(w) + " by " + std::to_string(h) +
                     " pixels is over the limit of " + std::to_string(pixelLimit_) + " pixels");
  }
  if (bitmap_) {
    PixelBuffer next = allocatePixels(wanted, pixelLimit_);
    const Colour bg = background();
    const Int32 cw = std::min(w, innerW_);
    const Int32 ch = std::min(h, innerH_);
    for (Int32 y = 0; y < h; ++y) {
      Colour* row = next.get() + static_cast<std::ptrdiff_t>(y) * w;
      Int32 x = 0;
      if (y < ch) {
        std::copy_n(bitmap_.get() + static_cast<std::ptrdiff_t>(y) * innerW_, cw, row);
        x = cw;
      }
      std::fill(row + x, row + w, bg);
    }
    bitmap_ = std::move(next);
    greyBitmap_ = nullptr;
  }
  innerW_ = w;
  innerH_ = h;
  touch();
  if (onResize) onResize();
}

void PictureBox::resetBitmap() {
  touch();
  greyBitmap_ = nullptr;
  if (!picture_) {
    bitmap_.reset();  // all background, allocated when first drawn on
    return;
  }
  if (picture_->pixelWidth() == innerW_ && picture_->pixelHeight() == innerH_) {
    bitmap_ = picture_->buffer();  // the picture covers the whole box: show its own pixels
    shown(*picture_);
    return;
  }
  PixelBuffer next = newBitmap();
  std::fill_n(next.get(), area(), background());
  const Int32 w = std::min(innerW_, picture_->pixelWidth());
  const Int32 h = std::min(innerH_, picture_->pixelHeight());
  for (Int32 y = 0; y < h; ++y) {
    std::copy_n(picture_->data() + static_cast<std::ptrdiff_t>(y) * picture_->pixelWidth(), w,
                next.get() + static_cast<std::ptrdiff_t>(y) * innerW_);
  }
  bitmap_ = std::move(next);
}

const Colour* PictureBox::bits() const {
  if (!bitmap_) {
    greyBitmap_ = nullptr;
    bitmap_ = newBitmap();
    std::fill_n(bitmap_.get(), area(), background());
  }
  return bitmap_.get();
}

Colour* PictureBox::mutableBits() {
  greyBitmap_ = nullptr;
  if (!bitmap_) {
    bits();
  } else if (bitmap_.use_count() > 1) {
    PixelBuffer own = newBitmap();
    std::copy_n(bitmap_.get(), area(), own.get());
    bitmap_ = std::move(own);
  }
  return bitmap_.get();
}

Colour* PictureBox::overwriteBits() {
  greyBitmap_ = nullptr;
  if (!bitmap_ || bitmap_.use_count() > 1) bitmap_ = newBitmap();
  return bitmap_.get();
}

double PictureBox::unitsPerPixelX(Int16 mode) const {
  switch (mode) {
    case kScaleUser:
      return static_cast<double>(userScaleW_) / innerW_;
    case kScaleTwips:
      return kTwipsPerPixel;
    case kScalePixels:
      return 1.0;
    case kScaleHimetric:
      return kHimetricPerPixel;
    default:
      throw SurfaceError("Invalid property value: ScaleMode " + std::to_string(mode));
  }
}

double PictureBox::unitsPerPixelY(Int16 mode) const {
  if (mode == kScaleUser) return static_cast<double>(userScaleH_) / innerH_;
  return unitsPerPixelX(mode);
}

float PictureBox::ScaleWidth() const {
  return scaleMode_ == kScaleUser ? userScaleW_ : static_cast<float>(innerW_ * unitsPerPixelX(scaleMode_));
}

float PictureBox::ScaleHeight() const {
  return scaleMode_ == kScaleUser ? userScaleH_ : static_cast<float>(innerH_ * unitsPerPixelY(scaleMode_));
}

void PictureBox::setScaleWidth(float w) {
  if (w == 0.0F || !std::isfinite(w)) throw SurfaceError("Invalid property value: ScaleWidth 0");
  if (scaleMode_ != kScaleUser) userScaleH_ = ScaleHeight();
  userScaleW_ = w;
  scaleMode_ = kScaleUser;
}

void PictureBox::setScaleHeight(float h) {
  if (h == 0.0F || !std::isfinite(h)) throw SurfaceError("Invalid property value: ScaleHeight 0");
  if (scaleMode_ != kScaleUser) userScaleW_ = ScaleWidth();
  userScaleH_ = h;
  scaleMode_ = kScaleUser;
}

void PictureBox::setScaleMode(Int16 mode) {
  if (mode != kScaleUser && mode != kScaleTwips && mode != kScalePixels && mode != kScaleHimetric) {
    throw SurfaceError("Invalid property value: ScaleMode " + std::to_string(mode));
  }
  if (mode == kScaleUser && scaleMode_ != kScaleUser) {
    userScaleW_ = ScaleWidth();
    userScaleH_ = ScaleHeight();
  }
  scaleMode_ = mode;
}

float PictureBox::ScaleX(float value, Int16 fromMode, Int16 toMode) const {
  return static_cast<float>(value / unitsPerPixelX(fromMode) * unitsPerPixelX(toMode));
}

float PictureBox::ScaleY(float value, Int16 fromMode, Int16 toMode) const {
  return static_cast<float>(value / unitsPerPixelY(fromMode) * unitsPerPixelY(toMode));
}

void PictureBox::checkPictureFits(Int32 width, Int32 height, long long limit) {
  if (static_cast<long long>(width) * height > limit) {
    throw LimitError("Out of memory: a picture of " + std::to_string(width) + " by " + std::to_string(height) +
                     " pixels is over the limit of " + std::to_string(limit) + " pixels");
  }
}

void PictureBox::setPicture(Picture p) {
  const bool resized = AutoSize && p && (innerW_ != p->pixelWidth() || innerH_ != p->pixelHeight());
  if (resized) checkPictureFits(p->pixelWidth(), p->pixelHeight(), pixelLimit_);
  picture_ = std::move(p);
  if (resized) {
    innerW_ = picture_->pixelWidth();
    innerH_ = picture_->pixelHeight();
  }
  resetBitmap();
  if (resized && onResize) onResize();
}

Picture PictureBox::Image() const {
  bits();
  return makePicture(innerW_, innerH_, bitmap_, showsGrey());
}

Picture PictureBox::takeImage() {
  bits();
  const bool grey = showsGrey();
  Picture out = makePicture(innerW_, innerH_, std::move(bitmap_), grey);
  const bool resized = innerW_ != 1 || innerH_ != 1;
  picture_.reset();
  innerW_ = 1;
  innerH_ = 1;
  resetBitmap();
  if (resized && onResize) onResize();
  return out;
}

Colour PictureBox::Point(float x, float y) const {
  const double px = roundHalfEven(toPixelX(x));
  const double py = roundHalfEven(toPixelY(y));
  if (px < 0 || py < 0 || px >= innerW_ || py >= innerH_) return kNoColour;
  return at(static_cast<Int32>(px), static_cast<Int32>(py));
}

void PictureBox::Cls() {
  resetBitmap();
  CurrentX = 0.0F;
  CurrentY = 0.0F;
}

void PictureBox::Refresh() {
  if (onRefresh) onRefresh();
}

void PictureBox::setBackColor(Colour c) {
  backColor_ = c;
  resetBitmap();
}

}  // namespace quern

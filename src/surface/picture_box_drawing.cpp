#include <algorithm>
#include <cmath>
#include <string>

#include "base/errors.h"
#include "surface/picture_box.h"

namespace quern {

void PictureBox::plot(Int32 x, Int32 y, Colour pen) {
  if (x < 0 || y < 0 || x >= innerW_ || y >= innerH_) return;
  Colour& d = bitmap_[static_cast<std::size_t>(y) * innerW_ + x];  // callers made the bitmap their own
  switch (DrawMode) {
    case 1:  // blackness
      d = 0;
      break;
    case 6:  // invert
      d = ~d & 0xFFFFFF;
      break;
    case 7:  // xor pen
      d = (d ^ pen) & 0xFFFFFF;
      break;
    case 9:  // mask pen
      d = d & pen;
      break;
    case 11:  // no operation
      break;
    case 15:  // merge pen
      d = (d | pen) & 0xFFFFFF;
      break;
    case 16:  // whiteness
      d = 0xFFFFFF;
      break;
    default:  // 13, copy pen
      d = pen;
      break;
  }
}

// One point of the pen: a single pixel, or a round dot DrawWidth pixels across.
void PictureBox::dot(Int32 x, Int32 y, Colour pen) {
  if (DrawWidth <= 1) {
    plot(x, y, pen);
    return;
  }
  const double r = DrawWidth / 2.0;
  const Int32 lo = -static_cast<Int32>(std::floor(r));
  const Int32 hi = DrawWidth + lo - 1;
  for (Int32 dy = lo; dy <= hi; ++dy) {
    for (Int32 dx = lo; dx <= hi; ++dx) {
      if ((dx + 0.5 - (hi + lo + 1) / 2.0) * (dx + 0.5 - (hi + lo + 1) / 2.0) +
              (dy + 0.5 - (hi + lo + 1) / 2.0) * (dy + 0.5 - (hi + lo + 1) / 2.0) <=
          r * r + 0.5) {
        plot(x + dx, y + dy, pen);
      }
    }
  }
}

void PictureBox::PSet(float x, float y, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  mutableBits();
  dot(roundToInt32(toPixelX(x)), roundToInt32(toPixelY(y)), pen);
  CurrentX = x;
  CurrentY = y;
  touch();
}

void PictureBox::Line(float x1, float y1, float x2, float y2, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  // The scale looked up once for both ends, as toPixelX and toPixelY divide.
  const double ux = unitsPerPixelX(scaleMode_);
  const double uy = unitsPerPixelY(scaleMode_);
  const Int32 ax = roundToInt32(x1 / ux);
  const Int32 ay = roundToInt32(y1 / uy);
  const Int32 bx = roundToInt32(x2 / ux);
  const Int32 by = roundToInt32(y2 / uy);
  if (stroke(ax, ay, bx, by, pen)) touch();
  CurrentX = x2;
  CurrentY = y2;
}

void PictureBox::Lines(std::span<const float> ends, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  const double ux = unitsPerPixelX(scaleMode_);
  const double uy = unitsPerPixelY(scaleMode_);
  bool drawn = false;
  // A line that starts where the last one ended takes that end's pixel
  // rather than working it out again.
  float lastX = 0.0F;
  float lastY = 0.0F;
  Int32 bx = 0;
  Int32 by = 0;
  for (std::size_t i = 0; i + 4 <= ends.size(); i += 4) {
    const bool joined = i > 0 && ends[i] == lastX && ends[i + 1] == lastY;
    const Int32 ax = joined ? bx : roundToInt32(ends[i] / ux);
    const Int32 ay = joined ? by : roundToInt32(ends[i + 1] / uy);
    lastX = ends[i + 2];
    lastY = ends[i + 3];
    bx = roundToInt32(lastX / ux);
    by = roundToInt32(lastY / uy);
    drawn = stroke(ax, ay, bx, by, pen) || drawn;
  }
  if (ends.size() >= 4) {
    CurrentX = lastX;
    CurrentY = lastY;
  }
  if (drawn) touch();
}

bool PictureBox::stroke(Int32 ax, Int32 ay, Int32 bx, Int32 by, Colour pen) {
  // A line wholly beyond one edge of the bitmap draws nothing; skipping it
  // keeps far-off coordinates from costing a loop over every pixel between.
  const Int32 reach = DrawWidth;
  if (std::max(ax, bx) < -reach || std::min(ax, bx) >= innerW_ + reach || std::max(ay, by) < -reach ||
      std::min(ay, by) >= innerH_ + reach) {
    return false;
  }
  Colour* const bits = mutableBits();
  // A one-pixel pen that paints its colour as it is sets each pixel in place.
  const bool plain = DrawWidth <= 1 && DrawMode == 13;
  const Int32 dx = std::abs(bx - ax);
  const Int32 dy = -std::abs(by - ay);
  const Int32 sx = ax < bx ? 1 : -1;
  const Int32 sy = ay < by ? 1 : -1;
  long long err = static_cast<long long>(dx) + dy;
  // Both end points are drawn, so that a polyline has no gaps at its corners.
  for (;;) {
    if (!plain) {
      dot(ax, ay, pen);
    } else if (ax >= 0 && ay >= 0 && ax < innerW_ && ay < innerH_) {
      bits[static_cast<std::size_t>(ay) * innerW_ + ax] = pen;
    }
    if (ax == bx && ay == by) break;
    const long long e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      ax += sx;
    }
    if (e2 <= dx) {
      err += dx;
      ay += sy;
    }
  }
  return true;
}

void PictureBox::Circle(float x, float y, float radius, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  const double cx = toPixelX(x);
  const double cy = toPixelY(y);
  const double r = std::abs(radius / unitsPerPixelX(scaleMode_));
  const Int32 x0 = static_cast<Int32>(std::floor(cx - r)) - 1;
  const Int32 x1 = static_cast<Int32>(std::ceil(cx + r)) + 1;
  const Int32 y0 = static_cast<Int32>(std::floor(cy - r)) - 1;
  const Int32 y1 = static_cast<Int32>(std::ceil(cy + r)) + 1;
  // A pixel belongs to the outline when its centre lies within half a pixel of
  // the circle; inside it, to the fill.
  mutableBits();
  for (Int32 py = std::max(y0, 0); py <= std::min(y1, innerH_ - 1); ++py) {
    for (Int32 px = std::max(x0, 0); px <= std::min(x1, innerW_ - 1); ++px) {
      const double d = std::hypot(px - cx, py - cy);
      if (std::abs(d - r) <= 0.5) {
        dot(px, py, pen);
      } else if (FillStyle == 0 && d < r) {
        plot(px, py, resolveColour(FillColor));
      }
    }
  }
  CurrentX = x;
  CurrentY = y;
  touch();
}

namespace {
Colour combine(Colour dest, Colour src, Int32 opcode) {
  switch (opcode) {
    case kOpcodeCopy:
      return src;
    case kOpcodeAnd:
      return dest & src;
    case kOpcodePaint:
      return dest | src;
    case kOpcodeInvert:
      return dest ^ src;
    default:
      throw SurfaceError("Invalid procedure call: raster operation " + std::to_string(opcode));
  }
}

// For each destination index along one axis, the first and one-past-last
// source index it covers. A shrink gives blocks of several source pixels, an
// enlargement repeats one.
struct Span {
  Int32 from;
  Int32 to;
};

std::vector<Span> spans(Int32 destLength, double srcStart, double srcLength) {
  std::vector<Span> out(static_cast<std::size_t>(destLength));
  for (Int32 d = 0; d < destLength; ++d) {
    const auto a = static_cast<Int32>(std::floor(srcStart + srcLength * d / destLength));
    auto b = static_cast<Int32>(std::floor(srcStart + srcLength * (d + 1) / destLength));
    if (b <= a) b = a + 1;
    out[static_cast<std::size_t>(d)] = {a, b};
  }
  return out;
}
}  // namespace

void PictureBox::PaintPicture(const Picture& pic, float x1, float y1, std::optional<float> width1,
                              std::optional<float> height1, std::optional<float> x2, std::optional<float> y2,
                              std::optional<float> width2, std::optional<float> height2, std::optional<Int32> opcode) {
  if (!pic) throw SurfaceError("Invalid picture");
  const Int32 op = opcode.value_or(kOpcodeCopy);
  combine(0, 0, op);  // refuse an unknown operation before anything is drawn

  // Lengths in this box's scale become pixels of this box for the destination
  // and pixels of the picture for the source.
  const double fx = 1.0 / unitsPerPixelX(scaleMode_);
  const double fy = 1.0 / unitsPerPixelY(scaleMode_);
  const double srcX = x2 ? *x2 * fx : 0.0;
  const double srcY = y2 ? *y2 * fy : 0.0;
  const double srcW = width2 ? *width2 * fx : pic->pixelWidth();
  const double srcH = height2 ? *height2 * fy : pic->pixelHeight();

  const Int32 dx0 = roundToInt32(x1 * fx);
  const Int32 dy0 = roundToInt32(y1 * fy);
  const Int32 dx1 = width1 ? roundToInt32((x1 + *width1) * fx) : roundToInt32(dx0 + srcW);
  const Int32 dy1 = height1 ? roundToInt32((y1 + *height1) * fy) : roundToInt32(dy0 + srcH);
  const Int32 dw = dx1 - dx0;
  const Int32 dh = dy1 - dy0;
  if (dw <= 0 || dh <= 0 || srcW <= 0 || srcH <= 0) return;

  const std::vector<Span> xs = spans(dw, srcX, srcW);
  const std::vector<Span> ys = spans(dh, srcY, srcH);
  const Int32 pw = pic->pixelWidth();
  const Int32 ph = pic->pixelHeight();
  const Colour* src = pic->pixels().data();

  // Destination columns inside the box that draw on some source column: the
  // spans only grow left to right, so these form one run [iFrom, iTo).
  Int32 iFrom = std::max(0, -dx0);
  Int32 iTo = std::min(dw, innerW_ - dx0);
  while (iFrom < iTo && std::min(xs[static_cast<std::size_t>(iFrom)].to, pw) <= 0) ++iFrom;
  while (iTo > iFrom && xs[static_cast<std::size_t>(iTo - 1)].from >= pw) --iTo;
  if (iFrom >= iTo) return;

  // A plain copy of a picture of the box's own size over the whole box shows
  // that picture's pixels as they are: share them instead of copying.
  const bool wholeBox = dx0 == 0 && dy0 == 0 && dw == innerW_ && dh == innerH_;
  if (op == kOpcodeCopy && wholeBox && srcX == 0.0 && srcY == 0.0 && srcW == pw && srcH == ph && pw == innerW_ &&
      ph == innerH_) {
    bitmap_ = pic->buffer();
    touch();
    return;
  }
  // A copy from within the picture onto the whole box writes every pixel.
  const bool coversAll = wholeBox && srcX >= 0.0 && srcY >= 0.0 && srcX + srcW <= pw && srcY + srcH <= ph;
  Colour* out = op == kOpcodeCopy && coversAll ? overwriteBits() : mutableBits();
  const Int32 uFrom = std::max(xs[static_cast<std::size_t>(iFrom)].from, 0);
  const Int32 uTo = std::min(xs[static_cast<std::size_t>(iTo - 1)].to, pw);

  // One destination row at a time: the source rows of its block ANDed into
  // `acc`, then each destination pixel the AND of its columns of `acc`. A
  // shrink thus ANDs the pixels it drops into the one it keeps, so dark line
  // work on a light ground survives it. Rows of an enlargement that repeat a
  // source block reuse `line`.
  std::vector<Colour> acc(static_cast<std::size_t>(std::max(pw, 1)));
  // Each span of the run overlaps the picture; its columns there, worked out once.
  std::vector<Span> columns(static_cast<std::size_t>(iTo));
  for (Int32 i = iFrom; i < iTo; ++i) {
    const Span sx = xs[static_cast<std::size_t>(i)];
    columns[static_cast<std::size_t>(i)] = {std::max(sx.from, 0), std::min(sx.to, pw)};
  }
  std::vector<Colour> line(static_cast<std::size_t>(std::max(dw, 1)));
  Span lineRows{-1, -1};
  for (Int32 j = 0; j < dh; ++j) {
    const Int32 ty = dy0 + j;
    if (ty < 0 || ty >= innerH_) continue;
    const Span sy = ys[static_cast<std::size_t>(j)];
    const Int32 syFrom = std::max(sy.from, 0);
    const Int32 syTo = std::min(sy.to, ph);
    if (syFrom >= syTo) continue;
    if (syFrom != lineRows.from || syTo != lineRows.to) {
      // Up to three source rows a sweep, so that `acc` is read and written
      // once for most blocks; a sweep of fewer reads its last row again,
      // which the AND does not mind.
      Colour* __restrict a = acc.data();
      const auto rowAt = [&](Int32 v) { return src + static_cast<std::size_t>(v) * pw; };
      for (Int32 v = syFrom; v < syTo;) {
        const Int32 n = std::min<Int32>(3, syTo - v);
        const Colour* __restrict s0 = rowAt(v);
        const Colour* __restrict s1 = rowAt(v + std::min<Int32>(1, n - 1));
        const Colour* __restrict s2 = rowAt(v + n - 1);
        if (v == syFrom) {
          for (Int32 u = uFrom; u < uTo; ++u) a[u] = s0[u] & s1[u] & s2[u] & 0xFFFFFF;
        } else {
          for (Int32 u = uFrom; u < uTo; ++u) a[u] &= s0[u] & s1[u] & s2[u];
        }
        v += n;
      }
      // A shrink's spans hold a few columns each: those widths unrolled.
      for (Int32 i = iFrom; i < iTo; ++i) {
        const Span sx = columns[static_cast<std::size_t>(i)];
        const Int32 sxTo = sx.to;
        Int32 u = sx.from;
        Colour c = a[u];
        switch (sxTo - u) {
          case 1:
            break;
          case 2:
            c &= a[u + 1];
            break;
          case 3:
            c &= a[u + 1] & a[u + 2];
            break;
          case 4:
            c &= a[u + 1] & a[u + 2] & a[u + 3];
            break;
          default:
            while (++u < sxTo) c &= a[u];
        }
        line[i] = c;
      }
      lineRows = {syFrom, syTo};
    }
    Colour* row = out + static_cast<std::size_t>(ty) * innerW_;
    if (op == kOpcodeCopy) {
      std::copy(line.begin() + iFrom, line.begin() + iTo, row + (dx0 + iFrom));
    } else if (op == kOpcodeAnd) {
      for (Int32 i = iFrom; i < iTo; ++i) row[dx0 + i] &= line[i];
    } else {
      for (Int32 i = iFrom; i < iTo; ++i) row[dx0 + i] = combine(row[dx0 + i], line[i], op) & 0xFFFFFF;
    }
  }
  touch();
}

}  // namespace quern

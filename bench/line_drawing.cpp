#include "line_drawing.h"

#include <random>

#include "surface/picture_box.h"

namespace quern::bench {

Picture makeLineDrawing(Int32 width, Int32 height, std::uint32_t seed) {
  std::mt19937 rng(seed);
  PictureBox box;
  box.setWidth(static_cast<float>(width));
  box.setHeight(static_cast<float>(height));
  box.setBackColor(kWhite);
  std::uniform_real_distribution<float> fx(0.0F, static_cast<float>(width - 1));
  std::uniform_real_distribution<float> fy(0.0F, static_cast<float>(height - 1));
  std::uniform_real_distribution<float> turn(-60.0F, 60.0F);
  std::uniform_int_distribution<int> thickness(1, 6);
  std::uniform_int_distribution<int> legs(1, 5);

  // About one stroke per 7500 square pixels keeps the drawing open, as line work is.
  const long long strokes = static_cast<long long>(width) * height / 7500;
  for (long long s = 0; s < strokes; ++s) {
    box.DrawWidth = static_cast<Int16>(thickness(rng));
    if (s % 8 == 7) {
      box.Circle(fx(rng), fy(rng), std::uniform_real_distribution<float>(10.0F, 80.0F)(rng), kBlack);
      continue;
    }
    float x = fx(rng);
    float y = fy(rng);
    const int n = legs(rng);
    for (int leg = 0; leg < n; ++leg) {
      const float nx = std::clamp(x + turn(rng) * 2.0F, 0.0F, static_cast<float>(width - 1));
      const float ny = std::clamp(y + turn(rng) * 2.0F, 0.0F, static_cast<float>(height - 1));
      box.Line(x, y, nx, ny, kBlack);
      x = nx;
      y = ny;
    }
  }
  return box.Image();
}

}  // namespace quern::bench

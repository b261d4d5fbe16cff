#pragma once

// The peeling transcribed step by step, cell by cell, as slow as it reads:
// the reference the fast ThinGrid must match pixel for pixel, record for
// record, and in every progress step and chance to run.

#include <algorithm>
#include <vector>

#include "base/host.h"
#include "base/line_tables.h"
#include "processing/thinning.h"
#include "surface/picture_box.h"

namespace quern::testing {

class LiteralThinning {
 public:
  Int16 thincycle = 0;

  void loadgrid(PictureBox& picture, Int16 width, Int16 height, RecordTable& LineTable, Host& host) {
    w_ = width;
    h_ = height;
    grid_.assign(static_cast<std::size_t>(width + 1) * (height + 1), 0);
    for (Int32 x = 0; x < w_; ++x) {
      for (Int32 y = 0; y < h_; ++y) at(x, y) = redOf(picture.Point(x, y)) == 0 ? 1 : 0;
      host.DoEvents();
    }
    ProgressBar& bar = host.PB(3);
    bar.Value = 0;
    if (w_ < 10) return;
    bool live[4] = {true, true, true, true};  // top, bottom, left, right
    for (thincycle = 1; thincycle <= 100; ++thincycle) {
      bool peeled[4] = {};
      for (int side = 0; side < 4; ++side) {
        step(bar, side == 2 ? bar.Max : 100);
        if (live[side]) peeled[side] = pass(side, host);
      }
      step(bar, 100);
      for (int s = 0; s < 4; ++s) live[s] = live[s] && peeled[s];
      if (!(live[0] || live[1] || live[2] || live[3])) break;
    }
    thincycle = std::min<Int16>(thincycle, 100);

    bar.Max = static_cast<float>(w_ - 1);
    for (Int32 x = 0; x < w_; ++x) {
      for (Int32 y = 0; y < h_; ++y) {
        SetPixelV(picture.hDC(), x, y, at(x, y) == 1 ? 0 : 0xFFFFFF);
        if (at(x, y) == 1) {
          LineTable.count() += 1;
          LineTable[LineTable.count()].x1 = static_cast<float>(x);
          LineTable[LineTable.count()].y1 = static_cast<float>(y);
        }
      }
      bar.Value = static_cast<float>(x);
      host.DoEvents();
    }
    bar.Value = 0;
  }

 private:
  Int16& at(Int32 x, Int32 y) { return grid_[static_cast<std::size_t>(x + (w_ + 1) * y)]; }

  static void step(ProgressBar& bar, float below) {
    if (bar.Value < below && bar.Value + 1 <= bar.Max) bar.Value += 1;
  }

  bool pass(int side, Host& host) {
    static constexpr int kDx[4] = {0, 0, -1, 1};  // outward neighbour
    static constexpr int kDy[4] = {-1, 1, 0, 0};
    const bool byColumns = side < 2;
    const Int32 outer = byColumns ? w_ : h_;
    const Int32 inner = byColumns ? h_ : w_;
    bool peeled = false;
    bool armed = true;  // a peeled cell disarms the scan until it meets background
    for (Int32 a = 1; a <= outer - 1; ++a) {
      for (Int32 k = 1; k <= inner - 1; ++k) {
        const Int32 b = side % 2 == 0 ? k : inner - k;  // bottom and right count down
        const Int32 x = byColumns ? a : b;
        const Int32 y = byColumns ? b : a;
        if (!armed) {
          armed = at(x, y) == 0;
          continue;
        }
        RingCells ring{};
        for (int i = 0; i < 9; ++i) ring[i / 3][i % 3] = at(x + i / 3 - 1, y + i % 3 - 1);
        if (at(x, y) == 1 && at(x + kDx[side], y + kDy[side]) == 0 && ringtest(ring) == 1) {
          at(x, y) = 0;
          armed = false;
          peeled = true;
        }
      }
      host.DoEvents();
    }
    return peeled;
  }

  Int32 w_ = 0;
  Int32 h_ = 0;
  std::vector<Int16> grid_;
};

}  // namespace quern::testing

#pragma once

// The peeling transcribed step by step, cell by cell, as slow as it reads:
// the reference the fast ThinGrid must match pixel for pixel, record for
// record, and in every progress step and chance to run.

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
    thingrid(picture, LineTable, host);
  }

 private:
  Int16& at(Int32 x, Int32 y) { return grid_[static_cast<std::size_t>(x + (w_ + 1) * y)]; }

  static void step(ProgressBar& bar, float below) {
    if (bar.Value < below && bar.Value + 1 <= bar.Max) bar.Value += 1;
  }

  void thingrid(PictureBox& picture, RecordTable& LineTable, Host& host) {
    host.PB(3).Value = 0;
    if (w_ < 10) return;
    bool peeled[4] = {false, false, false, false};
    bool live[4] = {true, true, true, true};
    for (thincycle = 1; thincycle <= 100; ++thincycle) {
      for (int side = 0; side < 4; ++side) {
        step(host.PB(3), side == 2 ? host.PB(3).Max : 100);
        if (live[side]) pass(side, peeled[side], host);
      }
      step(host.PB(3), 100);
      for (int s = 0; s < 4; ++s) {
        if (!peeled[s]) live[s] = false;
        peeled[s] = false;
      }
      if (!live[0] && !live[1] && !live[2] && !live[3]) break;
    }
    if (thincycle > 100) thincycle = 100;

    host.PB(3).Max = static_cast<float>(w_ - 1);
    for (Int32 x = 0; x < w_; ++x) {
      for (Int32 y = 0; y < h_; ++y) {
        SetPixelV(picture.hDC(), x, y, at(x, y) == 1 ? 0 : 0xFFFFFF);
        if (at(x, y) == 1) {
          LineTable.count() += 1;
          LineTable[LineTable.count()].x1 = static_cast<float>(x);
          LineTable[LineTable.count()].y1 = static_cast<float>(y);
        }
      }
      host.PB(3).Value = static_cast<float>(x);
      host.DoEvents();
    }
    host.PB(3).Value = 0;
  }

  // Sides 0 to 3: top, bottom, left, right.
  void pass(int side, bool& peeled, Host& host) {
    static constexpr int kDx[4] = {0, 0, -1, 1};  // outward neighbour
    static constexpr int kDy[4] = {-1, 1, 0, 0};
    const bool byColumns = side < 2;
    const Int32 outer = byColumns ? w_ : h_;
    const Int32 inner = byColumns ? h_ : w_;
    armed_ = true;
    for (Int32 a = 1; a <= outer - 1; ++a) {
      for (Int32 k = 1; k <= inner - 1; ++k) {
        const Int32 b = side % 2 == 0 ? k : inner - k;  // bottom and right count down
        const Int32 x = byColumns ? a : b;
        const Int32 y = byColumns ? b : a;
        visit(x, y, x + kDx[side], y + kDy[side], peeled);
      }
      host.DoEvents();
    }
  }

  void visit(Int32 x, Int32 y, Int32 ox, Int32 oy, bool& peeled) {
    if (!armed_) {
      if (at(x, y) == 0) armed_ = true;
      return;
    }
    RingCells ringcells{};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) ringcells[i][j] = at(x + i - 1, y + j - 1);
    }
    if (at(x, y) == 1 && at(ox, oy) == 0 && ringtest(ringcells) == 1) {
      at(x, y) = 0;
      armed_ = false;
      peeled = true;
    }
  }

  Int32 w_ = 0;
  Int32 h_ = 0;
  bool armed_ = true;
  std::vector<Int16> grid_;
};

}  // namespace quern::testing

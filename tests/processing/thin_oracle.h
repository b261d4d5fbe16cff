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
    gridwidth_ = width;
    gridheight_ = height;
    grid_.assign(static_cast<std::size_t>(width + 1) * (height + 1), 0);
    for (Int32 x = 0; x < width; ++x) {
      for (Int32 y = 0; y < height; ++y) at(x, y) = redOf(picture.Point(x, y)) == 0 ? 1 : 0;
      host.DoEvents();
    }
    thingrid(picture, LineTable, host);
  }

 private:
  Int16& at(Int32 x, Int32 y) { return grid_[static_cast<std::size_t>(x + (gridwidth_ + 1) * y)]; }

  static void step(ProgressBar& bar, float below) {
    if (bar.Value < below && bar.Value + 1 <= bar.Max) bar.Value += 1;
  }

  void thingrid(PictureBox& picture, RecordTable& LineTable, Host& host) {
    host.PB(3).Value = 0;
    thincycle = 0;
    if (gridwidth_ < 10) return;
    bool peeled[4] = {false, false, false, false};
    bool live[4] = {true, true, true, true};
    for (thincycle = 1; thincycle <= 100; ++thincycle) {
      step(host.PB(3), 100);
      if (live[0]) pass(0, peeled[0], host);
      step(host.PB(3), 100);
      if (live[1]) pass(1, peeled[1], host);
      step(host.PB(3), host.PB(3).Max);
      if (live[2]) pass(2, peeled[2], host);
      step(host.PB(3), 100);
      if (live[3]) pass(3, peeled[3], host);
      step(host.PB(3), 100);
      for (int s = 0; s < 4; ++s) {
        if (peeled[s]) {
          peeled[s] = false;
        } else {
          live[s] = false;
        }
      }
      if (!live[0] && !live[1] && !live[2] && !live[3]) break;
    }
    if (thincycle > 100) thincycle = 100;

    host.PB(3).Max = static_cast<float>(gridwidth_ - 1);
    for (Int32 x = 0; x < gridwidth_; ++x) {
      for (Int32 y = 0; y < gridheight_; ++y) {
        if (at(x, y) == 1) {
          SetPixelV(picture.hDC(), x, y, 0);
          LineTable.count() += 1;
          LineTable[LineTable.count()].x1 = static_cast<float>(x);
          LineTable[LineTable.count()].y1 = static_cast<float>(y);
        } else {
          SetPixelV(picture.hDC(), x, y, 0xFFFFFF);
        }
      }
      host.PB(3).Value = static_cast<float>(x);
      host.DoEvents();
    }
    host.PB(3).Value = 0;
  }

  void pass(int side, bool& peeled, Host& host) {
    armed_ = true;
    const Int32 w = gridwidth_;
    const Int32 h = gridheight_;
    if (side == 0) {
      for (Int32 x = 1; x <= w - 1; ++x) {
        for (Int32 y = 1; y <= h - 1; ++y) visit(x, y, x, y - 1, peeled);
        host.DoEvents();
      }
    } else if (side == 1) {
      for (Int32 x = 1; x <= w - 1; ++x) {
        for (Int32 y = h - 1; y >= 1; --y) visit(x, y, x, y + 1, peeled);
        host.DoEvents();
      }
    } else if (side == 2) {
      for (Int32 y = 1; y <= h - 1; ++y) {
        for (Int32 x = 1; x <= w - 1; ++x) visit(x, y, x - 1, y, peeled);
        host.DoEvents();
      }
    } else {
      for (Int32 y = 1; y <= h - 1; ++y) {
        for (Int32 x = w - 1; x >= 1; --x) visit(x, y, x + 1, y, peeled);
        host.DoEvents();
      }
    }
  }

  void visit(Int32 x, Int32 y, Int32 ox, Int32 oy, bool& peeled) {
    if (armed_) {
      if (at(x, y) == 1 && at(ox, oy) == 0 && ring(x, y) == 1) {
        at(x, y) = 0;
        armed_ = false;
        peeled = true;
      }
    } else if (at(x, y) == 0) {
      armed_ = true;
    }
  }

  Int16 ring(Int32 x, Int32 y) {
    RingCells ringcells{};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) ringcells[i][j] = at(x + i - 1, y + j - 1);
    }
    return ringtest(ringcells);
  }

  Int16 gridwidth_ = 0;
  Int16 gridheight_ = 0;
  bool armed_ = true;
  std::vector<Int16> grid_;
};

}  // namespace quern::testing

#include "processing/rank_filters.h"

#include <cmath>

#include "processing/filter_store.h"

namespace quern {

namespace {

using Record = FilterStore::Record;

// Bias added in 16 bits, then the absolute value or a clamp to 0..255.
Int32 finishRank(Int16 value, Int16 filterbias, bool takeabs) {
  const Int16 v = add16(value, filterbias);
  return takeabs ? capByte(toInt16(std::abs(static_cast<Int32>(v)))) : clampByte(v);
}

// The 3 by 3 window round (x, y) in scan order: position 3 (i + 1) + (j + 1).
void fillWindow(const FilterStore& store, Int32 y, Int32 x, Record (&window)[9]) {
  for (Int32 i = -1; i <= 1; ++i) {
    for (Int32 j = -1; j <= 1; ++j) window[3 * (i + 1) + (j + 1)] = store.at(y + i, x + j);
  }
}

// u times `scale`, plus `plus`, minus `minus`, in 32-bit floats, rounded.
Int16 randomOffset(float u, Int16 scale, Int16 plus, Int16 minus) {
  const float v = toFloat32(toFloat32(toFloat32(u * static_cast<float>(scale)) + plus) - minus);
  return roundToInt16(v);
}

}  // namespace

void runmedian(PictureBox& picture, FilterStore& filterpixels, Int16 filterbias, bool takeabs, Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintInner(store, 1, picture, progress, [&](Int32 y, Int32 x) {
    Record window[9];
    fillWindow(store, y, x, window);
    Int32 out[3];
    for (int k = 0; k < 3; ++k) {
      Int16 list[9];
      for (int p = 0; p < 9; ++p) list[p] = FilterStore::channel(window[p], k);
      rankPasses(list, [](Int16 a, Int16 b) { return a > b; });
      out[k] = finishRank(list[4], filterbias, takeabs);
    }
    return rgb(out[0], out[1], out[2]);
  });
}

void runmedianKC(PictureBox& picture, FilterStore& filterpixels, Int16 filterbias, bool takeabs, Progress& progress) {
  struct Ranked {
    Int16 sum;
    Int16 position;
  };
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintInner(store, 1, picture, progress, [&](Int32 y, Int32 x) {
    Record window[9];
    fillWindow(store, y, x, window);
    Ranked ranked[9];
    for (Int16 p = 0; p < 9; ++p) {
      const Record r = window[p];
      ranked[p] = {static_cast<Int16>(FilterStore::red(r) + FilterStore::green(r) + FilterStore::blue(r)), p};
    }
    rankPasses(ranked, [](const Ranked& a, const Ranked& b) { return a.sum > b.sum; });
    const Record chosen = window[ranked[4].position];
    return rgb(finishRank(FilterStore::red(chosen), filterbias, takeabs),
               finishRank(FilterStore::green(chosen), filterbias, takeabs),
               finishRank(FilterStore::blue(chosen), filterbias, takeabs));
  });
}

void rundiffuse(PictureBox& picture, FilterStore& filterpixels, Int16 rndinto, Int16 rndminus, RandomSource& random,
                Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintInner(store, 2, picture, progress, [&](Int32 y, Int32 x) {
    const Int16 a = randomOffset(random.next(), rndinto, 0, rndminus);
    const Int16 b = randomOffset(random.next(), rndinto, 0, rndminus);
    return FilterStore::colour(store.atChecked(y + a, x + b));
  });
}

void runemboss(PictureBox& picture, FilterStore& filterpixels, Int16 filterbias, Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintInner(store, 1, picture, progress, [&](Int32 y, Int32 x) {
    const Record c = store.at(y, x);
    const Record d = store.at(y + 1, x + 1);
    Int32 out[3];
    for (int k = 0; k < 3; ++k) {
      const Int16 v = add16(sub16(FilterStore::channel(c, k), FilterStore::channel(d, k)), filterbias);
      out[k] = capByte(toInt16(std::abs(static_cast<Int32>(v))));
    }
    return rgb(out[0], out[1], out[2]);
  });
}

void runpixelize(PictureBox& picture, FilterStore& filterpixels, Int16 rndplus, Int16 rndminus, Int16 intoradius,
                 Int16 minradius, RandomSource& random, Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  const Int16 w = store.width();
  const Int16 h = store.height();
  picture.FillStyle = 0;
  const Int16 rows = roundToInt16(h / 3.0);
  const Int16 cols = roundToInt16(w / 3.0);
  for (Int32 y = 1; y <= rows; ++y) {
    for (Int32 x = 1; x <= cols; ++x) {
      const Int16 a = randomOffset(random.next(), w, rndplus, rndminus);
      const Int16 b = randomOffset(random.next(), h, rndplus, rndminus);
      const float radius = std::floor(toFloat32(random.next() * static_cast<float>(intoradius))) + minradius;
      const Colour colour = FilterStore::colour(store.atChecked(b, a));
      picture.FillColor = colour;
      picture.Circle(a, b, radius, colour);
    }
    progress.yield();
  }
}

void runsolarize(PictureBox& picture, FilterStore& filterpixels, Int16 ll, Int16 ul, Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintInner(store, 1, picture, progress, [&](Int32 y, Int32 x) {
    const Record r = store.at(y, x);
    Int32 out[3];
    for (int k = 0; k < 3; ++k) {
      const Int32 c = FilterStore::channel(r, k);
      out[k] = c < ll || c > ul ? 255 - c : c;
    }
    return rgb(out[0], out[1], out[2]);
  });
}

}  // namespace quern

#pragma once

#include "base/numbers.h"
#include "base/progress.h"
#include "processing/filter_store.h"
#include "processing/random_source.h"
#include "surface/picture_box.h"

namespace quern {

// Rank, random and point filters on the same frame as the linear ones: each
// loads the picture's colours, paints from them and lets the interface run
// after each row.

// Median of each channel of the 3 by 3 window, by itself; then `filterbias`,
// then the absolute value (`takeabs`) or a clamp to 0..255.
void runmedian(PictureBox& picture, FilterStore& filterpixels, Int16 filterbias, bool takeabs, Progress& progress);
// The window's pixel whose channel sum ranks in the middle, so the result is a
// colour of the window (apart from `filterbias`).
void runmedianKC(PictureBox& picture, FilterStore& filterpixels, Int16 filterbias, bool takeabs, Progress& progress);
// Each pixel takes the colour of a random neighbour up to the offsets that
// `rndinto` and `rndminus` allow; two numbers from `random` per pixel.
void rundiffuse(PictureBox& picture, FilterStore& filterpixels, Int16 rndinto, Int16 rndminus, RandomSource& random,
                Progress& progress);
// |c - d + filterbias| per channel, d being the lower-right neighbour.
void runemboss(PictureBox& picture, FilterStore& filterpixels, Int16 filterbias, Progress& progress);
// Filled discs of the picture's own colours at random places, about one for
// every nine pixels.
void runpixelize(PictureBox& picture, FilterStore& filterpixels, Int16 rndplus, Int16 rndminus, Int16 intoradius,
                 Int16 minradius, RandomSource& random, Progress& progress);
// Channel values below `ll` or above `ul` are inverted.
void runsolarize(PictureBox& picture, FilterStore& filterpixels, Int16 ll, Int16 ul, Progress& progress);

// The sorting passes of the rank filters: for a from 0 to 8, for b from a to
// 7, exchange entries b and b + 1 when out of order. They leave some lists
// unsorted; the filters take position 4 as it stands.
template <typename Entry, typename Greater>
void rankPasses(Entry (&list)[9], Greater greater) {
  for (int a = 0; a <= 8; ++a) {
    for (int b = a; b <= 7; ++b) {
      if (greater(list[b], list[b + 1])) {
        const Entry t = list[b];
        list[b] = list[b + 1];
        list[b + 1] = t;
      }
    }
  }
}

}  // namespace quern

#pragma once

#include <string>
#include <vector>

#include "base/numbers.h"

namespace quern {

// The usual screen: 96 dots per inch, 15 twips per pixel.
inline constexpr Int32 kDefaultTwipsPerPixel = 15;

// A progress bar as the stages see it: Min, Max and a Value held as a float.
struct ProgressBar {
  float Min = 0.0F;
  float Max = 100.0F;
  float Value = 0.0F;
};

// What the raster and chain routines need of the window that runs them:
// a chance for the interface to run, the progress bars PB(0..6) and a
// message box. The form implements it; tests use QuietHost.
class Host {
 public:
  virtual ~Host() = default;
  virtual void DoEvents() = 0;
  // Bars 0, 1, 2, 3, 5 and 6 exist; asking for another is an IndexError.
  virtual ProgressBar& PB(Int16 index) = 0;
  virtual void MsgBox(const std::string& text) = 0;
  // The screen's twips per pixel.
  virtual Int32 TwipsPerPixelX() const { return kDefaultTwipsPerPixel; }
  virtual Int32 TwipsPerPixelY() const { return kDefaultTwipsPerPixel; }
};

// A host without a screen: counts the chances to run and keeps the messages.
class QuietHost : public Host {
 public:
  void DoEvents() override { ++doEventsCalls; }
  ProgressBar& PB(Int16 index) override;
  void MsgBox(const std::string& text) override { messages.push_back(text); }

  long long doEventsCalls = 0;
  std::vector<std::string> messages;
  ProgressBar bars[7];
};

// Shared index check of the bar array, which has no bar 4.
ProgressBar& progressBarAt(ProgressBar (&bars)[7], Int16 index);

}  // namespace quern

#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>

#include "base/numbers.h"

namespace quern {

// The start-up window: the splash picture, the name and a notice. Each
// second its timer ticks; at the fourth tick it calls `showMain` and closes.
class SplashWindow : public QWidget {
  Q_OBJECT
 public:
  static constexpr Int32 kTicksShown = 4;
  static constexpr int kTickMs = 1000;

  explicit SplashWindow(std::function<void()> showMain);
  Int32 SplashTicks() const { return ticks_; }
  // One tick of the timer; public so that a test need not wait four seconds.
  void Timer1_Timer();

 private:
  std::function<void()> showMain_;
  QTimer Timer1;
  Int32 ticks_ = 0;
};

}  // namespace quern

#pragma once

#include <QFrame>
#include <QTimer>
#include <functional>

#include "base/numbers.h"

namespace quern {

// The start-up window: the splash picture, the name and a notice inside the
// thin raised border of a fixed dialog, with no title bar. Each second its
// timer ticks; at the fourth tick it calls `showMain` and closes.
class SplashWindow : public QFrame {
  Q_OBJECT
 public:
  static constexpr Int32 kTicksShown = 4;
  static constexpr int kTickMs = 1000;

  explicit SplashWindow(std::function<void()> showMain);
  Int32 SplashTicks() const { return ticks_; }
  // One tick of the timer; public so that a test need not wait four seconds.
  void Timer1_Timer();
  // The client area inside the border, where the controls are laid out.
  QWidget* client() const { return client_; }

 private:
  std::function<void()> showMain_;
  QWidget* client_ = nullptr;
  QTimer Timer1;
  Int32 ticks_ = 0;
};

}  // namespace quern

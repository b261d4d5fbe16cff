#pragma once

#include <QElapsedTimer>
#include <functional>
#include <optional>
#include <string>

#include "app/platform.h"

class QWidget;

namespace quern {

// The platform of the window: Qt's file dialogs and message box, and an event
// pump that lets the window show the form's bars and preview while a stage runs.
class QtPlatform : public Platform {
 public:
  // Events are pumped at most this often; a stage calls for a chance to run
  // far more often than a screen can show.
  static constexpr int kPumpIntervalMs = 30;

  std::optional<std::string> ShowOpenDialog() override;
  std::optional<std::string> ShowSaveDialog() override;
  void MsgBox(const std::string& text) override;
  void DoEvents() override;

  // The window the dialogs belong to, and what brings it up to date before events run.
  void setWindow(QWidget* window, std::function<void()> sync);
  // The next open dialog answers with `path` without showing itself: a
  // picture given on the command line or dropped on the window.
  void answerNextOpen(std::optional<std::string> path) { openAnswer_ = std::move(path); }
  // Tells the user that a request was refused.
  virtual void Beep();

 protected:
  // The open dialog itself, shown when no answer is waiting.
  virtual std::optional<std::string> askOpenPath();

 private:
  std::optional<std::string> openAnswer_;
  QWidget* window_ = nullptr;
  std::function<void()> sync_;
  QElapsedTimer sincePump_;
};

}  // namespace quern

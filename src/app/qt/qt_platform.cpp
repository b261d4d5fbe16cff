#include "app/qt/qt_platform.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <utility>

#include "app/layout.h"

namespace quern {

void QtPlatform::setWindow(QWidget* window, std::function<void()> sync) {
  window_ = window;
  sync_ = std::move(sync);
}

std::optional<std::string> QtPlatform::ShowOpenDialog() {
  if (openAnswer_) return std::exchange(openAnswer_, std::nullopt);
  return askOpenPath();
}

std::optional<std::string> QtPlatform::askOpenPath() {
  const QString path = QFileDialog::getOpenFileName(window_);
  if (path.isEmpty()) return std::nullopt;
  return path.toStdString();
}

std::optional<std::string> QtPlatform::ShowSaveDialog() {
  const QString path = QFileDialog::getSaveFileName(window_);
  if (path.isEmpty()) return std::nullopt;
  return path.toStdString();
}

void QtPlatform::MsgBox(const std::string& text) {
  if (sync_) sync_();
  QMessageBox::information(window_, QString::fromUtf8(kForm1Caption.data(), kForm1Caption.size()),
                           QString::fromStdString(text), QMessageBox::Ok);
}

void QtPlatform::Beep() {
  QApplication::beep();
}

void QtPlatform::DoEvents() {
  if (sincePump_.isValid() && sincePump_.elapsed() < kPumpIntervalMs) return;
  if (sync_) sync_();
  QCoreApplication::processEvents();
  sincePump_.restart();
}

}  // namespace quern

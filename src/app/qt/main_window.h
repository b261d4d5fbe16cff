#pragma once

#include <QMainWindow>
#include <map>
#include <memory>
#include <string>

#include "app/form1.h"
#include "app/qt/qt_platform.h"
#include "app/qt/scroll_style.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QScrollBar;

namespace quern {

class PictureBoxView;

// The main window: one widget for each control of the form at its place,
// the menus, and the wiring of their events to the form's requests.
class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  // Takes the platform so tests can script its dialogs.
  explicit MainWindow(std::unique_ptr<QtPlatform> platform = std::make_unique<QtPlatform>());
  ~MainWindow() override;

  Form1& form() { return *form_; }
  // Brings every widget up to date with the form's values.
  void sync();
  // The widget of a control by its name ("Command8", "PB(3)", "Stat(0)", ...).
  QWidget* control(const std::string& name) const;
  // Loads a picture file as "Load image" does when the dialog picks `path`.
  void openPicture(const std::string& path);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  // Beeps at a press on an Apply button that a running stage has switched off.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void build();
  void buildMenus();
  QWidget* makeWidget(const struct ControlPlace& place, QWidget* parent);
  // Runs one event of the user behind the window's own boundary: nothing may
  // escape into Qt's event loop.
  void guarded(const std::function<void()>& fn);
  // A request of the user to the form: `fn` answers whether the form took
  // it. One refused because a stage is running gets a beep.
  void submit(const std::function<bool()>& fn);
  void afterRequest();

  std::unique_ptr<QtPlatform> platform_;
  ScrollThumbStyle scrollStyle_;
  std::unique_ptr<Form1> form_;
  std::map<std::string, QWidget*> widgets_;
  std::map<std::string, QPushButton*> buttons_;
  std::map<std::string, QScrollBar*> scrolls_;
  std::map<std::string, QCheckBox*> checks_;
  std::map<Int16, QProgressBar*> bars_;
  std::map<std::string, QLineEdit*> texts_;
  QLabel* stats_[6] = {};
  PictureBoxView* preview_ = nullptr;
  PictureBoxView* small_ = nullptr;
  bool closePending_ = false;
};

}  // namespace quern

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTemporaryDir>
#include <QtTest/QtTest>
#include <fstream>

#include "app/qt/main_window.h"
#include "app/qt/picture_box_view.h"
#include "app/qt/splash.h"

namespace quern {

// The window's platform with answered dialogs and kept messages.
class ScriptedQtPlatform : public QtPlatform {
 public:
  std::optional<std::string> saveAnswer;
  std::vector<std::string>* messages = nullptr;
  std::optional<std::string> ShowOpenDialog() override { return std::nullopt; }
  std::optional<std::string> ShowSaveDialog() override { return saveAnswer; }
  void MsgBox(const std::string& text) override { messages->push_back(text); }
};

class WindowTest : public QObject {
  Q_OBJECT

 private:
  std::vector<std::string> messages_;

  std::unique_ptr<MainWindow> makeWindow(std::optional<std::string> saveAnswer = std::nullopt) {
    auto platform = std::make_unique<ScriptedQtPlatform>();
    platform->saveAnswer = std::move(saveAnswer);
    platform->messages = &messages_;
    auto w = std::make_unique<MainWindow>(std::move(platform));
    w->show();
    return w;
  }

  static QPushButton* button(MainWindow& w, const char* name) { return qobject_cast<QPushButton*>(w.control(name)); }

  static QAction* action(MainWindow& w, const char* name) { return w.findChild<QAction*>(name); }

 private slots:
  void init() { messages_.clear(); }

  void startsInStateOneWithCaptionsAndPreview() {
    auto w = makeWindow();
    QCOMPARE(w->windowTitle(), QString("Quern Centerline extractor"));
    QVERIFY(button(*w, "Command8")->isEnabled());
    for (const char* name : {"Command9", "Command10", "Command13", "Command14", "Command15"}) {
      QVERIFY2(!button(*w, name)->isEnabled(), name);
    }
    QCOMPARE(qobject_cast<QLabel*>(w->control("Stat(1)"))->text(), QString("Original Image X: 700 pixels"));
    QVERIFY(!w->control("Frame4")->isVisible());
    QCOMPARE(w->control("Picture1")->size(), QSize(400, 324));
    QCOMPARE(w->control("Command8")->mapTo(w.get(), QPoint(0, 0)).x(), (90 + 3360) / 15);
  }

  void applyRunsTheChainAndFillsTheBars() {
    auto w = makeWindow();
    QTest::mouseClick(button(*w, "Command8"), Qt::LeftButton);
    QCOMPARE(w->form().stage(), Int16{11});
    for (const char* name : {"PB(0)", "PB(1)", "PB(2)", "PB(3)", "PB(5)", "PB(6)"}) {
      auto* bar = qobject_cast<QProgressBar*>(w->control(name));
      QVERIFY2(bar->value() == bar->maximum(), name);
    }
    QVERIFY(button(*w, "Command15")->isEnabled());
    QVERIFY(qobject_cast<QLabel*>(w->control("Stat(5)"))->text().startsWith("Lines for output: "));
    QVERIFY(messages_.empty());
  }

  void extraButtonsWorkOnceTheWindowIsEnlarged() {
    auto w = makeWindow();
    QTest::mouseClick(button(*w, "Command8"), Qt::LeftButton);
    QVERIFY(w->control("Command11")->visibleRegion().isEmpty());
    w->resize(1300, 560);
    QVERIFY(!w->control("Command11")->visibleRegion().isEmpty());
    QTest::mouseClick(button(*w, "Command11"), Qt::LeftButton);
    // Centerlines runs on through Get polylines to Normalize, which draws at the working size.
    QCOMPARE(w->form().Picture1.ScaleWidth(), static_cast<float>(w->form().IPC2.picwidth()));
    QVERIFY(messages_.empty());
  }

  void quickLogicIsTickedAtItsIndicator() {
    auto w = makeWindow();
    auto* check = qobject_cast<QCheckBox*>(w->control("Check3"));
    QStyleOptionButton opt;
    opt.initFrom(check);
    const QRect indicator = check->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &opt, check);
    QTest::mouseClick(check, Qt::LeftButton, {}, indicator.center());
    QCOMPARE(w->form().Check3.Value, Int16{0});
  }

  void exportMenuWritesTheDrawing() {
    QTemporaryDir dir;
    const std::string path = dir.filePath("drawing").toStdString();
    auto w = makeWindow(path);
    QTest::mouseClick(button(*w, "Command8"), Qt::LeftButton);
    messages_.clear();
    action(*w, "exportimage")->trigger();
    QCOMPARE(messages_, std::vector<std::string>{"done"});
    std::ifstream in(path + ".dxf");
    std::string first;
    std::getline(in, first);
    QCOMPARE(first, std::string("  0\r"));
  }

  void restoreWithoutAChosenFileKeepsThePicture() {
    auto w = makeWindow();
    const Picture before = w->form().IPCH.picture();
    action(*w, "Restormenu")->trigger();
    QCOMPARE(w->form().IPCH.picture(), before);
    QVERIFY(messages_.empty());
  }

  void splashShowsTheMainWindowAtTheFourthTick() {
    int shown = 0;
    SplashWindow splash([&] { ++shown; });
    splash.show();
    for (int i = 0; i < 3; ++i) splash.Timer1_Timer();
    QCOMPARE(shown, 0);
    QVERIFY(splash.isVisible());
    splash.Timer1_Timer();
    QCOMPARE(shown, 1);
    QVERIFY(!splash.isVisible());
  }
};

}  // namespace quern

QTEST_MAIN(quern::WindowTest)
#include "window_test.moc"

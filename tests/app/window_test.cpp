#include <QAction>
#include <QCheckBox>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionSlider>
#include <QTemporaryDir>
#include <QtTest/QtTest>
#include <fstream>

#include "app/qt/main_window.h"
#include "app/qt/picture_box_view.h"
#include "app/qt/splash.h"

namespace quern {

// The window's platform with answered dialogs, kept messages, counted beeps,
// and a hook run at the first chance the interface gets during a stage.
class ScriptedQtPlatform : public QtPlatform {
 public:
  std::optional<std::string> saveAnswer;
  std::vector<std::string>* messages = nullptr;
  int beeps = 0;
  std::function<void()> duringStage;
  std::optional<std::string> ShowSaveDialog() override { return saveAnswer; }
  void MsgBox(const std::string& text) override { messages->push_back(text); }
  void Beep() override { ++beeps; }
  void DoEvents() override {
    if (duringStage) std::exchange(duringStage, nullptr)();
    QtPlatform::DoEvents();
  }

 protected:
  std::optional<std::string> askOpenPath() override { return std::nullopt; }
};

class WindowTest : public QObject {
  Q_OBJECT

 private:
  std::vector<std::string> messages_;
  ScriptedQtPlatform* platform_ = nullptr;

  std::unique_ptr<MainWindow> makeWindow(std::optional<std::string> saveAnswer = std::nullopt) {
    auto platform = std::make_unique<ScriptedQtPlatform>();
    platform->saveAnswer = std::move(saveAnswer);
    platform->messages = &messages_;
    platform_ = platform.get();
    auto w = std::make_unique<MainWindow>(std::move(platform));
    w->show();
    return w;
  }

  static QPushButton* button(MainWindow& w, const char* name) { return qobject_cast<QPushButton*>(w.control(name)); }

  static QAction* action(MainWindow& w, const char* name) { return w.findChild<QAction*>(name); }

  static void drop(MainWindow& w, const QString& path) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    const QPoint at = w.control("Picture1")->mapTo(&w, QPoint(10, 10));
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&w, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent dropped(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&w, &dropped);
    QVERIFY(dropped.isAccepted());
  }

  static QStyleOptionSlider sliderOption(const QScrollBar& bar) {
    QStyleOptionSlider opt;
    opt.initFrom(&bar);
    opt.subControls = QStyle::SC_All;
    opt.orientation = bar.orientation();
    opt.minimum = bar.minimum();
    opt.maximum = bar.maximum();
    opt.sliderPosition = bar.sliderPosition();
    opt.sliderValue = bar.value();
    opt.singleStep = bar.singleStep();
    opt.pageStep = bar.pageStep();
    return opt;
  }

 private slots:
  void init() { messages_.clear(); }

  void startsInStateOneWithCaptionsAndPreviewAndTicksAtTheIndicator() {
    auto w = makeWindow();
    QCOMPARE(w->windowTitle(), QString("Quern Centerline extractor"));
    QVERIFY(button(*w, "Command8")->isEnabled() && !button(*w, "Command9")->isEnabled());
    QVERIFY(!w->control("Frame4")->isVisible());
    QCOMPARE(w->control("Picture1")->size(), QSize(400, 324));
    QCOMPARE(w->control("Command8")->mapTo(w.get(), QPoint(0, 0)).x(), (90 + 3360) / 15);
    auto* check = qobject_cast<QCheckBox*>(w->control("Check3"));
    QStyleOptionButton opt;
    opt.initFrom(check);
    const QRect indicator = check->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &opt, check);
    QTest::mouseClick(check, Qt::LeftButton, {}, indicator.center());
    QCOMPARE(w->form().Check3.Value, Int16{0});
  }

  // The chain, then the extra button the enlarged window shows, then the export menu.
  void applyRunsTheChainThenTheExtrasAndTheExportWork() {
    QTemporaryDir dir;
    const std::string path = dir.filePath("drawing").toStdString();
    auto w = makeWindow(path);
    QTest::mouseClick(button(*w, "Command8"), Qt::LeftButton);
    QCOMPARE(w->form().stage(), Int16{11});
    for (const char* name : {"PB(0)", "PB(1)", "PB(2)", "PB(3)", "PB(5)", "PB(6)"}) {
      auto* bar = qobject_cast<QProgressBar*>(w->control(name));
      QVERIFY2(bar->value() == bar->maximum(), name);
    }
    for (const char* name : {"Command9", "Command10", "Command13", "Command14", "Command15"}) {
      QVERIFY2(button(*w, name)->isEnabled(), name);
    }
    QVERIFY(qobject_cast<QLabel*>(w->control("Stat(5)"))->text().startsWith("Lines for output: "));
    QVERIFY(w->control("Command11")->visibleRegion().isEmpty());
    w->resize(1300, 560);
    QVERIFY(!w->control("Command11")->visibleRegion().isEmpty());
    QTest::mouseClick(button(*w, "Command11"), Qt::LeftButton);
    // Centerlines runs on through Get polylines to Normalize, which draws at the working size.
    QCOMPARE(w->form().Picture1.ScaleWidth(), static_cast<float>(w->form().IPC2.picwidth()));
    action(*w, "exportimage")->trigger();
    QCOMPARE(messages_, std::vector<std::string>{"done"});
    std::ifstream in(path + ".dxf");
    std::string first;
    std::getline(in, first);
    QCOMPARE(first, std::string("  0\r"));
  }

  // A picture named on the command line and one dropped on the window take
  // the road of "Load image": its extension rule, its message, state 1.
  void aGivenPictureLoadsAsLoadImageWould_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("dropped");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("message");
    QTest::newRow("tall bmp from the command line") << "tall.bmp" << false << QSize(100, 300) << "";
    QTest::newRow("wide BMP dropped") << "wide.BMP" << true << QSize(300, 100) << "";
    QTest::newRow("mixed-case Jpg dropped") << "photo.Jpg" << true << QSize(700, 557) << "Not a valid File___Jpg";
    QTest::newRow("jpeg from the command line") << "photo.jpeg" << false << QSize(700, 557) << "Not a valid File___peg";
  }
  void aGivenPictureLoadsAsLoadImageWould() {
    QFETCH(QString, name);
    QFETCH(bool, dropped);
    QFETCH(QSize, size);
    QFETCH(QString, message);
    QTemporaryDir dir;
    const QString path = dir.filePath(name);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QVERIFY(picture.save(path, "BMP"));
    auto w = makeWindow();
    w->form().SetStage(4);
    if (dropped) {
      drop(*w, path);
      QTRY_COMPARE(w->form().stage(), Int16{1});
    } else {
      w->openPicture(path.toStdString());
    }
    QCOMPARE(w->form().stage(), Int16{1});
    QCOMPARE(QSize(w->form().IPCH.picwidth(), w->form().IPCH.picheight()), size);
    auto* stat0 = qobject_cast<QLabel*>(w->control("Stat(0)"));
    if (message.isEmpty()) {
      QVERIFY(messages_.empty());
      QCOMPARE(stat0->text(), "Filename: ..." + name);
      QCOMPARE(w->form().Picture1.ScaleWidth(), static_cast<float>(size.width()));
      QCOMPARE(qobject_cast<QLineEdit*>(w->control("Text5"))->text(), path);
    } else {
      QCOMPARE(messages_, std::vector<std::string>{message.toStdString()});
      QCOMPARE(stat0->text(), QString("Filename: ..."));  // a refused name does not reach the statistics
    }
    // The answer went to this load only: the next "Load image" asks the user.
    action(*w, "loadimage")->trigger();
    QCOMPARE(QSize(w->form().IPCH.picwidth(), w->form().IPCH.picheight()), size);
  }

  void requestsRefusedDuringAStageBeep() {
    auto w = makeWindow();
    auto* scale = qobject_cast<QScrollBar*>(w->control("HScroll1"));
    platform_->duringStage = [&] {
      action(*w, "loadimage")->trigger();
      scale->setValue(150);
      button(*w, "Command11")->click();
      QTest::mouseClick(button(*w, "Command9"), Qt::LeftButton);  // switched off while the stage runs
    };
    QTest::mouseClick(button(*w, "Command8"), Qt::LeftButton);
    QCOMPARE(w->form().stage(), Int16{11});
    QCOMPARE(platform_->beeps, 4);
    QCOMPARE(w->form().HScroll1.Value, 100);
    QCOMPARE(scale->value(), 100);
    // Outside a stage nothing beeps, neither a request taken nor an entry without a handler.
    action(*w, "Restormenu")->trigger();
    action(*w, "copymernz")->trigger();
    w->form().SetStage(1);
    w->sync();
    QTest::mouseClick(button(*w, "Command9"), Qt::LeftButton);
    QCOMPARE(platform_->beeps, 4);
  }

  void scrollBarsHaveASmallThumbAndTakeAClickBesideIt() {
    auto w = makeWindow();
    w->form().Check1.Value = 0;  // the scale bar then runs stage 1 alone
    for (const char* name : {"HScroll1", "HScroll3", "HScroll2", "HScroll6"}) {
      auto* bar = qobject_cast<QScrollBar*>(w->control(name));
      QCOMPARE(bar->size(), QSize(855 / 15, 285 / 15));
      const QStyleOptionSlider opt = sliderOption(*bar);
      QStyle* style = bar->style();
      const QRect groove = style->subControlRect(QStyle::CC_ScrollBar, &opt, QStyle::SC_ScrollBarGroove, bar);
      const QRect thumb = style->subControlRect(QStyle::CC_ScrollBar, &opt, QStyle::SC_ScrollBarSlider, bar);
      QVERIFY2(thumb.width() * 3 <= groove.width(), name);
      const QRect after = style->subControlRect(QStyle::CC_ScrollBar, &opt, QStyle::SC_ScrollBarAddPage, bar);
      const int before = bar->value();
      QTest::mouseClick(bar, Qt::LeftButton, {}, after.center());
      QCOMPARE(bar->value(), before + 1);
      QCOMPARE(w->form().scrollBar(name).Value, before + 1);
    }
  }

  void splashHasABorderAndShowsTheMainWindowAtTheFourthTick() {
    int shown = 0;
    SplashWindow splash([&] { ++shown; });
    splash.show();
    QCOMPARE(splash.client()->size(), QSize(4140 / 15, 3705 / 15));
    const QImage shot = splash.grab().toImage();
    const int edge = splash.client()->geometry().left();
    QVERIFY(edge > 0);
    QCOMPARE(shot.size(), splash.client()->size() + QSize(2 * edge, 2 * edge));
    // The shadow side of a raised edge stands out from the white client area.
    QVERIFY(shot.pixelColor(shot.width() - 1, shot.height() / 2) != QColor(Qt::white));
    QVERIFY(shot.pixelColor(shot.width() / 2, shot.height() - 1) != QColor(Qt::white));
    QCOMPARE(shot.pixelColor(edge, shot.height() / 2), QColor(Qt::white));
    for (int i = 0; i < 3; ++i) splash.Timer1_Timer();
    QVERIFY(shown == 0 && splash.isVisible());
    splash.Timer1_Timer();
    QVERIFY(shown == 1 && !splash.isVisible());
  }
};

}  // namespace quern

QTEST_MAIN(quern::WindowTest)
#include "window_test.moc"

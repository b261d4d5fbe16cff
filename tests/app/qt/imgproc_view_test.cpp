#include "app/qt/imgproc_view.h"

#include <QApplication>
#include <QScrollBar>
#include <QtTest>

namespace quern {

class ImgProcViewTest : public QObject {
  Q_OBJECT

 private slots:
  void layoutFollowsTheControlAndItsPicture() {
    ImgProc control;
    ImgProcView view(control);
    view.resize(224, 124);  // a client area of 200 by 100 pixels
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    control.setPicture(makeFilledPicture(200, 150, kWhite));
    QVERIFY(!view.horizontalBar()->isEnabled());  // exactly as wide as the client area
    QVERIFY(view.verticalBar()->isEnabled());
    QCOMPARE(view.verticalBar()->maximum(), 50);
    QCOMPARE(view.horizontalBar()->geometry(), QRect(0, 104, 104 + 100, 20));
    QCOMPARE(view.verticalBar()->geometry(), QRect(204, 0, 20, 104));
    QCOMPARE(view.imageView()->size(), QSize(200, 150));

    view.verticalBar()->setValue(30);
    QCOMPARE(control.VScroll1.Value, 30);
    QCOMPARE(control.Picture1Top, -30.0F);
    QCOMPARE(view.imageView()->y(), -30);

    control.crop(0, 0, 300, 120);  // a commit of another size scrolls back
    QCOMPARE(view.verticalBar()->value(), 0);
    QCOMPARE(view.imageView()->y(), 0);
    QCOMPARE(view.verticalBar()->maximum(), 20);
  }

  void mouseAndKeysReachTheHostInTheBoxScale() {
    ImgProc control;
    ImgProcView view(control);
    view.resize(300, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    control.setPicture(makeFilledPicture(100, 100, kWhite));
    control.setScaleWidth(10.0F);
    float seenX = -1;
    control.Events.MouseMove = [&](Int16, Int16, float x, float) { seenX = x; };
    QTest::mouseMove(view.imageView(), QPoint(50, 20));
    QCOMPARE(seenX, 5.0F);

    QString typed;
    control.Events.KeyPress = [&](Int16& ascii) {
      typed += QChar(ascii);
      if (ascii == 'b') ascii = 0;
    };
    Int16 down = 0;
    control.Events.KeyDown = [&](Int16& code, Int16&) { down = code; };
    QTest::keyClick(view.imageView(), Qt::Key_A);
    QTest::keyClick(view.imageView(), Qt::Key_Left);
    QCOMPARE(down, Int16{37});
    QTest::keyClick(view.imageView(), Qt::Key_B);
    QCOMPARE(typed, QString("ab"));
  }
};

}  // namespace quern

QTEST_MAIN(quern::ImgProcViewTest)
#include "imgproc_view_test.moc"

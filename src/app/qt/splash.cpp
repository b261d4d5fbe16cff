#include "app/qt/splash.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>

#include "intake/builtin_pictures.h"
#include "app/layout.h"
#include "app/qt/qt_images.h"

namespace quern {

namespace {
constexpr int kTwips = 15;
QRect toPixels(const ControlPlace& p) { return QRect(p.left / kTwips, p.top / kTwips, p.width / kTwips, p.height / kTwips); }
}  // namespace

SplashWindow::SplashWindow(std::function<void()> showMain)
    : QFrame(nullptr, Qt::Dialog | Qt::FramelessWindowHint), showMain_(std::move(showMain)) {
  setObjectName("frmSplash");
  // The window manager is asked for no frame at all, so the border is drawn here, round the client area.
  setFrameStyle(QFrame::WinPanel | QFrame::Raised);
  client_ = new QWidget(this);
  QPalette pal = client_->palette();
  pal.setColor(QPalette::Window, Qt::white);
  client_->setPalette(pal);
  client_->setAutoFillBackground(true);
  const QSize clientSize(kSplashClientWidth / kTwips, kSplashClientHeight / kTwips);
  client_->setGeometry(QRect(QPoint(frameWidth(), frameWidth()), clientSize));
  setFixedSize(clientSize + QSize(2 * frameWidth(), 2 * frameWidth()));

  QWidget* picture4 = nullptr;
  for (const ControlPlace& place : splashLayout()) {
    QWidget* w = nullptr;
    if (place.kind == ControlKind::PictureBox) {
      w = picture4 = new QWidget(client_);
    } else if (place.kind == ControlKind::Image) {
      auto* image = new QLabel(picture4);
      image->setPixmap(QPixmap::fromImage(toQImage(splashPicture())));
      w = image;
    } else {
      auto* label =
          new QLabel(QString::fromUtf8(place.caption.data(), static_cast<qsizetype>(place.caption.size())), client_);
      QFont f = label->font();
      f.setPointSize(12);
      label->setFont(f);
      w = label;
    }
    w->setObjectName(QString::fromUtf8(place.name.data(), static_cast<qsizetype>(place.name.size())));
    w->setGeometry(toPixels(place));
  }
  if (const QScreen* screen = QGuiApplication::primaryScreen()) {
    move(screen->availableGeometry().center() - rect().center());
  }
  Timer1.setInterval(kTickMs);
  connect(&Timer1, &QTimer::timeout, this, &SplashWindow::Timer1_Timer);
  Timer1.start();
}

void SplashWindow::Timer1_Timer() {
  ++ticks_;
  if (ticks_ < kTicksShown) return;
  Timer1.stop();
  if (showMain_) showMain_();
  close();
}

}  // namespace quern

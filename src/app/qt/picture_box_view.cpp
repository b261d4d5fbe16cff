#include "app/qt/picture_box_view.h"

#include <QImage>
#include <QPainter>

namespace quern {

PictureBoxView::PictureBoxView(QWidget* parent) : QWidget(parent) { setAttribute(Qt::WA_OpaquePaintEvent); }

PictureBoxView::~PictureBoxView() {
  if (box_) box_->onRefresh = nullptr;
}

void PictureBoxView::setBox(PictureBox* box) {
  if (box_) box_->onRefresh = nullptr;
  box_ = box;
  if (box_) {
    box_->onRefresh = [this] { repaint(); };
  }
  paintedVersion_ = ~0ULL;
  update();
}

QSize PictureBoxView::sizeHint() const {
  return box_ ? QSize(box_->pixelWidth(), box_->pixelHeight()) : QSize(1, 1);
}

void PictureBoxView::syncWithBox() {
  if (box_ && box_->version() != paintedVersion_) repaint();
}

void PictureBoxView::paintEvent(QPaintEvent*) {
  QPainter p(this);
  if (!box_) {
    p.fillRect(rect(), Qt::white);
    return;
  }
  // Colours are 0x00BBGGRR: in memory R, G, B, X, which is Qt's RGBX8888.
  const QImage img(reinterpret_cast<const uchar*>(box_->bits()), box_->pixelWidth(), box_->pixelHeight(),
                   box_->pixelWidth() * 4, QImage::Format_RGBX8888);
  p.fillRect(rect(), palette().window());
  p.drawImage(0, 0, img);
  paintedVersion_ = box_->version();
}

}  // namespace quern

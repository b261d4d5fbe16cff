#pragma once

#include <QWidget>

#include "surface/picture_box.h"

namespace quern {

// Shows the persistent bitmap of a picture box at one screen pixel per box
// pixel and repaints when the box is refreshed or has changed since the last paint.
class PictureBoxView : public QWidget {
  Q_OBJECT
 public:
  explicit PictureBoxView(QWidget* parent = nullptr);
  ~PictureBoxView() override;

  void setBox(PictureBox* box);
  PictureBox* box() const { return box_; }
  QSize sizeHint() const override;

  // Repaints now if the bitmap changed since the last paint.
  void syncWithBox();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  PictureBox* box_ = nullptr;
  unsigned long long paintedVersion_ = ~0ULL;
};

}  // namespace quern

#pragma once

#include <QFrame>
#include <QScrollBar>
#include <QWidget>

#include "app/qt/picture_box_view.h"
#include "imgproc/imgproc.h"

namespace quern {

// Shows a picture control as its host sees it: the viewport with its 2-pixel
// frame, the image box inside it at its scroll position, the selection frame
// as an outline over the picture, and the two scroll bars. Sizes, scrolling,
// mouse, keys and drops go to the control, which raises its own events.
class ImgProcView : public QWidget {
  Q_OBJECT
 public:
  explicit ImgProcView(ImgProc& control, QWidget* parent = nullptr);
  ~ImgProcView() override;

  ImgProc& control() const { return c_; }
  QScrollBar* horizontalBar() const { return h_; }
  QScrollBar* verticalBar() const { return v_; }
  PictureBoxView* imageView() const { return image_; }

  // Brings the widgets in line with the control's layout, scroll values,
  // selection frame and picture; the control calls it on every layout change.
  void syncWithControl();

 protected:
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void barMoved(QScrollBar* bar, ScrollBarState& state, void (ImgProc::*change)(), void (ImgProc::*scroll)());
  bool forwardImageEvent(QEvent* event);

  ImgProc& c_;
  QFrame* viewport_;
  QWidget* client_;
  PictureBoxView* image_;
  QWidget* frame_;
  QScrollBar* h_;
  QScrollBar* v_;
};

}  // namespace quern

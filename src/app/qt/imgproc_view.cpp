#include "app/qt/imgproc_view.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QStringList>

namespace quern {

namespace {
constexpr int kFrame = 2;
constexpr Int16 kDropModeManual = 1;
constexpr Int16 kFormatText = 1;
constexpr Int16 kFormatFiles = 15;
constexpr Int32 kDropEffectCopy = 1;
constexpr Int16 kDragEnter = 0;
constexpr Int16 kDragLeave = 1;
constexpr Int16 kDragOver = 2;

QColor qColour(Colour c) {
  const Colour rgbValue = resolveColour(c);
  return QColor(redOf(rgbValue), greenOf(rgbValue), blueOf(rgbValue));
}

Int16 shiftOf(Qt::KeyboardModifiers m) {
  return static_cast<Int16>((m & Qt::ShiftModifier ? 1 : 0) | (m & Qt::ControlModifier ? 2 : 0) |
                            (m & Qt::AltModifier ? 4 : 0));
}

Int16 buttonsOf(Qt::MouseButtons b) {
  return static_cast<Int16>((b & Qt::LeftButton ? 1 : 0) | (b & Qt::RightButton ? 2 : 0) |
                            (b & Qt::MiddleButton ? 4 : 0));
}

// The key codes hosts expect: letters and digits as their upper-case
// character, the rest by the usual virtual-key numbers; 0 for keys without one.
Int16 keyCodeOf(int key) {
  if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9)) return static_cast<Int16>(key);
  if (key >= Qt::Key_F1 && key <= Qt::Key_F12) return static_cast<Int16>(112 + (key - Qt::Key_F1));
  switch (key) {
    case Qt::Key_Backspace:
      return 8;
    case Qt::Key_Tab:
      return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return 13;
    case Qt::Key_Shift:
      return 16;
    case Qt::Key_Control:
      return 17;
    case Qt::Key_Alt:
      return 18;
    case Qt::Key_Escape:
      return 27;
    case Qt::Key_Space:
      return 32;
    case Qt::Key_PageUp:
      return 33;
    case Qt::Key_PageDown:
      return 34;
    case Qt::Key_End:
      return 35;
    case Qt::Key_Home:
      return 36;
    case Qt::Key_Left:
      return 37;
    case Qt::Key_Up:
      return 38;
    case Qt::Key_Right:
      return 39;
    case Qt::Key_Down:
      return 40;
    case Qt::Key_Insert:
      return 45;
    case Qt::Key_Delete:
      return 46;
    default:
      return 0;
  }
}

DataObject dataOf(const QMimeData* mime) {
  DataObject d;
  if (!mime) return d;
  if (mime->hasText()) d.data[kFormatText] = mime->text().toStdString();
  for (const QUrl& url : mime->urls()) {
    if (url.isLocalFile()) d.Files.push_back(url.toLocalFile().toStdString());
  }
  if (!d.Files.empty()) d.data[kFormatFiles] = {};
  return d;
}

// The selection frame: an outline over the picture, never part of its bitmap.
class SelectionOutline : public QWidget {
 public:
  using QWidget::QWidget;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    p.setPen(QPen(Qt::black, 1, Qt::DashLine));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
  }
};
}  // namespace

ImgProcView::ImgProcView(ImgProc& control, QWidget* parent)
    : QWidget(parent),
      c_(control),
      viewport_(new QFrame(this)),
      client_(new QWidget(viewport_)),
      image_(new PictureBoxView(client_)),
      frame_(new SelectionOutline(image_)),
      h_(new QScrollBar(Qt::Horizontal, this)),
      v_(new QScrollBar(Qt::Vertical, this)) {
  setMinimumSize(32, 32);  // the viewport can't be smaller than its bars
  viewport_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
  viewport_->setLineWidth(kFrame);
  client_->setAutoFillBackground(true);
  image_->setBox(&c_.Picture1);
  image_->setFocusPolicy(Qt::StrongFocus);
  image_->setMouseTracking(true);
  image_->setAcceptDrops(true);
  image_->installEventFilter(this);
  frame_->setAttribute(Qt::WA_TransparentForMouseEvents);
  connect(h_, &QScrollBar::valueChanged, this,
          [this] { barMoved(h_, c_.HScroll1, &ImgProc::HScroll1_Change, &ImgProc::HScroll1_Scroll); });
  connect(v_, &QScrollBar::valueChanged, this,
          [this] { barMoved(v_, c_.VScroll1, &ImgProc::VScroll1_Change, &ImgProc::VScroll1_Scroll); });
  c_.onViewportChange = [this] { syncWithControl(); };
  c_.measureText = [](const StdFont& font, const std::string& text) {
    QFont f(QString::fromStdString(font.Name));
    f.setPointSizeF(font.Size > 0 ? font.Size : 8.0);
    f.setBold(font.Bold);
    f.setItalic(font.Italic);
    f.setStrikeOut(font.Strikethru);
    f.setUnderline(font.Underline);
    const QFontMetricsF metrics(f);
    const QStringList lines = QString::fromStdString(text).split('\n');
    qreal width = 0;
    for (const QString& line : lines) width = std::max(width, metrics.horizontalAdvance(line));
    return std::pair<float, float>{static_cast<float>(width), static_cast<float>(metrics.height() * lines.size())};
  };
  syncWithControl();
}

ImgProcView::~ImgProcView() {
  c_.onViewportChange = nullptr;
  c_.measureText = nullptr;
}

void ImgProcView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  try {
    c_.UserControl_Resize(static_cast<float>(width() * c_.host().TwipsPerPixelX()),
                          static_cast<float>(height() * c_.host().TwipsPerPixelY()));
  } catch (const QuernError&) {
    // Too small for a viewport, or a picture too large to scroll: the view
    // keeps its last layout and the control stays usable.
  }
  syncWithControl();
}

void ImgProcView::barMoved(QScrollBar* bar, ScrollBarState& state, void (ImgProc::*change)(),
                           void (ImgProc::*scroll)()) {
  state.Value = bar->value();
  (c_.*(bar->isSliderDown() ? scroll : change))();
}

void ImgProcView::syncWithControl() {
  const PictureBox& p2 = c_.Picture2;
  viewport_->setGeometry(0, 0, p2.pixelWidth() + 2 * kFrame, p2.pixelHeight() + 2 * kFrame);
  client_->setGeometry(kFrame, kFrame, p2.pixelWidth(), p2.pixelHeight());
  QPalette pal = client_->palette();
  pal.setColor(QPalette::Window, qColour(p2.BackColor()));
  client_->setPalette(pal);
  image_->setGeometry(static_cast<int>(c_.Picture1Left), static_cast<int>(c_.Picture1Top), c_.Picture1.pixelWidth(),
                      c_.Picture1.pixelHeight());
  image_->setToolTip(QString::fromStdString(c_.ToolTipText()));

  const SelectionFrame& s = c_.Shape1;
  frame_->setGeometry(static_cast<int>(s.Left), static_cast<int>(s.Top), static_cast<int>(s.Width),
                      static_cast<int>(s.Height));
  frame_->setVisible(s.Visible && s.Width > 0 && s.Height > 0);

  const auto place = [](QScrollBar* bar, const ScrollBarState& state, const Placement& at) {
    const QSignalBlocker quiet(bar);
    bar->setGeometry(static_cast<int>(at.Left), static_cast<int>(at.Top), static_cast<int>(at.Width),
                     static_cast<int>(at.Height));
    bar->setRange(state.Min, state.Max);
    bar->setValue(state.Value);
    bar->setSingleStep(state.SmallChange);
    bar->setPageStep(state.LargeChange);
    bar->setEnabled(state.Enabled);
    bar->setVisible(state.Visible);
  };
  place(h_, c_.HScroll1, c_.HScroll1Place);
  place(v_, c_.VScroll1, c_.VScroll1Place);
  setEnabled(c_.Enabled);
  image_->syncWithBox();
}

bool ImgProcView::eventFilter(QObject* watched, QEvent* event) {
  if (watched == image_ && forwardImageEvent(event)) return true;
  return QWidget::eventFilter(watched, event);
}

// Passes what happens in the image box on to the control. True when the
// host's answer means the event stops here.
bool ImgProcView::forwardImageEvent(QEvent* event) {
  const PictureBox& box = c_.Picture1;
  const auto toScale = [&box](QPointF at) {
    return std::pair{box.ScaleX(static_cast<float>(at.x()), kScalePixels, box.ScaleMode()),
                     box.ScaleY(static_cast<float>(at.y()), kScalePixels, box.ScaleMode())};
  };
  // What a drag over or a drop hands the control; it may change the effect.
  struct DropArgs {
    DataObject data;
    Int32 effect;
    Int16 button, shift;
    float x, y;
  };
  const auto dropArgs = [&](const QDropEvent* e) {
    const auto [x, y] = toScale(e->position());
    return DropArgs{dataOf(e->mimeData()), kDropEffectCopy, buttonsOf(e->buttons()), shiftOf(e->modifiers()), x, y};
  };
  switch (event->type()) {
    case QEvent::MouseMove: {
      const auto* e = static_cast<QMouseEvent*>(event);
      const auto [x, y] = toScale(e->position());
      c_.Picture1_MouseMove(buttonsOf(e->buttons()), shiftOf(e->modifiers()), x, y);
      return false;
    }
    case QEvent::MouseButtonDblClick:
      c_.Picture1_DblClick();
      return false;
    case QEvent::KeyPress: {
      const auto* e = static_cast<QKeyEvent*>(event);
      const Int16 pressed = keyCodeOf(e->key());
      Int16 code = pressed;
      Int16 shift = shiftOf(e->modifiers());
      c_.Picture1_KeyDown(code, shift);
      bool cancelled = pressed != 0 && code == 0;
      const QString text = e->text();
      if (!cancelled && !text.isEmpty() && text.at(0).unicode() < 128) {
        Int16 ascii = static_cast<Int16>(text.at(0).unicode());
        c_.Picture1_KeyPress(ascii);
        cancelled = ascii == 0;
      }
      return cancelled;  // a host that sets the key to 0 stops it here
    }
    case QEvent::KeyRelease: {
      const auto* e = static_cast<QKeyEvent*>(event);
      Int16 code = keyCodeOf(e->key());
      Int16 shift = shiftOf(e->modifiers());
      c_.Picture1_KeyUp(code, shift);
      return false;
    }
    case QEvent::Paint:
      // With AutoRedraw the bitmap repaints itself and the host is not asked.
      if (!box.AutoRedraw) c_.Picture1_Paint();
      return false;
    case QEvent::DragEnter:
    case QEvent::DragMove: {
      auto* e = static_cast<QDropEvent*>(event);
      if (c_.OLEDropMode() != kDropModeManual) return false;
      DropArgs a = dropArgs(e);
      Int16 state = event->type() == QEvent::DragEnter ? kDragEnter : kDragOver;
      c_.Picture1_OLEDragOver(a.data, a.effect, a.button, a.shift, a.x, a.y, state);
      if (a.effect != 0)
        e->acceptProposedAction();
      else
        e->ignore();
      return true;
    }
    case QEvent::DragLeave: {
      if (c_.OLEDropMode() != kDropModeManual) return false;
      DataObject data;
      Int32 effect = 0;
      Int16 button = 0;
      Int16 shift = 0;
      float x = 0;
      float y = 0;
      Int16 state = kDragLeave;
      c_.Picture1_OLEDragOver(data, effect, button, shift, x, y, state);
      return true;
    }
    case QEvent::Drop: {
      auto* e = static_cast<QDropEvent*>(event);
      if (c_.OLEDropMode() != kDropModeManual) return false;
      DropArgs a = dropArgs(e);
      c_.Picture1_OLEDragDrop(a.data, a.effect, a.button, a.shift, a.x, a.y);
      e->acceptProposedAction();
      return true;
    }
    default:
      return false;
  }
}

}  // namespace quern

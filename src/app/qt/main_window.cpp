#include "app/qt/main_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QDropEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>

#include "app/layout.h"
#include "app/qt/picture_box_view.h"
#include "app/qt/qt_images.h"
#include "intake/builtin_pictures.h"

namespace quern {

namespace {
constexpr int kTwipsPerPixelOnScreen = 15;
constexpr int kFontPixels = 10;
// A narrow face, so that captions fit the widths the layout gives them.
constexpr const char* kFontFamily = "DejaVu Sans Condensed";

QRect toPixels(const ControlPlace& p) {
  return QRect(p.left / kTwipsPerPixelOnScreen, p.top / kTwipsPerPixelOnScreen, p.width / kTwipsPerPixelOnScreen,
               p.height / kTwipsPerPixelOnScreen);
}

QString text(std::string_view s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

QColor colourOf(Colour c) {
  return QColor(redOf(c), greenOf(c), blueOf(c));
}

void fillBackground(QWidget* w, QColor colour) {
  QPalette pal = w->palette();
  pal.setColor(QPalette::Window, colour);
  w->setPalette(pal);
  w->setAutoFillBackground(true);
}

// The first local file of a drag; a drop of several loads only that one.
std::optional<std::string> droppedFile(const QMimeData* data) {
  if (!data || !data->hasUrls()) return std::nullopt;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) return url.toLocalFile().toStdString();
  }
  return std::nullopt;
}
}  // namespace

MainWindow::MainWindow(std::unique_ptr<QtPlatform> platform)
    : platform_(std::move(platform)), form_(std::make_unique<Form1>(*platform_)) {
  platform_->setWindow(this, [this] { sync(); });
  setWindowTitle(text(kForm1Caption));
  setAcceptDrops(true);
  build();
  buildMenus();
  form_->Form_Load();
  sync();
  const int menuHeight = menuBar()->sizeHint().height();
  resize(kForm1ClientWidth / kTwipsPerPixelOnScreen, kForm1ClientHeight / kTwipsPerPixelOnScreen + menuHeight);
}

// The views let go of the form's picture boxes before the form goes.
MainWindow::~MainWindow() {
  delete takeCentralWidget();
}

QWidget* MainWindow::makeWidget(const ControlPlace& place, QWidget* parent) {
  QWidget* w = nullptr;
  switch (place.kind) {
    case ControlKind::Frame: {
      if (place.caption.empty() && place.name != "Frame5") {
        w = new QWidget(parent);  // a frame without border: the grey ground behind the preview
        fillBackground(w, colourOf(kForm1BackColor));
      } else {
        auto* g = new QGroupBox(text(place.caption), parent);
        if (place.name == "Frame6") {
          // Only the caption is bold; build() gives the labels inside the window's font again.
          QFont f = g->font();
          f.setBold(true);
          g->setFont(f);
        }
        if (place.name == "Frame5") fillBackground(g, Qt::white);
        w = g;
      }
      break;
    }
    case ControlKind::Label: {
      auto* l = new QLabel(text(place.caption), parent);
      w = l;
      if (place.name.starts_with("Stat(")) stats_[place.name[5] - '0'] = l;
      break;
    }
    case ControlKind::TextBox: {
      auto* e = new QLineEdit(text(place.caption), parent);
      texts_[std::string(place.name)] = e;
      w = e;
      break;
    }
    case ControlKind::CheckBox: {
      auto* c = new QCheckBox(text(place.caption), parent);
      const std::string name(place.name);
      checks_[name] = c;
      connect(c, &QCheckBox::stateChanged, this, [this, name](int state) {
        guarded([&] { form_->checkBox(name).Value = state == Qt::Checked ? 1 : 0; });
      });
      w = c;
      break;
    }
    case ControlKind::ScrollBar: {
      auto* s = new QScrollBar(Qt::Horizontal, parent);
      const std::string name(place.name);
      const HScrollBar& bar = form_->scrollBar(name);
      s->setRange(bar.Min, bar.Max);
      s->setValue(bar.Value);
      s->setSingleStep(bar.SmallChange);
      s->setPageStep(bar.LargeChange);
      s->setTracking(false);  // a drag counts once, when it ends
      s->setStyle(&scrollStyle_);
      scrolls_[name] = s;
      connect(s, &QScrollBar::valueChanged, this,
              [this, name](int value) { submit([&] { return form_->scroll(name, value); }); });
      w = s;
      break;
    }
    case ControlKind::ProgressBar: {
      auto* b = new QProgressBar(parent);
      b->setTextVisible(false);
      bars_[static_cast<Int16>(place.name[3] - '0')] = b;
      w = b;
      break;
    }
    case ControlKind::Button: {
      auto* b = new QPushButton(text(place.caption), parent);
      const std::string name(place.name);
      buttons_[name] = b;
      connect(b, &QPushButton::clicked, this, [this, name] { submit([&] { return form_->click(name); }); });
      b->installEventFilter(this);
      w = b;
      break;
    }
    case ControlKind::PictureBox: {
      if (place.name == "Picture4") {
        w = new QWidget(parent);
        fillBackground(w, Qt::white);
      } else {
        auto* v = new PictureBoxView(parent);
        v->setBox(place.name == "Picture1" ? &form_->Picture1 : &form_->Picture2);
        (place.name == "Picture1" ? preview_ : small_) = v;
        w = v;
      }
      break;
    }
    case ControlKind::Image: {
      auto* l = new QLabel(parent);
      l->setPixmap(QPixmap::fromImage(toQImage(splashPicture())));
      w = l;
      break;
    }
    case ControlKind::Surface:
      w = new QWidget(parent);  // the surfaces work unseen
      break;
  }
  w->setObjectName(text(place.name));
  w->setGeometry(toPixels(place));
  if (!place.visible) w->hide();
  return w;
}

void MainWindow::build() {
  auto* client = new QWidget(this);
  fillBackground(client, colourOf(kForm1BackColor));
  // The layout is in twips for a small, narrow dialog font.
  QFont font = client->font();
  font.setFamily(kFontFamily);
  font.setPixelSize(kFontPixels);
  client->setFont(font);
  setCentralWidget(client);
  for (const ControlPlace& place : form1Layout()) {
    QWidget* parent = place.parent.empty() ? client : widgets_.at(std::string(place.parent));
    widgets_[std::string(place.name)] = makeWidget(place, parent);
  }
  QFont plain = font;
  plain.setBold(false);  // set explicitly, or the frame's bold caption would be inherited
  for (QWidget* inside : widgets_.at("Frame6")->findChildren<QWidget*>()) inside->setFont(plain);
  texts_.at("Text3")->setReadOnly(false);
  // A file dropped on the value box is meant for the window, not typed into the box.
  texts_.at("Text3")->setAcceptDrops(false);
  connect(texts_.at("Text3"), &QLineEdit::textEdited, this,
          [this](const QString& t) { form_->Text3.Text = t.toStdString(); });
  for (const char* name : {"Text1", "Text2", "Text4"}) texts_.at(name)->setReadOnly(true);
}

void MainWindow::buildMenus() {
  QMenu* file = menuBar()->addMenu(tr("File"));
  file->setObjectName("filemenuu");
  auto addEntry = [this](QMenu* menu, const char* caption, const char* name) {
    QAction* a = menu->addAction(QString::fromUtf8(caption));
    a->setObjectName(name);
    const std::string entry(name);
    connect(a, &QAction::triggered, this, [this, entry] { submit([&] { return form_->menu(entry); }); });
    return a;
  };
  addEntry(file, "Load image", "loadimage");
  addEntry(file, "Export DXF", "exportimage");
  addEntry(file, "Restore", "Restormenu");
  QAction* exit = file->addAction(tr("Exit"));
  exit->setObjectName("exitmenu");
  connect(exit, &QAction::triggered, this, &QWidget::close);
  QMenu* edit = menuBar()->addMenu(tr("Edit"));
  edit->setObjectName("editmenu");
  addEntry(edit, "Copy", "copymernz");
  addEntry(edit, "Paste", "pastemenzu");
  // Stage 3's ways for scans, beside the fixed threshold of its row: at most
  // one is ticked, and none ticked is the row's own threshold.
  QMenu* threshold = menuBar()->addMenu(tr("Threshold"));
  threshold->setObjectName("thresholdmenu");
  QAction* automatic = threshold->addAction(tr("Automatic (from the picture)"));
  automatic->setObjectName("autothreshold");
  QAction* local = threshold->addAction(tr("Local (for uneven light)"));
  local->setObjectName("localthreshold");
  for (QAction* a : {automatic, local}) a->setCheckable(true);
  auto choose = [this, automatic, local](QAction* ticked, ThresholdMode mode) {
    QAction* other = ticked == automatic ? local : automatic;
    if (ticked->isChecked()) other->setChecked(false);
    form_->setThresholdMode(ticked->isChecked() ? mode : ThresholdMode::fixed);
    sync();
  };
  connect(automatic, &QAction::toggled, this,
          [choose, automatic](bool) { choose(automatic, ThresholdMode::automatic); });
  connect(local, &QAction::toggled, this, [choose, local](bool) { choose(local, ThresholdMode::local); });
  QMenu* help = menuBar()->addMenu(tr("Help"));
  help->setObjectName("helpmeuni");
  addEntry(help, "About Centerline detector", "aboutmernu");
  addEntry(help, "Quern Website", "Quernwenbsit");
}

void MainWindow::guarded(const std::function<void()>& fn) {
  try {
    fn();
  } catch (const std::exception& e) {
    QMessageBox::warning(this, text(kForm1Caption), QString::fromStdString(e.what()));
  }
}

void MainWindow::submit(const std::function<bool()>& fn) {
  const bool stageRunning = form_->busy();
  bool taken = true;
  guarded([&] { taken = fn(); });
  if (stageRunning && !taken) platform_->Beep();
  afterRequest();
}

void MainWindow::openPicture(const std::string& path) {
  platform_->answerNextOpen(path);
  submit([this] { return form_->menu("loadimage"); });
  // A refused load must not leave its answer to the next dialog the user opens.
  platform_->answerNextOpen(std::nullopt);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (droppedFile(event->mimeData())) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  const std::optional<std::string> path = droppedFile(event->mimeData());
  if (!path) return;
  event->acceptProposedAction();
  // Loaded once the drop has ended, so that a message about the file does not hold up the drag's source.
  QTimer::singleShot(0, this, [this, p = *path] { openPicture(p); });
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  // A switched-off button takes no click, so the press is all there is to answer.
  if (event->type() == QEvent::MouseButtonPress && form_->busy()) {
    if (const auto* b = qobject_cast<QPushButton*>(watched); b && !b->isEnabled()) platform_->Beep();
  }
  return QMainWindow::eventFilter(watched, event);
}

void MainWindow::afterRequest() {
  sync();
  if (closePending_ && !form_->busy()) {
    closePending_ = false;
    QTimer::singleShot(0, this, &QWidget::close);
  }
}

void MainWindow::closeEvent(QCloseEvent* event) {
  // The form cannot go while a stage is still on the stack: close when it returns.
  if (form_->busy()) {
    closePending_ = true;
    event->ignore();
    return;
  }
  event->accept();
}

void MainWindow::sync() {
  Form1& f = *form_;
  for (auto& [name, b] : buttons_) {
    if (const CommandButton* cb = f.button(name)) b->setEnabled(cb->Enabled);
  }
  for (auto& [name, s] : scrolls_) {
    const QSignalBlocker block(s);
    s->setValue(f.scrollBar(name).Value);
  }
  for (auto& [name, c] : checks_) {
    const QSignalBlocker block(c);
    c->setChecked(f.checkBox(name).isSet());
  }
  const std::pair<const char*, const TextBox*> boxes[] = {
      {"Text1", &f.Text1}, {"Text2", &f.Text2}, {"Text3", &f.Text3}, {"Text4", &f.Text4}, {"Text5", &f.Text5}};
  for (const auto& [name, box] : boxes) {
    QLineEdit* e = texts_.at(name);
    const QString t = QString::fromStdString(box->Text);
    if (e->text() != t) e->setText(t);
  }
  for (auto& [index, bar] : bars_) {
    const ProgressBar& pb = f.PB(index);
    bar->setRange(roundToInt32(pb.Min), std::max(roundToInt32(pb.Min) + 1, roundToInt32(pb.Max)));
    bar->setValue(roundToInt32(pb.Value));
  }
  for (int i = 0; i < 6; ++i) stats_[i]->setText(QString::fromStdString(f.Stat[static_cast<std::size_t>(i)].Caption));
  for (PictureBoxView* v : {preview_, small_}) {
    const PictureBox& box = *v->box();
    const QSize size(box.pixelWidth(), box.pixelHeight());
    if (v->size() != size) v->resize(size);
    v->syncWithBox();
  }
}

QWidget* MainWindow::control(const std::string& name) const {
  const auto it = widgets_.find(name);
  return it == widgets_.end() ? nullptr : it->second;
}

}  // namespace quern

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/host.h"
#include "base/line_tables.h"
#include "base/numbers.h"
#include "surface/picture_box.h"

namespace quern {

// The selection frame inside the image box.
struct SelectionFrame {
  bool Visible = false;
  float Left = 0.0F;
  float Top = 0.0F;
  float Width = 1.0F;
  float Height = 1.0F;
};

// A scroll bar as a value: its range, position and whether it can be used.
struct ScrollBarState {
  Int32 Min = 0;
  Int32 Max = 0;
  Int32 Value = 0;
  Int32 SmallChange = 1;
  Int32 LargeChange = 1;
  bool Enabled = true;
  bool Visible = true;
};

// The picture control. Its one true picture is the stored picture and the
// persistent bitmap of the inner box Picture1; Picture3 and Picture4 are
// scratch boxes, empty between operations. Image operations end by writing a
// scratch box's Image to Picture1's Picture: the commit.
class ImgProc {
 public:
  // `host` is the window the long operations report progress to and give
  // way through; without one the control runs quietly.
  explicit ImgProc(Host* host = nullptr);

  // Inner controls, open so that the operations of every member family and
  // the view can reach them.
  PictureBox Picture1{1.0F, 0};  // the image box
  PictureBox Picture2{1.0F, 2};  // the viewport, 2-pixel frame
  PictureBox Picture3{1.0F, 0};  // scratch: source copies
  PictureBox Picture4{1.0F, 0};  // scratch: target of stretch copies
  SelectionFrame Shape1;
  ScrollBarState VScroll1;
  ScrollBarState HScroll1;

  // --- Own properties -------------------------------------------------------
  Int32 picwidth() const;
  void setpicwidth(Int32 w);
  Int32 picheight() const;
  void setpicheight(Int32 h);
  Colour picbackcolor() const { return Picture1.BackColor(); }
  void setpicbackcolor(Colour c) { Picture1.setBackColor(c); }
  Colour BackColor() const { return Picture2.BackColor(); }
  void setBackColor(Colour c) { Picture2.setBackColor(c); }
  const Picture& picture() const { return Picture1.picture(); }
  void setPicture(Picture p);
  Picture image() const { return Picture1.Image(); }
  bool enableshape() const { return Shape1.Visible; }
  void setenableshape(bool v) { Shape1.Visible = v; }
  Int16 shapemaxwidth = 0;
  Int16 shapemaxheight = 0;
  bool Enabled = true;

  void setwh(Int16 w, Int16 h);
  void About();

  // The host hears of changes to its properties by name ("Picture", "Picwidth", ...).
  std::function<void(const std::string&)> PropertyChanged;

  Host& host() { return host_ ? *host_ : quiet_; }
  void setHost(Host* host) { host_ = host; }

  // Commits a scratch box's bitmap as the picture of the control. This is the
  // inner box taking a picture, not the property: the host hears nothing.
  void commit(PictureBox& scratch) { Picture1.setPicture(scratch.Image()); }
  // Reads the source of an operation: the stored picture, or the bitmap with
  // what was drawn since (takeimage).
  Picture source(bool takeimage) const { return takeimage ? Picture1.Image() : Picture1.picture(); }

  // --- Thinning and listing -------------------------------------------------
  // Peels the stored picture to lines one pixel wide, commits them black on
  // white and lists every line pixel in LineTable, by x then y. A picture over
  // 5600 pixels, or a listing that would not leave chain assembly a spare
  // record, is refused with a message and changes nothing.
  void thin(RecordTable& LineTable);

  // --- Rescaling ------------------------------------------------------------

  // --- Raster processing ----------------------------------------------------

  // --- Pixel access and drawing ---------------------------------------------

  // --- Selection, measurements, patterns -------------------------------------

  // --- Viewport and stored properties ----------------------------------------

 private:
  void notify(const char* name) {
    if (PropertyChanged) PropertyChanged(name);
  }

  QuietHost quiet_;
  Host* host_;  // null: the quiet host, so that a copy never points into another control
};

}  // namespace quern

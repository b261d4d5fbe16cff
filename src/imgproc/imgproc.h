#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/host.h"
#include "base/numbers.h"
#include "processing/filters.h"
#include "processing/random_source.h"
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

  Host& host() { return *host_; }
  void setHost(Host* host) { host_ = host ? host : &quiet_; }

  // Commits a scratch box's bitmap as the picture of the control.
  void commit(PictureBox& scratch) { setPicture(scratch.Image()); }
  // Reads the source of an operation: the stored picture, or the bitmap with
  // what was drawn since (takeimage).
  Picture source(bool takeimage) const { return takeimage ? Picture1.Image() : Picture1.picture(); }

  // --- Rescaling ------------------------------------------------------------
  // Stretches the persistent bitmap by the factor (both ways, or one way) and
  // commits it. A shrink ANDs the pixels it drops into those it keeps, so dark
  // line work survives; an enlargement repeats pixels; 1 is an exact copy.
  void scalesign(double scalefactor);
  void scalesignwidth(double scalefactor);
  void scalesignheight(double scalefactor);

  // --- Raster processing ----------------------------------------------------
  // Black and white at a luminance threshold; pictures beyond 1500 pixels are
  // refused with a message and left as they are.
  void colnorm3(Int16 threshold = 200);

  // The filters work on a copy of the image (takeimage) or of the stored
  // picture, and commit the result. Pictures beyond 1501 pixels, a filternorm
  // of 0 and weighted sums beyond 16 bits end them with an error, the picture
  // unchanged.
  void filtercust3(const FilterArray& filter, Int16 filternorm = 9, Int16 filterbias = 0, bool takeimage = true,
                   bool takeabs = false);
  void filtercust5(const FilterArray& filter, Int16 filternorm = 25, Int16 filterbias = 0, bool takeimage = true,
                   bool takeabs = false);
  void filtersharpen(bool takeimage = true);
  void filtersmooth(bool takeimage = true);
  // Kernels written out row by row: f23 is row 2, column 3.
  static FilterArray filtcreatecust3(Int16 f11, Int16 f12, Int16 f13, Int16 f21, Int16 f22, Int16 f23, Int16 f31,
                                     Int16 f32, Int16 f33);
  static FilterArray filtcreatecust5(Int16 f11, Int16 f12, Int16 f13, Int16 f14, Int16 f15, Int16 f21, Int16 f22,
                                     Int16 f23, Int16 f24, Int16 f25, Int16 f31, Int16 f32, Int16 f33, Int16 f34,
                                     Int16 f35, Int16 f41, Int16 f42, Int16 f43, Int16 f44, Int16 f45, Int16 f51,
                                     Int16 f52, Int16 f53, Int16 f54, Int16 f55);

  void filtermedian(Int16 filterbias = 0, bool takeimage = true, bool takeabs = false);
  void filtermedianKC(Int16 filterbias = 0, bool takeimage = true, bool takeabs = false);
  void filterdiffuse(Int16 rndinto = 4, Int16 rndminus = 2, bool takeimage = true);
  void filteremboss(Int16 filterbias = 128, bool takeimage = true);
  void filterpixelize(Int16 rndplus = 4, Int16 rndminus = 2, Int16 intoradius = 3, Int16 minradius = 2,
                      bool takeimage = true);
  void filtersolarize(Int16 ll = 128, Int16 ul = 255, bool takeimage = true);

  // The random filters draw from this source. Each control has its own; a
  // host that wants one sequence for all its controls hands them the same.
  RandomSource& randomSource() { return *random_; }
  void setRandomSource(std::shared_ptr<RandomSource> source);

 private:
  std::shared_ptr<RandomSource> random_ = std::make_shared<RandomSource>();

 public:

  // --- Pixel access and drawing ---------------------------------------------

  // --- Selection, measurements, patterns -------------------------------------

  // --- Viewport and stored properties ----------------------------------------

 private:
  void notify(const char* name) {
    if (PropertyChanged) PropertyChanged(name);
  }

  QuietHost quiet_;
  Host* host_;
};

}  // namespace quern

#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/host.h"
#include "base/line_tables.h"
#include "base/numbers.h"
#include "imgproc/control_shell.h"
#include "imgproc/property_bag.h"
#include "processing/filters.h"
#include "processing/raster_context.h"
#include "processing/thinning.h"
#include "surface/picture_box.h"

namespace quern {

struct StoredPropertyRow;  // one row of a control's stored record

// The picture control. Its one true picture is the stored picture and the
// persistent bitmap of the inner box Picture1; Picture3 and Picture4 are
// scratch boxes, empty between operations. Image operations end by writing a
// scratch box's Image to Picture1's Picture: the commit.
class ImgProc {
 public:
  // `host` is the window the long operations report progress to and give
  // way through; without one the control runs quietly. `context` holds what
  // the control shares with the other controls of its chain (filter store,
  // random source, surface limit); without one it has a context of its own.
  explicit ImgProc(Host* host = nullptr);
  ImgProc(RasterContext& context, Host* host);

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
  void setpicbackcolor(Colour c);
  Colour BackColor() const { return Picture2.BackColor(); }
  void setBackColor(Colour c);
  const Picture& picture() const { return Picture1.picture(); }
  void setPicture(Picture p);
  Picture image() const { return Picture1.Image(); }
  bool enableshape() const { return Shape1.Visible; }
  void setenableshape(bool v) { put(Shape1.Visible, v, "enableshape"); }
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
  // The scratch box hands its bitmap over and is left empty, as every
  // operation leaves it anyway.
  void commit(PictureBox& scratch) { Picture1.setPicture(scratch.takeImage()); }
  // Reads the source of an operation: the stored picture, or the bitmap with
  // what was drawn since (takeimage).
  Picture source(bool takeimage) const { return takeimage ? Picture1.Image() : Picture1.picture(); }

  // --- Thinning and listing -------------------------------------------------
  // Peels the stored picture to lines one pixel wide, commits them black on
  // white and lists every line pixel in LineTable, by x then y. A picture over
  // 5600 pixels, or a listing that would not leave chain assembly a spare
  // record, is refused with a message and changes nothing.
  ThinResult thin(RecordTable& LineTable);

  // --- Rescaling ------------------------------------------------------------
  // Stretches the persistent bitmap by the factor (both ways, or one way) and
  // commits it. A shrink ANDs the pixels it drops into those it keeps, so dark
  // line work survives; an enlargement repeats pixels; 1 is an exact copy.
  void scalesign(double scalefactor);
  void scalesignwidth(double scalefactor);
  void scalesignheight(double scalefactor);

  // --- Raster processing ----------------------------------------------------
  // Black and white at a luminance threshold; pictures beyond 1500 pixels are
  // refused with a message and left as they are (the result is then false).
  bool colnorm3(Int16 threshold = 200);

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

  // The random filters draw from the context's one source, so controls of one
  // context continue each other's sequence.
  RandomSource& randomSource() { return context_->random; }
  RasterContext& context() { return *context_; }

 private:
  void setUp();
  std::unique_ptr<RasterContext> ownContext_;  // for a control on its own
  RasterContext* context_;

 public:
  // --- Pixel access and drawing ---------------------------------------------
  // Point, PointI, PointS and the PSet family without FAST go through
  // Picture1 with its scale and drawing attributes; PointFAST and PSetFAST_
  // go straight to its bitmap in device pixels. Reads outside give -1.
  Colour PointI(const Int16& X, const Int16& Y) const;
  Colour PointS(const float& X, const float& Y) const;
  Colour Point(float X, float Y) const;
  Colour PointFAST(float X, float Y);
  void PSetS_(const float& X, const float& Y, const Colour& Color);
  void PSetI_(const Int16& X, const Int16& Y, const Colour& Color);
  void PSet_(Int16 X, Int16 Y, const Colour& Color);
  void PSetFAST_(Int16 X, Int16 Y, const Colour& Color);
  // Flags has no effect.
  void Line(Int16 Flags, float X1, float Y1, float X2, float Y2, Colour Color);
  void PaintPicture(const Picture& pic, float X1, float Y1, std::optional<float> Width1 = std::nullopt,
                    std::optional<float> Height1 = std::nullopt, std::optional<float> X2 = std::nullopt,
                    std::optional<float> Y2 = std::nullopt, std::optional<float> Width2 = std::nullopt,
                    std::optional<float> Height2 = std::nullopt, std::optional<Int32> Opcode = std::nullopt);
  void Cls() { Picture1.Cls(); }
  void Refresh() { Picture1.Refresh(); }
  void Circle1_(float X, float Y, float radius);
  void circleRED(float X, float Y, float radius);
  void circleGREEN(float X, float Y, float radius);
  void circleBLUE(float X, float Y, float radius);
  void circleBLACK(float X, float Y, float radius);
  // Draws the full circle, in ForeColor when Color is -1. Arcs and ellipses
  // (other StartPos, EndPos or Aspect) are not drawn at all.
  void Circle_(float X, float Y, float radius, Colour Color = kNoColour, float StartPos = 0.0F, float EndPos = 0.0F,
               float Aspect = 1.0F);

  // --- Selection, measurements, patterns -------------------------------------
  // Selection and crop. The results of getselpartIMAGE and copypart are
  // copies that outlive the scratch boxes; null means no selection.
  void selviewport();
  bool hasSelection() const;
  void getselpart(bool takeimage = true);
  Picture getselpartIMAGE(bool takeimage = true);
  // A rectangle that is empty once clamped to the picture is refused with a
  // SurfaceError before anything changes.
  void crop(Int16 X, Int16 Y, Int16 w, Int16 h, bool takeimage = true);
  Picture copypart(Int16 X, Int16 Y, Int16 w, Int16 h, bool takeimage = true);

  // Measurements. nofpixel and nofpixelinrange keep the colours they read in
  // pixcache, which holds pictures of up to kPixCacheSize pixels each way;
  // a larger picture is refused with a LimitError before anything is read.
  static constexpr Int32 kPixCacheSize = 601;
  bool iscolorpresent(bool takeimage = true, Int16 r = 0, Int16 g = 0, Int16 b = 0);
  double giveslope(Int16 X1, Int16 Y1, Int16 X2, Int16 Y2) const;
  double giveslopeangle(double slope, bool DorR = true) const;
  float giveintensity(Int16 red, Int16 green, Int16 blue) const;
  float giveintensityXY(Int16 X, Int16 Y);
  Int32 nofpixel(Int16 red, Int16 green, Int16 blue, bool useold = false);
  Int32 nofpixelinrange(Int16 lred, Int16 lgreen, Int16 lblue, Int16 ured, Int16 ugreen, Int16 ublue);
  std::array<Int32, 11> nopixall();
  bool pixcached() const { return pixcached_; }

  // Derived patterns. Beyond their fixed stores (a canvas of kSegmentColumns
  // columns and kSegmentEntries entries; kCheckPatternPixels black pixels)
  // they stop with a LimitError, scratch boxes emptied.
  static constexpr Int32 kSegmentColumns = 1001;
  static constexpr Int32 kSegmentEntries = 1000;
  static constexpr Int32 kCheckPatternPixels = 20001;
  std::vector<Int16> givesegments(bool takeimage = false, double threshold1 = 0.5, double threshold2 = 0.5,
                                  Int16 radius = 8, Int16 r = 0, Int16 g = 0, Int16 b = 0);
  Picture givethicken(bool takeimage = true, Int16 radius = 3, Int16 margin = 20);
  Picture givecheckpattern(bool takeimage = true, Int16 r1 = 16, Int16 r2 = 10, Int16 r3 = 6, Int16 r4 = 3,
                           Int16 margin = 20);

  // --- Viewport and stored properties ----------------------------------------
  // Lays the viewport out for a control of this size in twips.
  void UserControl_Resize(float widthTwips, float heightTwips);
  void resetscroll();
  void Picture1_Resize() { resetscroll(); }
  void HScroll1_Change();
  void HScroll1_Scroll() { HScroll1_Change(); }
  void VScroll1_Change();
  void VScroll1_Scroll() { VScroll1_Change(); }
  // Position of the image box in the viewport's client area, and of the bars
  // in the control, in pixels.
  float Picture1Left = 0.0F;
  float Picture1Top = 0.0F;
  Placement HScroll1Place;
  Placement VScroll1Place;
  // A view sets this to follow layout and scrolling.
  std::function<void()> onViewportChange;

  void setshapemaxwidth(Int16 v) { put(shapemaxwidth, v, "shapemaxwidth"); }
  void setshapemaxheight(Int16 v) { put(shapemaxheight, v, "shapemaxheight"); }
  void setEnabled(bool v) { put(Enabled, v, "Enabled"); }

  // Forwarded members of the image box; each write tells the host.
  Int16 BorderStyle() const { return extras_.BorderStyle; }
  void setBorderStyle(Int16 v) { put(extras_.BorderStyle, v, "BorderStyle"); }
  Int16 DrawMode() const { return Picture1.DrawMode; }
  void setDrawMode(Int16 v) { put(Picture1.DrawMode, v, "DrawMode"); }
  Int16 DrawStyle() const { return Picture1.DrawStyle; }
  void setDrawStyle(Int16 v) { put(Picture1.DrawStyle, v, "DrawStyle"); }
  Int16 DrawWidth() const { return Picture1.DrawWidth; }
  void setDrawWidth(Int16 v) { put(Picture1.DrawWidth, v, "DrawWidth"); }
  Int16 FillStyle() const { return Picture1.FillStyle; }
  void setFillStyle(Int16 v) { put(Picture1.FillStyle, v, "FillStyle"); }
  Int16 ScaleMode() const { return Picture1.ScaleMode(); }
  void setScaleMode(Int16 v);
  Int16 Align() const { return extras_.Align; }
  void setAlign(Int16 v) { put(extras_.Align, v, "Align"); }
  Int16 Appearance() const { return extras_.Appearance; }
  void setAppearance(Int16 v) { put(extras_.Appearance, v, "Appearance"); }
  Int16 LinkMode() const { return extras_.LinkMode; }
  void setLinkMode(Int16 v) { put(extras_.LinkMode, v, "LinkMode"); }
  Int16 LinkTimeout() const { return extras_.LinkTimeout; }
  void setLinkTimeout(Int16 v) { put(extras_.LinkTimeout, v, "LinkTimeout"); }
  Int16 MousePointer() const { return extras_.MousePointer; }
  void setMousePointer(Int16 v) { put(extras_.MousePointer, v, "MousePointer"); }
  Int16 OLEDragMode() const { return extras_.OLEDragMode; }
  void setOLEDragMode(Int16 v) { put(extras_.OLEDragMode, v, "OLEDragMode"); }
  Int16 OLEDropMode() const { return extras_.OLEDropMode; }
  void setOLEDropMode(Int16 v) { put(extras_.OLEDropMode, v, "OLEDropMode"); }

  float CurrentX() const { return Picture1.CurrentX; }
  void setCurrentX(float v) { put(Picture1.CurrentX, v, "CurrentX"); }
  float CurrentY() const { return Picture1.CurrentY; }
  void setCurrentY(float v) { put(Picture1.CurrentY, v, "CurrentY"); }
  float FontSize() const { return extras_.Font.Size; }
  void setFontSize(float v) { put(extras_.Font.Size, v, "FontSize"); }
  float ScaleHeight() const { return Picture1.ScaleHeight(); }
  void setScaleHeight(float v);
  float ScaleWidth() const { return Picture1.ScaleWidth(); }
  void setScaleWidth(float v);
  // Kept for hosts; coordinates on this surface always start at 0.
  float ScaleLeft() const { return extras_.ScaleLeft; }
  void setScaleLeft(float v) { put(extras_.ScaleLeft, v, "ScaleLeft"); }

  Colour ForeColor() const { return Picture1.ForeColor; }
  void setForeColor(Colour v) { put(Picture1.ForeColor, v, "ForeColor"); }
  Colour FillColor() const { return Picture1.FillColor; }
  void setFillColor(Colour v) { put(Picture1.FillColor, v, "FillColor"); }

  bool FontBold() const { return extras_.Font.Bold; }
  void setFontBold(bool v) { put(extras_.Font.Bold, v, "FontBold"); }
  bool FontItalic() const { return extras_.Font.Italic; }
  void setFontItalic(bool v) { put(extras_.Font.Italic, v, "FontItalic"); }
  bool FontStrikethru() const { return extras_.Font.Strikethru; }
  void setFontStrikethru(bool v) { put(extras_.Font.Strikethru, v, "FontStrikethru"); }
  bool FontTransparent() const { return extras_.FontTransparent; }
  void setFontTransparent(bool v) { put(extras_.FontTransparent, v, "FontTransparent"); }
  bool FontUnderline() const { return extras_.Font.Underline; }
  void setFontUnderline(bool v) { put(extras_.Font.Underline, v, "FontUnderline"); }
  bool AutoRedraw() const { return Picture1.AutoRedraw; }
  void setAutoRedraw(bool v) { put(Picture1.AutoRedraw, v, "AutoRedraw"); }
  bool CausesValidation() const { return extras_.CausesValidation; }
  void setCausesValidation(bool v) { put(extras_.CausesValidation, v, "CausesValidation"); }
  bool RightToLeft() const { return extras_.RightToLeft; }
  void setRightToLeft(bool v) { put(extras_.RightToLeft, v, "RightToLeft"); }

  const std::string& FontName() const { return extras_.Font.Name; }
  void setFontName(const std::string& v) { put(extras_.Font.Name, v, "FontName"); }
  const std::string& LinkItem() const { return extras_.LinkItem; }
  void setLinkItem(const std::string& v) { put(extras_.LinkItem, v, "LinkItem"); }
  const std::string& LinkTopic() const { return extras_.LinkTopic; }
  void setLinkTopic(const std::string& v) { put(extras_.LinkTopic, v, "LinkTopic"); }
  const std::string& ToolTipText() const { return extras_.ToolTipText; }
  void setToolTipText(const std::string& v) { put(extras_.ToolTipText, v, "ToolTipText"); }

  const StdFont& Font() const { return extras_.Font; }
  void setFont(const StdFont& v) { put(extras_.Font, v, "Font"); }
  const Picture& MouseIcon() const { return extras_.MouseIcon; }
  void setMouseIcon(Picture v) { put(extras_.MouseIcon, std::move(v), "MouseIcon"); }

  bool HasDC() const { return true; }
  DeviceContext hdc() { return Picture1.hDC(); }
  // This surface has no window handles.
  Int32 hWnd() const { return 0; }

  // There is no other application to link with: these throw a SurfaceError.
  void LinkPoke();
  void LinkRequest();
  void LinkSend();
  // Starts a drag: OLEStartDrag, then, as nothing here takes a drop,
  // OLECompleteDrag with no effect.
  void OLEDrag();
  // No arguments: back to pixels. All four: a user scale from (X1, Y1) to (X2, Y2).
  void Scale_(std::optional<float> X1 = std::nullopt, std::optional<float> Y1 = std::nullopt,
              std::optional<float> X2 = std::nullopt, std::optional<float> Y2 = std::nullopt);
  float ScaleX(float Width, std::optional<Int16> FromScale = std::nullopt,
               std::optional<Int16> ToScale = std::nullopt) const;
  float ScaleY(float height, std::optional<Int16> FromScale = std::nullopt,
               std::optional<Int16> ToScale = std::nullopt) const;
  // In the image box's scale. Without a measuring hook, from the font size:
  // a line is 1.2 em high and a character half an em wide on average.
  float TextHeight(const std::string& Str) const;
  float TextWidth(const std::string& Str) const;
  // Set by a view that can measure text: width and height in pixels.
  std::function<std::pair<float, float>(const StdFont&, const std::string&)> measureText;

  ImgProcEvents Events;
  // What the image box receives; each passes its event on.
  void Picture1_DblClick() { raise(Events.DblClick); }
  void Picture1_KeyDown(Int16& KeyCode, Int16& Shift) { raise(Events.KeyDown, KeyCode, Shift); }
  void Picture1_KeyPress(Int16& KeyAscii) { raise(Events.KeyPress, KeyAscii); }
  void Picture1_KeyUp(Int16& KeyCode, Int16& Shift) { raise(Events.KeyUp, KeyCode, Shift); }
  void Picture1_MouseMove(Int16 Button, Int16 Shift, float X, float Y) { raise(Events.MouseMove, Button, Shift, X, Y); }
  void Picture1_Paint() { raise(Events.Paint); }
  void Picture1_OLECompleteDrag(Int32& Effect) { raise(Events.OLECompleteDrag, Effect); }
  void Picture1_OLEDragDrop(DataObject& Data, Int32& Effect, Int16& Button, Int16& Shift, float& X, float& Y) {
    raise(Events.OLEDragDrop, Data, Effect, Button, Shift, X, Y);
  }
  void Picture1_OLEDragOver(DataObject& Data, Int32& Effect, Int16& Button, Int16& Shift, float& X, float& Y,
                            Int16& State) {
    raise(Events.OLEDragOver, Data, Effect, Button, Shift, X, Y, State);
  }
  void Picture1_OLEGiveFeedback(Int32& Effect, bool& DefaultCursors) {
    raise(Events.OLEGiveFeedback, Effect, DefaultCursors);
  }
  void Picture1_OLESetData(DataObject& Data, Int16& DataFormat) { raise(Events.OLESetData, Data, DataFormat); }
  void Picture1_OLEStartDrag(DataObject& Data, Int32& AllowedEffects) {
    raise(Events.OLEStartDrag, Data, AllowedEffects);
  }

  ImgProc(const ImgProc&) = delete;  // the inner boxes call back into their own control
  ImgProc& operator=(const ImgProc&) = delete;

  // The stored record. hostFont is the font of the host, the default of Font.
  void UserControl_InitProperties();
  void UserControl_ReadProperties(const PropertyBag& PropBag, const StdFont& hostFont = StdFont{});
  void UserControl_WriteProperties(PropertyBag& PropBag, const StdFont& hostFont = StdFont{}) const;
  // Size of the control in twips, as the last UserControl_Resize had it.
  float controlWidthTwips() const { return controlWidthTwips_; }
  float controlHeightTwips() const { return controlHeightTwips_; }

 private:
  void notify(const char* name) {
    if (PropertyChanged) PropertyChanged(name);
  }

  // --- Selection, measurements, patterns (state) ---------------------------
  // Brings the source of an operation to Picture3.
  void sourceToPicture3(bool takeimage);
  Picture cutFrame(bool takeimage);
  // Reads W by H pixels into pixcache row by row; counts those `match` accepts.
  template <typename Match>
  Int32 countIntoCache(const char* member, Match match);
  // Three 16-bit values per position, row by row; made at the first filling.
  std::vector<Int16> pixcache_;
  bool pixcached_ = false;

  // --- Viewport and stored properties (state) ------------------------------
  template <typename T, typename V>
  void put(T& field, V&& value, const char* name) {
    field = std::forward<V>(value);
    notify(name);
  }
  template <typename Event, typename... Args>
  static void raise(const Event& event, Args&... args) {
    if (event) event(args...);
  }
  void viewportChanged() {
    if (onViewportChange) onViewportChange();
  }
  // A member initialiser, so that every constructor runs it once the inner
  // controls exist.
  bool initShell();
  // The rows of the stored record, in their order.
  static const std::vector<StoredPropertyRow>& storedProperties();
  Picture1Extras extras_;
  float controlWidthTwips_ = 0.0F;
  float controlHeightTwips_ = 0.0F;
  bool shellReady_ = initShell();

  QuietHost quiet_;
  Host* host_;  // null: the quiet host, so that a copy never points into another control
};

}  // namespace quern

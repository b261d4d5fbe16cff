#include <charconv>
#include <sstream>
#include <string>

#include "imgproc/control_record.h"
#include "imgproc/imgproc.h"

namespace quern {

namespace {
// Record text of each stored kind. Booleans are -1 and 0.
std::string fmt(long long v) {
  return std::to_string(v);
}
std::string fmt(bool v) {
  return v ? "-1" : "0";
}
std::string fmt(float v) {
  char buf[32];
  const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, end);
}
std::string fmt(const std::string& v) {
  return v;
}
std::string fmt(const StdFont& f) {
  return fmt(f.Size) + " " + fmt(f.Bold) + " " + fmt(f.Italic) + " " + fmt(f.Strikethru) + " " + fmt(f.Underline) +
         " " + f.Name;
}
std::string fmt(const Picture& p) {
  return encodePicture(p);
}

long long parseWhole(const std::string& text, long long lo, long long hi, const char* kind) {
  long long v = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
  if (ec != std::errc() || end != text.data() + text.size() || text.empty() || v < lo || v > hi) {
    throw FileError("'" + text + "' is not " + kind);
  }
  return v;
}

template <typename T>
T parse(const std::string& text);
template <>
Int16 parse<Int16>(const std::string& text) {
  return static_cast<Int16>(parseWhole(text, -32768, 32767, "a 16-bit integer"));
}
template <>
Int32 parse<Int32>(const std::string& text) {
  return static_cast<Int32>(parseWhole(text, -2147483648LL, 2147483647LL, "a 32-bit integer"));
}
template <>
bool parse<bool>(const std::string& text) {
  return parseWhole(text, -32768, 32767, "a truth value (-1 or 0)") != 0;
}
template <>
float parse<float>(const std::string& text) {
  float v = 0.0F;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
  if (ec != std::errc() || end != text.data() + text.size() || text.empty()) {
    throw FileError("'" + text + "' is not a number");
  }
  return v;
}
template <>
std::string parse<std::string>(const std::string& text) {
  return text;
}
template <>
Picture parse<Picture>(const std::string& text) {
  return decodePicture(text);
}
template <>
StdFont parse<StdFont>(const std::string& text) {
  std::istringstream in(text);
  std::string size, bold, italic, strike, underline;
  in >> size >> bold >> italic >> strike >> underline;
  if (!in) throw FileError("'" + text + "' is not a font (size, four truth values, name)");
  std::string name;
  std::getline(in >> std::ws, name);
  return StdFont{
      name, parse<float>(size), parse<bool>(bold), parse<bool>(italic), parse<bool>(strike), parse<bool>(underline)};
}

std::string fmtValue(Int16 v) {
  return fmt(static_cast<long long>(v));
}
std::string fmtValue(Int32 v) {
  return fmt(static_cast<long long>(v));
}
template <typename T>
std::string fmtValue(const T& v) {
  return fmt(v);
}

constexpr Colour kDefaultBack = kSysButtonFace;
constexpr Int32 kTwipsPerInch = 1440;
constexpr Int32 kHimetricPerInch = 2540;
}  // namespace

// Name, defaults as record text, and where the value goes.
struct StoredPropertyRow {
  const char* name;
  std::string readDefault;
  std::string writeDefault;
  bool hostFontDefault = false;  // the default is the host's font
  std::function<std::string(const ImgProc&)> get;
  std::function<void(ImgProc&, const std::string&)> put;
};

namespace {
template <typename T, typename Get, typename Put>
StoredPropertyRow row(const char* name, const T& readDefault, const T& writeDefault, Get get, Put put) {
  return {name,
          fmtValue(readDefault),
          fmtValue(writeDefault),
          false,
          [get](const ImgProc& c) { return fmtValue(static_cast<T>(get(c))); },
          [put](ImgProc& c, const std::string& text) { put(c, parse<T>(text)); }};
}
template <typename T, typename Get, typename Put>
StoredPropertyRow row(const char* name, const T& fallback, Get get, Put put) {
  return row<T>(name, fallback, fallback, get, put);
}
}  // namespace

// Later rows override earlier ones: Picture comes before the box sizes, and
// ScaleMode after the scale sizes so that its 3 resets them.
const std::vector<StoredPropertyRow>& ImgProc::storedProperties() {
  using C = ImgProc;
  static const std::vector<StoredPropertyRow> table = [] {
    std::vector<StoredPropertyRow> t;
    t.push_back(row<Colour>(
        "BackColor", kDefaultBack, [](const C& c) { return c.Picture2.BackColor(); },
        [](C& c, Colour v) { c.Picture2.setBackColor(v); }));
    t.push_back(row<Colour>(
        "ForeColor", kSysButtonText, [](const C& c) { return c.Picture1.ForeColor; },
        [](C& c, Colour v) { c.Picture1.ForeColor = v; }));
    t.push_back(row<bool>(
        "Enabled", true, [](const C& c) { return c.Enabled; }, [](C& c, bool v) { c.Enabled = v; }));
    StoredPropertyRow font = row<StdFont>(
        "Font", StdFont{}, [](const C& c) { return c.extras_.Font; },
        [](C& c, const StdFont& v) { c.extras_.Font = v; });
    font.hostFontDefault = true;
    t.push_back(std::move(font));
    t.push_back(row<Int16>(
        "BorderStyle", 0, [](const C& c) { return c.extras_.BorderStyle; },
        [](C& c, Int16 v) { c.extras_.BorderStyle = v; }));
    t.push_back(row<float>(
        "CurrentX", 0.0F, [](const C& c) { return c.Picture1.CurrentX; },
        [](C& c, float v) { c.Picture1.CurrentX = v; }));
    t.push_back(row<float>(
        "CurrentY", 0.0F, [](const C& c) { return c.Picture1.CurrentY; },
        [](C& c, float v) { c.Picture1.CurrentY = v; }));
    t.push_back(row<Int16>(
        "DrawMode", 13, [](const C& c) { return c.Picture1.DrawMode; },
        [](C& c, Int16 v) { c.Picture1.DrawMode = v; }));
    t.push_back(row<Int16>(
        "DrawStyle", 0, [](const C& c) { return c.Picture1.DrawStyle; },
        [](C& c, Int16 v) { c.Picture1.DrawStyle = v; }));
    t.push_back(row<Int16>(
        "DrawWidth", 1, [](const C& c) { return c.Picture1.DrawWidth; },
        [](C& c, Int16 v) { c.Picture1.DrawWidth = v; }));
    t.push_back(row<Colour>(
        "FillColor", 0, [](const C& c) { return c.Picture1.FillColor; },
        [](C& c, Colour v) { c.Picture1.FillColor = v; }));
    t.push_back(row<Int16>(
        "FillStyle", 1, [](const C& c) { return c.Picture1.FillStyle; },
        [](C& c, Int16 v) { c.Picture1.FillStyle = v; }));
    t.push_back(row<bool>(
        "FontBold", false, [](const C& c) { return c.extras_.Font.Bold; },
        [](C& c, bool v) { c.extras_.Font.Bold = v; }));
    t.push_back(row<bool>(
        "FontItalic", false, [](const C& c) { return c.extras_.Font.Italic; },
        [](C& c, bool v) { c.extras_.Font.Italic = v; }));
    t.push_back(row<std::string>(
        "FontName", "ARIAL", "", [](const C& c) { return c.extras_.Font.Name; },
        [](C& c, const std::string& v) { c.extras_.Font.Name = v; }));
    t.push_back(row<float>(
        "FontSize", 8.0F, 0.0F, [](const C& c) { return c.extras_.Font.Size; },
        [](C& c, float v) { c.extras_.Font.Size = v; }));
    t.push_back(row<bool>(
        "FontStrikethru", false, [](const C& c) { return c.extras_.Font.Strikethru; },
        [](C& c, bool v) { c.extras_.Font.Strikethru = v; }));
    t.push_back(row<bool>(
        "FontTransparent", true, [](const C& c) { return c.extras_.FontTransparent; },
        [](C& c, bool v) { c.extras_.FontTransparent = v; }));
    t.push_back(row<bool>(
        "FontUnderline", false, [](const C& c) { return c.extras_.Font.Underline; },
        [](C& c, bool v) { c.extras_.Font.Underline = v; }));
    t.push_back(row<Picture>(
        "Picture", Picture{}, [](const C& c) { return c.picture(); }, [](C& c, const Picture& v) { c.setPicture(v); }));
    t.push_back(row<float>(
        "ScaleHeight", 107.0F, [](const C& c) { return c.Picture1.ScaleHeight(); },
        [](C& c, float v) { c.Picture1.setScaleHeight(v); }));
    t.push_back(row<float>(
        "ScaleWidth", 107.0F, [](const C& c) { return c.Picture1.ScaleWidth(); },
        [](C& c, float v) { c.Picture1.setScaleWidth(v); }));
    t.push_back(row<float>(
        "ScaleLeft", 0.0F, [](const C& c) { return c.extras_.ScaleLeft; },
        [](C& c, float v) { c.extras_.ScaleLeft = v; }));
    t.push_back(row<Int16>(
        "ScaleMode", kScalePixels, [](const C& c) { return c.Picture1.ScaleMode(); },
        [](C& c, Int16 v) { c.Picture1.setScaleMode(v); }));
    t.push_back(row<Int16>(
        "Align", 0, [](const C& c) { return c.extras_.Align; }, [](C& c, Int16 v) { c.extras_.Align = v; }));
    t.push_back(row<Int16>(
        "Appearance", 1, [](const C& c) { return c.extras_.Appearance; },
        [](C& c, Int16 v) { c.extras_.Appearance = v; }));
    t.push_back(row<bool>(
        "AutoRedraw", false, [](const C& c) { return c.Picture1.AutoRedraw; },
        [](C& c, bool v) { c.Picture1.AutoRedraw = v; }));
    t.push_back(row<bool>(
        "CausesValidation", true, [](const C& c) { return c.extras_.CausesValidation; },
        [](C& c, bool v) { c.extras_.CausesValidation = v; }));
    t.push_back(row<std::string>(
        "LinkItem", "", [](const C& c) { return c.extras_.LinkItem; },
        [](C& c, const std::string& v) { c.extras_.LinkItem = v; }));
    t.push_back(row<Int16>(
        "LinkMode", 0, [](const C& c) { return c.extras_.LinkMode; }, [](C& c, Int16 v) { c.extras_.LinkMode = v; }));
    t.push_back(row<Int16>(
        "LinkTimeout", 50, [](const C& c) { return c.extras_.LinkTimeout; },
        [](C& c, Int16 v) { c.extras_.LinkTimeout = v; }));
    t.push_back(row<std::string>(
        "LinkTopic", "", [](const C& c) { return c.extras_.LinkTopic; },
        [](C& c, const std::string& v) { c.extras_.LinkTopic = v; }));
    t.push_back(row<Picture>(
        "MouseIcon", Picture{}, [](const C& c) { return c.extras_.MouseIcon; },
        [](C& c, const Picture& v) { c.extras_.MouseIcon = v; }));
    t.push_back(row<Int16>(
        "MousePointer", 0, [](const C& c) { return c.extras_.MousePointer; },
        [](C& c, Int16 v) { c.extras_.MousePointer = v; }));
    t.push_back(row<Int16>(
        "OLEDragMode", 0, [](const C& c) { return c.extras_.OLEDragMode; },
        [](C& c, Int16 v) { c.extras_.OLEDragMode = v; }));
    t.push_back(row<Int16>(
        "OLEDropMode", 0, [](const C& c) { return c.extras_.OLEDropMode; },
        [](C& c, Int16 v) { c.extras_.OLEDropMode = v; }));
    t.push_back(row<bool>(
        "RightToLeft", false, [](const C& c) { return c.extras_.RightToLeft; },
        [](C& c, bool v) { c.extras_.RightToLeft = v; }));
    t.push_back(row<std::string>(
        "ToolTipText", "", [](const C& c) { return c.extras_.ToolTipText; },
        [](C& c, const std::string& v) { c.extras_.ToolTipText = v; }));
    t.push_back(row<float>(
        "picheight", 0.0F, [](const C& c) { return c.Picture1.Height(); },
        [](C& c, float v) { c.Picture1.setHeight(v); }));
    t.push_back(row<float>(
        "picwidth", 0.0F, [](const C& c) { return c.Picture1.Width(); },
        [](C& c, float v) { c.Picture1.setWidth(v); }));
    t.push_back(row<Colour>(
        "picbackcolor", kDefaultBack, [](const C& c) { return c.Picture1.BackColor(); },
        [](C& c, Colour v) { c.Picture1.setBackColor(v); }));
    t.push_back(row<bool>(
        "enableshape", false, [](const C& c) { return c.Shape1.Visible; }, [](C& c, bool v) { c.Shape1.Visible = v; }));
    t.push_back(row<Int16>(
        "shapemaxwidth", 480, [](const C& c) { return c.shapemaxwidth; }, [](C& c, Int16 v) { c.shapemaxwidth = v; }));
    t.push_back(row<Int16>(
        "shapemaxheight", 480, [](const C& c) { return c.shapemaxheight; },
        [](C& c, Int16 v) { c.shapemaxheight = v; }));
    return t;
  }();
  return table;
}

void ImgProc::UserControl_InitProperties() {
  shapemaxwidth = 480;
  shapemaxheight = 480;
}

void ImgProc::UserControl_ReadProperties(const PropertyBag& PropBag, const StdFont& hostFont) {
  for (const StoredPropertyRow& p : storedProperties()) {
    const std::optional<std::string> stored = PropBag.get(p.name);
    const std::string value = stored ? *stored : p.hostFontDefault ? fmt(hostFont) : p.readDefault;
    try {
      p.put(*this, value);
    } catch (const FileError& e) {
      throw FileError(std::string("Stored record, ") + p.name + ": " + e.what());
    }
  }
  // The extent is the host's to apply; it is kept so that writing gives it back.
  const float twipsPerHimetric = static_cast<float>(kTwipsPerInch) / kHimetricPerInch;
  if (const auto x = PropBag.get("_extentx")) controlWidthTwips_ = parse<Int32>(*x) * twipsPerHimetric;
  if (const auto y = PropBag.get("_extenty")) controlHeightTwips_ = parse<Int32>(*y) * twipsPerHimetric;
}

void ImgProc::UserControl_WriteProperties(PropertyBag& PropBag, const StdFont& hostFont) const {
  const double himetricPerTwip = static_cast<double>(kHimetricPerInch) / kTwipsPerInch;
  PropBag.set("_extentx", fmtValue(roundToInt32(controlWidthTwips_ * himetricPerTwip)));
  PropBag.set("_extenty", fmtValue(roundToInt32(controlHeightTwips_ * himetricPerTwip)));
  for (const StoredPropertyRow& p : storedProperties()) {
    std::string value = p.get(*this);
    if (value != (p.hostFontDefault ? fmt(hostFont) : p.writeDefault)) PropBag.set(p.name, std::move(value));
  }
}

PropertyBag controlRecord(const ControlRecordValues& v) {
  const StdFont font{"MS Sans Serif", 8.25F};
  PropertyBag bag;
  bag.set("BackColor", fmtValue(kWhite));
  bag.set("Font", fmt(font));
  bag.set("FontName", font.Name);
  bag.set("FontSize", fmt(font.Size));
  if (v.picture) bag.set("Picture", encodePicture(v.picture));
  bag.set("ScaleHeight", fmtValue(v.height));
  bag.set("ScaleWidth", fmtValue(v.width));
  bag.set("AutoRedraw", fmt(true));
  bag.set("picheight", fmtValue(v.height));
  bag.set("picwidth", fmtValue(v.width));
  if (v.picBackColor && *v.picBackColor != kDefaultBack) bag.set("picbackcolor", fmtValue(*v.picBackColor));
  return bag;
}

}  // namespace quern

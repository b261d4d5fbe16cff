#include "imgproc/imgproc.h"

namespace quern {

Colour ImgProc::PointI(const Int16& X, const Int16& Y) const {
  return Picture1.Point(static_cast<float>(X), static_cast<float>(Y));
}
Colour ImgProc::PointS(const float& X, const float& Y) const {
  return Picture1.Point(X, Y);
}
Colour ImgProc::Point(float X, float Y) const {
  return Picture1.Point(X, Y);
}

Colour ImgProc::PointFAST(float X, float Y) {
  return GetPixel(Picture1.hDC(), roundToInt32(X), roundToInt32(Y));
}

void ImgProc::PSetS_(const float& X, const float& Y, const Colour& Color) {
  Picture1.PSet(X, Y, Color);
}
void ImgProc::PSetI_(const Int16& X, const Int16& Y, const Colour& Color) {
  Picture1.PSet(static_cast<float>(X), static_cast<float>(Y), Color);
}
void ImgProc::PSet_(Int16 X, Int16 Y, const Colour& Color) {
  Picture1.PSet(static_cast<float>(X), static_cast<float>(Y), Color);
}

void ImgProc::PSetFAST_(Int16 X, Int16 Y, const Colour& Color) {
  SetPixelV(Picture1.hDC(), X, Y, Color);
  Picture1.Refresh();
}

void ImgProc::Line(Int16 /*Flags*/, float X1, float Y1, float X2, float Y2, Colour Color) {
  Picture1.Line(X1, Y1, X2, Y2, Color);
}

void ImgProc::PaintPicture(const Picture& pic, float X1, float Y1, std::optional<float> Width1,
                           std::optional<float> Height1, std::optional<float> X2, std::optional<float> Y2,
                           std::optional<float> Width2, std::optional<float> Height2, std::optional<Int32> Opcode) {
  Picture1.PaintPicture(pic, X1, Y1, Width1, Height1, X2, Y2, Width2, Height2, Opcode);
}

void ImgProc::Circle1_(float X, float Y, float radius) {
  Picture1.Circle(X, Y, radius);
}
void ImgProc::circleRED(float X, float Y, float radius) {
  Picture1.Circle(X, Y, radius, kRed);
}
void ImgProc::circleGREEN(float X, float Y, float radius) {
  Picture1.Circle(X, Y, radius, kGreen);
}
void ImgProc::circleBLUE(float X, float Y, float radius) {
  Picture1.Circle(X, Y, radius, kBlue);
}
void ImgProc::circleBLACK(float X, float Y, float radius) {
  Picture1.Circle(X, Y, radius, kBlack);
}

void ImgProc::Circle_(float X, float Y, float radius, Colour Color, float StartPos, float EndPos, float Aspect) {
  if (StartPos != 0.0F || EndPos != 0.0F || Aspect != 1.0F) return;
  if (Color == kNoColour) {
    Picture1.Circle(X, Y, radius);
  } else {
    Picture1.Circle(X, Y, radius, Color);
  }
}

}  // namespace quern

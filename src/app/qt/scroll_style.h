#pragma once

#include <QProxyStyle>

namespace quern {

// The window's scroll bars are short (a track of about 30 pixels) and their
// ranges long, so a thumb sized to the page would shrink to the style's
// minimum, which fills most of the track. A small fixed thumb leaves the
// track free to show the value and to take a click beside the thumb.
class ScrollThumbStyle : public QProxyStyle {
 public:
  static constexpr int kThumbPixels = 8;

  ScrollThumbStyle();
  int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                  const QWidget* widget = nullptr) const override;
  QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl sub,
                       const QWidget* widget = nullptr) const override;
};

}  // namespace quern

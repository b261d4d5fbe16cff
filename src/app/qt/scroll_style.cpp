#include "app/qt/scroll_style.h"

#include <QApplication>
#include <QStyleFactory>
#include <QStyleOptionSlider>

namespace quern {

// A style of the application's own kind, not the application's instance:
// the proxy takes ownership of its base.
ScrollThumbStyle::ScrollThumbStyle() : QProxyStyle(QStyleFactory::create(QApplication::style()->name())) {}

int ScrollThumbStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
  if (metric == PM_ScrollBarSliderMin) return kThumbPixels;
  return QProxyStyle::pixelMetric(metric, option, widget);
}

QRect ScrollThumbStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl sub,
                                       const QWidget* widget) const {
  if (control == CC_ScrollBar) {
    if (const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option)) {
      // Without a page the thumb takes the minimum length whatever the range.
      QStyleOptionSlider fixed = *bar;
      fixed.pageStep = 0;
      return QProxyStyle::subControlRect(control, &fixed, sub, widget);
    }
  }
  return QProxyStyle::subControlRect(control, option, sub, widget);
}

}  // namespace quern

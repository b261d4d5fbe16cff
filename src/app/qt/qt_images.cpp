#include "app/qt/qt_images.h"

namespace quern {

QImage toQImage(const Picture& picture) {
  if (!picture) return {};
  const QImage view(reinterpret_cast<const uchar*>(picture->pixels().data()), picture->pixelWidth(),
                    picture->pixelHeight(), picture->pixelWidth() * 4, QImage::Format_RGBX8888);
  return view.copy();
}

}  // namespace quern

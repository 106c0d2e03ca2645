#include "app/capture/portal/FrameRotator.h"

namespace tarvinel::portal {

FrameRotator::Turned FrameRotator::turn(const RawPicture& picture, const VideoTransform& transform,
                                        const std::optional<Rects>& changed) {
  const bool known = turned_ == picture.area() && transform_ == transform;
  turned_ = picture.area();
  transform_ = transform;
  if (transform.isUpright()) return {picture, known ? changed : std::nullopt};
  const PixelRect area = transform.uprightArea(turned_);
  const std::size_t rowBytes = static_cast<std::size_t>(area.width) * bytesPerPixel;
  pixels_.resize(rowBytes * static_cast<std::size_t>(area.height));
  const bool isWhole = !known || !changed;
  Rects turnedRects;
  for (const PixelRect& rect : isWhole ? Rects{turned_} : *changed) {
    const PixelRect place = transform.upright(rect, turned_);
    transform.write(picture.part(rect),
                    pixels_.data() + static_cast<std::size_t>(place.y) * rowBytes +
                        static_cast<std::size_t>(place.x) * bytesPerPixel,
                    rowBytes);
    turnedRects.push_back(place);
  }
  return {{pixels_.data(), area.width, area.height, rowBytes, picture.order},
          isWhole ? std::nullopt : std::optional(std::move(turnedRects))};
}

}  // namespace tarvinel::portal

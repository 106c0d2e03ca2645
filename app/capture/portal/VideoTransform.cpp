#include "app/capture/portal/VideoTransform.h"

#include <libyuv/rotate_argb.h>

#include <stdexcept>
#include <utility>

namespace tarvinel::portal {

namespace {

libyuv::RotationMode clockwise(std::uint32_t quarters) {
  switch (quarters % 4) {
    case 1:
      return libyuv::kRotate90;
    case 2:
      return libyuv::kRotate180;
    case 3:
      return libyuv::kRotate270;
    default:
      return libyuv::kRotate0;
  }
}

PixelRect turnedBack(const PixelRect& rect, const PixelRect& area, std::uint32_t quarters) {
  switch (quarters) {
    case 1:
      return {area.height - rect.maxY(), rect.x, rect.height, rect.width};
    case 2:
      return {area.width - rect.maxX(), area.height - rect.maxY(), rect.width, rect.height};
    case 3:
      return {rect.y, area.width - rect.maxX(), rect.height, rect.width};
    default:
      return rect;
  }
}

}  // namespace

PixelRect VideoTransform::uprightArea(const PixelRect& turned) const {
  const bool lies = quarters_ % 2 == 1;
  return {0, 0, lies ? turned.height : turned.width, lies ? turned.width : turned.height};
}

PixelRect VideoTransform::upright(const PixelRect& rect, const PixelRect& turned) const {
  PixelRect back = turnedBack(rect, turned, quarters_);
  if (mirrored_) back.x = uprightArea(turned).width - back.maxX();
  return back;
}

CursorImage VideoTransform::upright(const CursorImage& cursor, const PixelRect& turned) const {
  CursorImage back{upright(cursor.area, turned), cursor.serial, {}};
  back.pixels.resize(cursor.pixels.size());
  const auto rowBytes = [](const PixelRect& area) {
    return static_cast<std::size_t>(area.width) * bytesPerPixel;
  };
  const RawPicture look{reinterpret_cast<const std::uint8_t*>(cursor.pixels.data()),
                        cursor.area.width, cursor.area.height, rowBytes(cursor.area),
                        PixelOrder::bgr};
  write(look, reinterpret_cast<std::uint8_t*>(back.pixels.data()), rowBytes(back.area));
  return back;
}

/// Rotating by q quarters and then mirroring equals flipping vertically and rotating by 2 - q.
void VideoTransform::write(const RawPicture& picture, std::uint8_t* pixels,
                           std::size_t bytesPerRow) const {
  const int status = libyuv::ARGBRotate(picture.pixels, static_cast<int>(picture.bytesPerRow),
                                        pixels, static_cast<int>(bytesPerRow), picture.width,
                                        mirrored_ ? -picture.height : picture.height,
                                        clockwise(mirrored_ ? 6 - quarters_ : quarters_));
  if (status != 0) throw std::runtime_error("a picture of the screen could not be turned");
}

FrameRotator::Turned FrameRotator::turn(const RawPicture& picture, const VideoTransform& transform,
                                        const std::optional<PixelRects>& changed) {
  const bool known = turned_ == picture.area() && transform_ == transform;
  turned_ = picture.area();
  transform_ = transform;
  if (transform.isUpright()) return {picture, known ? changed : std::nullopt};
  const PixelRect area = transform.uprightArea(turned_);
  const std::size_t rowBytes = static_cast<std::size_t>(area.width) * bytesPerPixel;
  pixels_.resize(rowBytes * static_cast<std::size_t>(area.height));
  const bool isWhole = !known || !changed;
  PixelRects turnedRects;
  for (const PixelRect& rect : isWhole ? PixelRects{turned_} : *changed) {
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

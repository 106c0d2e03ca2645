#include "core/frames/ReducedPicture.h"

#include "core/frames/JPEGEncodeError.h"

#include <libyuv/scale_argb.h>

#include <new>

namespace tarvinel {

namespace {

// Not value-initialised: every byte is about to be written, and clearing a 4K surface would cost a
// tenth of the whole encode.
std::unique_ptr<std::uint8_t[]> surface(std::size_t width, std::size_t height) {
  try {
    return std::make_unique_for_overwrite<std::uint8_t[]>(width * height * 4);
  } catch (const std::bad_alloc&) {
    throw JPEGEncodeError::contextFailed();
  }
}

}  // namespace

ReducedPicture::ReducedPicture(const PixelView& source, std::size_t width, std::size_t height)
    : pixels_(surface(width, height)), view_{pixels_.get(), width, height, width * 4} {
  const int status = libyuv::ARGBScale(
      source.pixels, static_cast<int>(source.bytesPerRow), static_cast<int>(source.width),
      static_cast<int>(source.height), pixels_.get(), static_cast<int>(view_.bytesPerRow),
      static_cast<int>(width), static_cast<int>(height), libyuv::kFilterBox);
  if (status != 0) throw JPEGEncodeError::contextFailed();
}

}  // namespace tarvinel

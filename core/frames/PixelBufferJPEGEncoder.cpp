#include "core/frames/PixelBufferJPEGEncoder.h"

#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/FatalError.h"

#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

namespace tarvinel {

namespace {

class ReadLock {
 public:
  explicit ReadLock(PixelBuffer& buffer) : buffer_(buffer) {
    if (const int status = buffer.lockReadOnly()) throw JPEGEncodeError::lockFailed(status);
  }
  ~ReadLock() { buffer_.unlockReadOnly(); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  PixelBuffer& buffer_;
};

// The libraries below hold pixel counts and the bytes of a row in an int.
PixelView viewOf(const PixelBuffer& buffer) {
  constexpr std::size_t most = std::numeric_limits<int>::max();
  const PixelView view{buffer.baseAddress(), buffer.width(), buffer.height(), buffer.bytesPerRow()};
  const bool readable = view.pixels != nullptr && view.width > 0 && view.height > 0 &&
                        view.height <= most && view.bytesPerRow <= most &&
                        view.width <= view.bytesPerRow / 4;
  if (!readable) throw JPEGEncodeError::contextFailed();
  return view;
}

std::size_t scaledLength(std::size_t length, double scale) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  const double scaled = static_cast<double>(length) * scale;
  if (!(scaled > -limit && scaled < limit)) fatalError("scaled picture size is not a number");
  return static_cast<std::size_t>(std::max(1.0, scaled));
}

}  // namespace

int libraryQuality(double quality) {
  if (!(quality > 0)) return 1;
  return std::max(1, static_cast<int>(std::lround(std::min(quality, 1.0) * 100)));
}

void withPicture(PixelBuffer& buffer, const std::optional<Rect>& crop, double scale,
                 const std::function<void(const PixelView& picture)>& use) {
  const PixelFormat format = buffer.pixelFormat();
  if (format != pixelFormatBGRA) throw JPEGEncodeError::unsupportedPixelFormat(format);
  const ReadLock lock(buffer);
  const PixelView whole = viewOf(buffer);
  const PixelView picture = whole.part(croppedArea(whole.width, whole.height, crop));
  if (!(scale < 1)) return use(picture);
  const ReducedPicture reduced(picture, scaledLength(picture.width, scale),
                               scaledLength(picture.height, scale));
  use(reduced.view());
}

Frame PixelBufferJPEGEncoder::encode(PixelBuffer& buffer, double quality,
                                     const std::optional<Rect>& crop, double scale,
                                     ChromaSampling chroma) {
  Frame frame;
  withPicture(buffer, crop, scale, [&](const PixelView& picture) {
    frame = std::make_shared<const Bytes>(writeJPEG(picture, libraryQuality(quality), chroma));
  });
  return frame;
}

namespace {

// The memory is not value-initialised: every byte is about to be written, and clearing a 4K surface
// would cost a tenth of the whole encode.
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

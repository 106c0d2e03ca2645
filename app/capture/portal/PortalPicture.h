#pragma once

#include "app/capture/PixelRect.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/portal/RawPicture.h"
#include "core/frames/MemoryPixelBuffer.h"

#include <memory>
#include <optional>
#include <vector>

namespace tarvinel {

/// The newest picture of a stream, kept in one buffer for as long as its size stays the same. Lives
/// on the capture queue.
class PortalPicture {
 public:
  using Rects = std::vector<PixelRect>;

  /// Takes over what has changed since the last picture: `damage`, which lies inside the picture,
  /// or, when that is not known, what differs. None when nothing has changed.
  std::optional<CapturedFrame> update(const RawPicture& picture,
                                      const std::optional<Rects>& damage);

 private:
  bool fits(const RawPicture& picture) const;
  void copy(const RawPicture& picture, const PixelRect& area);
  Rects differences(const RawPicture& picture) const;

  std::shared_ptr<MemoryPixelBuffer> buffer_;  ///< null before the first picture
};

}  // namespace tarvinel

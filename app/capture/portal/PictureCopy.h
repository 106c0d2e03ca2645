#pragma once

#include "app/capture/PixelRect.h"
#include "app/capture/portal/RawPicture.h"
#include "app/capture/portal/SharedMemory.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel {

/// A copy of the newest picture of a stream whose memory may be cut off while it is looked at.
/// Lives on the capture queue.
class PictureCopy {
 public:
  using Rects = std::vector<PixelRect>;

  /// Takes over what has changed since the last picture (not known: all of it) of one that is laid
  /// out like that and begins `place` bytes into the memory. Elsewhere the copy may be older.
  /// Borrowed from here until the next one; none when the memory ended before the picture did.
  std::optional<RawPicture> read(const SharedMemory& memory, std::int64_t place,
                                 const RawPicture& layout, const std::optional<Rects>& changed);

 private:
  bool readPart(const SharedMemory& memory, std::int64_t place, const RawPicture& layout,
                const PixelRect& part);

  std::vector<std::uint8_t> pixels_;  ///< rows without gaps
  PixelRect area_;                    ///< of the picture that was read; empty: none
};

}  // namespace tarvinel

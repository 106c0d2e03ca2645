#pragma once

#include "app/capture/portal/RawPicture.h"
#include "app/capture/portal/TruncationGuard.h"
#include "app/capture/portal/VideoFormat.h"
#include "app/capture/portal/VideoTransform.h"
#include "core/support/PixelRect.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

struct pw_buffer;

namespace tarvinel::portal {

/// A borrowed buffer of a stream, and what its producer tells of it. Nothing of that is believed
/// beyond the memory that there is. Plain value.
class StreamBuffer {
 public:
  using Rects = std::vector<PixelRect>;
  using Time = std::pair<std::int64_t, std::uint64_t>;  ///< nanoseconds; then a running number

  explicit StreamBuffer(const pw_buffer& buffer) : buffer_(&buffer) {}

  /// Whether there is memory for a picture.
  bool hasMemory() const;

  /// The picture, where it lies; none when there is none, or its memory is shorter than needed.
  std::optional<RawPicture> picture(const VideoFormat& format) const;

  /// The same as the producer tells it, whether there is memory for it or not: not to be looked at.
  std::optional<RawPicture> toldPicture(const VideoFormat& format) const;

  /// Whether the producer says that there is a picture, however it describes it.
  bool claimsPicture() const;

  /// The picture's memory when another process may truncate it; none of what the media server made.
  SharedMap sharedMap() const;

  /// Where in the frame the content is: all of it unless the producer says otherwise.
  PixelRect content(const PixelRect& frame) const;

  VideoTransform transform() const;

  /// When its producer put the picture into it, to be compared with others of the same stream;
  /// absent when it does not tell, or did not put one there yet.
  std::optional<Time> time() const;

  /// What changed since the producer's last picture; absent when it does not tell.
  std::optional<Rects> damage(const PixelRect& frame) const;

  /// What is told of the cursor (SPA_META_Cursor); empty when nothing is.
  std::span<const std::uint8_t> cursorFacts() const;

 private:
  const pw_buffer* buffer_;
};

}  // namespace tarvinel::portal

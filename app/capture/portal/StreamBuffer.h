#pragma once
struct pw_buffer;

#include "app/capture/CursorImage.h"
#include "app/capture/portal/RawPicture.h"
#include "app/capture/portal/TruncationGuard.h"
#include "app/capture/portal/VideoFormat.h"
#include "app/capture/portal/VideoTransform.h"
#include "core/support/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace tarvinel::portal {

/// The cursor as a producer tells of it beside its pictures: where it is with each of them, what it
/// looks like only when that changed. Nothing of it is trusted. Lives on the capture queue.
class CursorMetadata {
 public:
  /// Takes notice of a buffer's facts (SPA_META_Cursor), of which `size` bytes can be read. True
  /// when the cursor looks or stands different now.
  bool read(const std::uint8_t* metadata, std::size_t size);

  /// The cursor in the frame's pixels; none when it is not to be seen.
  const std::optional<CursorImage>& image() const { return shown_; }

  static constexpr std::uint32_t longest = 384;  ///< pixels of a cursor

  /// Bytes of the facts with a cursor of so many pixels each way.
  static std::size_t bytesFor(std::uint32_t length);

 private:
  void readBitmap(const std::uint8_t* metadata, std::size_t size, std::size_t offset);

  std::optional<CursorImage> shown_;
  std::vector<std::uint32_t> pixels_;  ///< 0xAARRGGBB, premultiplied
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  std::uint32_t serial_ = 0;  ///< of the look
};

/// All buffers of a stream, wherever they are on their way between producer and here. Borrows them.
class StreamBuffers {
 public:
  void add(const pw_buffer& buffer) { buffers_.push_back(&buffer); }
  void remove(const pw_buffer& buffer) { std::erase(buffers_, &buffer); }

  /// Whether there are some, and none of them has memory for a picture.
  bool lackMemory() const;

  /// The one into which the newest picture was put, told of or not. Null when that is not clear:
  /// some producers describe a picture in each buffer, long before it is there.
  const pw_buffer* newest(const VideoFormat& format) const;

 private:
  std::vector<const pw_buffer*> buffers_;
};

/// A borrowed buffer of a stream, and what its producer tells of it. Nothing of that is believed
/// beyond the memory that there is. Plain value.
class StreamBuffer {
 public:
  using Time = std::pair<std::int64_t, std::uint64_t>;  ///< nanoseconds; then a running number

  explicit StreamBuffer(const pw_buffer& buffer) : buffer_(&buffer) {}

  /// Whether there is memory for a picture.
  bool hasMemory() const;

  /// The picture, where it lies; none when there is none, or its memory is shorter than needed.
  std::optional<RawPicture> picture(const VideoFormat& format) const;

  /// The same as the producer tells it, whether there is memory for it or not: not to be looked at.
  std::optional<RawPicture> announcedPicture(const VideoFormat& format) const;

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
  std::optional<PixelRects> damage(const PixelRect& frame) const;

  /// What is told of the cursor (SPA_META_Cursor); empty when nothing is.
  std::span<const std::uint8_t> cursorMetadata() const;

 private:
  const pw_buffer* buffer_;
};

}  // namespace tarvinel::portal

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

/// The cursor metadata that a producer sends beside its pictures: the place with each of them, the
/// bitmap only when it changed. Nothing of it is trusted. Lives on the capture queue.
class CursorMetadata {
 public:
  /// Reads a buffer's metadata (SPA_META_Cursor), of which `size` bytes can be read. Returns
  /// whether the cursor's shape or place changed.
  bool read(const std::uint8_t* metadata, std::size_t size);

  /// Returns the cursor in the frame's pixels, or nullopt if it is hidden.
  const std::optional<CursorImage>& image() const { return shown_; }

  static constexpr std::uint32_t longest = 384;  ///< pixels of a cursor each way

  /// Returns the bytes of the metadata with a cursor of so many pixels each way.
  static std::size_t bytesFor(std::uint32_t length);

 private:
  void readBitmap(const std::uint8_t* metadata, std::size_t size, std::size_t offset);

  std::optional<CursorImage> shown_;
  std::vector<std::uint32_t> pixels_;  ///< 0xAARRGGBB, premultiplied
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  std::uint32_t serial_ = 0;  ///< of the bitmap
};

/// All buffers of a stream, wherever they are between producer and consumer. Borrows them.
class StreamBuffers {
 public:
  void add(const pw_buffer& buffer) { buffers_.push_back(&buffer); }
  void remove(const pw_buffer& buffer) { std::erase(buffers_, &buffer); }

  /// Returns whether there are some, and none of them has memory for a picture.
  bool lackMemory() const;

  /// Returns the buffer with the newest picture, announced or not, or null if that is not clear:
  /// some producers describe a picture in each buffer, long before it is there.
  const pw_buffer* newest(const VideoFormat& format) const;

 private:
  std::vector<const pw_buffer*> buffers_;
};

/// A borrowed buffer of a stream with its producer's description, which is not trusted beyond the
/// memory that there is. Plain value.
class StreamBuffer {
 public:
  using Time = std::pair<std::int64_t, std::uint64_t>;  ///< nanoseconds; then a sequence number

  explicit StreamBuffer(const pw_buffer& buffer) : buffer_(&buffer) {}

  /// Returns whether there is memory for a picture.
  bool hasMemory() const;

  /// Returns the picture in place, or nullopt if there is none or its memory is too short.
  std::optional<RawPicture> picture(const VideoFormat& format) const;

  /// Returns the picture as the producer describes it, with or without memory: it must not be read.
  std::optional<RawPicture> announcedPicture(const VideoFormat& format) const;

  /// Returns whether the producer claims that there is a picture, however it describes it.
  bool claimsPicture() const;

  /// Returns the picture's memory if other processes may truncate it (the media server's: empty).
  SharedMap sharedMap() const;

  /// Returns the content's place in the frame: all of it unless the producer says otherwise.
  PixelRect content(const PixelRect& frame) const;

  VideoTransform transform() const;

  /// Returns when its producer put the picture into it, to be compared with others of the same
  /// stream, or nullopt if it does not say so or has not put one there yet.
  std::optional<Time> time() const;

  /// Returns what changed since the producer's last picture, or nullopt if it does not say.
  std::optional<PixelRects> damage(const PixelRect& frame) const;

  /// Returns the cursor's metadata (SPA_META_Cursor); empty if there is none.
  std::span<const std::uint8_t> cursorMetadata() const;

 private:
  const pw_buffer* buffer_;
};

}  // namespace tarvinel::portal

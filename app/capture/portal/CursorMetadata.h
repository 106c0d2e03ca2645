#pragma once

#include "app/capture/CursorImage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel::portal {

/// The cursor as a producer tells of it beside its pictures: where it is with each of them, what it
/// looks like only when that changed. Nothing of it is trusted. Lives on the capture queue.
class CursorMetadata {
 public:
  /// Takes notice of a buffer's facts (SPA_META_Cursor), of which `size` bytes can be read. True
  /// when the cursor looks or stands different now.
  bool read(const std::uint8_t* facts, std::size_t size);

  /// The cursor in the frame's pixels; none when it is not to be seen.
  const std::optional<CursorImage>& image() const { return shown_; }

  static constexpr std::uint32_t longest = 384;  ///< pixels of a cursor

  /// Bytes of the facts with a cursor of so many pixels each way.
  static std::size_t bytesFor(std::uint32_t length);

 private:
  void readBitmap(const std::uint8_t* facts, std::size_t size, std::size_t offset);

  std::optional<CursorImage> shown_;
  std::vector<std::uint32_t> pixels_;  ///< 0xAARRGGBB, premultiplied
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  std::uint32_t serial_ = 0;  ///< of the look
};

}  // namespace tarvinel::portal

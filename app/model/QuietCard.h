#pragma once

#include "core/frames/Frame.h"
#include "core/support/Geometry.h"

#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// The picture that replaces the last frame when a share has ended: a text on the background of the
/// viewers' page. Caches the last card; not thread-safe.
class QuietCard {
 public:
  /// `text` is UTF-8; a very long text is truncated.
  explicit QuietCard(std::string_view text);

  /// Returns a card with the aspect ratio of a picture of this size, in pixels, and no larger.
  /// Throws JPEGEncodeError, or std::bad_alloc if memory is exhausted.
  Frame ofSize(const PixelSize& size);

 private:
  std::string text_;
  std::optional<PixelSize> size_;
  Frame card_;
};

}  // namespace tarvinel

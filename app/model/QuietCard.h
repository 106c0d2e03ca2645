#pragma once

#include "core/frames/Frame.h"
#include "core/support/Geometry.h"

#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// The picture that takes the place of a share which has ended, so that nobody goes on looking at
/// it: a text on the background of the viewers' page. Remembers the last one it made; not safe from
/// several threads.
class QuietCard {
 public:
  /// Takes the text, UTF-8; of a very long one the beginning is shown.
  explicit QuietCard(std::string_view text);

  /// A card in the shape of a picture of this size, in pixels, and no larger. Throws
  /// JPEGEncodeError, or std::bad_alloc when so much memory is not there.
  Frame ofSize(const PixelSize& size);

 private:
  std::string text_;
  std::optional<PixelSize> size_;
  Frame card_;
};

}  // namespace tarvinel

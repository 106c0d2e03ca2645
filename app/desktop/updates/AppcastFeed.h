#pragma once

#include "app/updates/AppcastItem.h"

#include <string_view>
#include <vector>

namespace tarvinel {

/// An RSS feed whose items are versions of the program. Static and pure.
class AppcastFeed {
 public:
  AppcastFeed() = delete;

  /// The versions in a feed's bytes, in their order, at least one; items without a version are left
  /// out, as are pages that are not on the web. Throws FeedError.
  ///
  /// The bytes are UTF-8. An item has its versions as elements or as attributes of its enclosure,
  /// in whatever namespace: "shortVersionString", which counts, else "version". Its page is its
  /// "link", else its "releaseNotesLink".
  static std::vector<AppcastItem> parse(std::string_view bytes);
};

}  // namespace tarvinel

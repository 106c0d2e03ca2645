#pragma once

#include <algorithm>
#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// Orders versions: "1.9" comes before "1.10", "1.2-beta2" before "1.2", and "1.2" equals "1.2.0".
/// Static and pure.
class VersionOrder {
 public:
  VersionOrder() = delete;

  /// Returns whether a text is a version: a digit, optionally after a "v", then letters, digits and
  /// ".-_~+", at most 64 characters in all.
  static bool isVersion(std::string_view text);

  /// Compares two versions: numbers as numbers of any length, a version with a suffix before the
  /// same one without, suffixes number by number and word by word. Ignores what follows a "+".
  static std::weak_ordering compare(std::string_view one, std::string_view other);

  static bool isNewer(std::string_view one, std::string_view other) {
    return compare(one, other) == std::weak_ordering::greater;
  }
};

/// One version of the program in a feed.
struct AppcastItem {
  std::string version;              ///< see VersionOrder
  std::optional<std::string> page;  ///< where it is described and downloaded; http or https

  bool operator==(const AppcastItem&) const = default;
};

/// Returns the newest item, the first of equal ones; `items` must not be empty.
inline const AppcastItem& newestOf(const std::vector<AppcastItem>& items) {
  return *std::ranges::max_element(items, [](const AppcastItem& one, const AppcastItem& other) {
    return VersionOrder::isNewer(other.version, one.version);
  });
}

}  // namespace tarvinel

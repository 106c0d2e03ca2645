#pragma once

#include <algorithm>
#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// Which of two versions is the newer: "1.9" comes before "1.10", "1.2-beta2" before "1.2", and
/// "1.2" is the same as "1.2.0". Static and pure.
class VersionOrder {
 public:
  VersionOrder() = delete;

  /// Whether a text is a version: a digit, perhaps after a "v", then letters, digits and ".-_~+",
  /// no more than 64 characters in all.
  static bool isVersion(std::string_view text);

  /// Compares two versions: numbers as numbers of any length, a version with a suffix before the
  /// same without, suffixes among themselves number by number and word by word. What follows a "+"
  /// does not count.
  static std::weak_ordering compare(std::string_view one, std::string_view other);

  static bool isNewer(std::string_view one, std::string_view other) {
    return compare(one, other) == std::weak_ordering::greater;
  }
};

/// One version of the program, as a feed tells of it.
struct AppcastItem {
  std::string version;              ///< see VersionOrder
  std::optional<std::string> page;  ///< where people read of it and get it; http or https

  bool operator==(const AppcastItem&) const = default;
};

/// The newest of some items, the first of those that are equal; there is at least one.
inline const AppcastItem& newestOf(const std::vector<AppcastItem>& items) {
  return *std::ranges::max_element(items, [](const AppcastItem& one, const AppcastItem& other) {
    return VersionOrder::isNewer(other.version, one.version);
  });
}

}  // namespace tarvinel

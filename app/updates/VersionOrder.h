#pragma once

#include <compare>
#include <string_view>

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

}  // namespace tarvinel

#pragma once

#include "app/updates/VersionOrder.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

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

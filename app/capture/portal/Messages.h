#pragma once
struct sd_bus_message;

#include "core/support/Geometry.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tarvinel::portal {

/// What the desktop gives when the presenter agreed. Plain value.
struct StreamInfo {
  std::uint32_t node = 0;                   ///< where the pictures come from, in the media server
  std::optional<Size> points;               ///< the size of what is shared, when told
  bool cursorIsApart = false;               ///< told beside the pictures instead of drawn in them
  std::optional<std::string> restoreToken;  ///< begins the same again without a dialog, once

  /// Reads the results of a start. Throws Error when there is no stream among them.
  static StreamInfo read(sd_bus_message& results);
};

/// One named option of a portal's method.
using Option = std::pair<const char*, std::variant<std::uint32_t, bool, std::string>>;

/// Appends the options as the dictionary that portals take. Throws Error when there is no
/// memory for it.
void appendOptions(sd_bus_message& message, const std::vector<Option>& options);

/// Goes through a dictionary of named values. `read` takes the value when it wants it (`type` is
/// its signature) and says whether it did; the others are skipped. Throws Error when the
/// message has no such dictionary here.
void forEachValue(sd_bus_message& message,
                  const std::function<bool(std::string_view name, const char* type)>& read);

/// The next value when it is of that kind; else it throws Error.
std::uint32_t readNumber(sd_bus_message& message);
std::string readText(sd_bus_message& message);

/// Throws Error when an sd-bus call told of a failure.
void checkMessage(int outcome);

}  // namespace tarvinel::portal

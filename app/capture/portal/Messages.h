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

/// The stream that the desktop grants when the presenter agrees. Plain value.
struct StreamInfo {
  std::uint32_t node = 0;                   ///< the media server's node that delivers the pictures
  std::optional<Size> points;               ///< the size of what is shared, if reported
  bool cursorIsApart = false;               ///< sent as metadata instead of drawn in the pictures
  std::optional<std::string> restoreToken;  ///< restores the same share without a dialog, once

  /// Reads the results of a start. Throws Error if there is no stream among them.
  static StreamInfo read(sd_bus_message& results);
};

/// One named option of a portal's method.
using Option = std::pair<const char*, std::variant<std::uint32_t, bool, std::string>>;

/// Appends the options as the dictionary that portals expect. Throws Error if there is no memory
/// for it.
void appendOptions(sd_bus_message& message, const std::vector<Option>& options);

/// Iterates over a dictionary of named values. `read` consumes the value if it wants it (`type` is
/// its signature) and returns whether it did; the others are skipped. Throws Error if the message
/// has no such dictionary here.
void forEachValue(sd_bus_message& message,
                  const std::function<bool(std::string_view name, const char* type)>& read);

/// Reads the next value; throws Error if it is of another type.
std::uint32_t readNumber(sd_bus_message& message);
std::string readText(sd_bus_message& message);

/// Throws Error if the result of an sd-bus call indicates a failure.
void checkMessage(int outcome);

}  // namespace tarvinel::portal

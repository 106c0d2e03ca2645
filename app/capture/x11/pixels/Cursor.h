#pragma once

#include "app/capture/CursorImage.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <optional>

namespace tarvinel::x11 {

class Connection;

class Connection;

/// Returns whether the topmost window under the mouse pointer is a wanted one or lies inside one.
/// Throws Error.
bool isPointerIn(const Connection& connection, const std::function<bool(xcb_window_t)>& isWanted);

/// Watches the server's mouse cursor. Must not outlive the connection, on which XFixes has been
/// negotiated.
class Cursor {
 public:
  /// Without XInput 2 no motion is reported, and the cursor's new place is seen only when something
  /// else happens. Throws Error if the connection is lost.
  explicit Cursor(const Connection& connection);

  /// Returns whether the event may mean that the cursor's shape or place changed.
  bool isNotification(const xcb_generic_event_t& event) const;

  /// Returns the current cursor, or nullopt if there is none. Throws Error.
  std::optional<CursorImage> read() const;

 private:
  void selectMotion();

  const Connection& connection_;
  std::uint8_t shapeEventCode_ = 0;
  std::optional<std::uint8_t> inputExtension_;  ///< major opcode; nullopt: no motion events
};

}  // namespace tarvinel::x11

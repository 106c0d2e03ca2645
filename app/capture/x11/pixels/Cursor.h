#pragma once

#include "app/capture/CursorImage.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <optional>

namespace tarvinel::x11 {

class Connection;

class Connection;

/// True when the topmost window under the mouse pointer is one of those asked for or lies inside
/// one. Throws Error.
bool isPointerIn(const Connection& connection, const std::function<bool(xcb_window_t)>& isWanted);

/// Watches the mouse cursor of the server. Must not outlive the connection. The connection has
/// negotiated XFixes.
class Cursor {
 public:
  /// Without XInput 2 no motion is announced, and the cursor is seen at its new place only when
  /// something else happens. Throws Error when the connection is lost.
  explicit Cursor(const Connection& connection);

  /// True when the event may mean that the cursor looks or stands different now.
  bool isNotification(const xcb_generic_event_t& event) const;

  /// The cursor as it is now; none when there is none. Throws Error.
  std::optional<CursorImage> read() const;

 private:
  void selectMotion();

  const Connection& connection_;
  std::uint8_t shapeEventCode_ = 0;
  std::optional<std::uint8_t> inputExtension_;  ///< major opcode; none: no motion events
};

}  // namespace tarvinel::x11

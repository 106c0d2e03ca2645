#pragma once

#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Cursor.h"
#include "app/capture/x11/X11Damage.h"
#include "app/capture/x11/X11FrameSource.h"
#include "app/capture/x11/X11MonitorEvents.h"
#include "app/capture/x11/X11Picture.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

/// The picture of one display, followed through changes of its size and place. Lives on the capture
/// queue.
class X11DisplaySource final : public X11FrameSource {
 public:
  /// Connects to `server` and looks for the display. Throws X11Error.
  X11DisplaySource(const std::string& server, const X11Options& options, std::uint32_t displayID,
                   bool showsCursor);

  const X11Connection& connection() const override { return connection_; }
  void handle(const xcb_generic_event_t& event) override;
  bool wantsCapture() const override { return noticed_; }
  std::optional<CapturedFrame> capture() override;

 private:
  void followDisplay();

  X11Connection connection_;
  const std::uint32_t displayID_;
  X11MonitorEvents monitors_;
  std::optional<X11Damage> damage_;
  std::optional<X11Cursor> cursor_;  ///< none: not shown
  std::optional<X11Picture> picture_;
  bool noticed_ = true;  ///< something happened since the last capture
  bool displayMayDiffer_ = true;
};

}  // namespace tarvinel

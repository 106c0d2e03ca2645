#pragma once

#include "app/capture/x11/FrameSource.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "app/capture/x11/pixels/Damage.h"
#include "app/capture/x11/pixels/Picture.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/x11/Connection.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel::x11 {

/// The picture of one display, which follows changes of its size and place. Lives on the capture
/// queue.
class DisplaySource final : public FrameSource {
 public:
  /// Connects to `server` and finds the display. Throws Error.
  DisplaySource(const std::string& server, const Options& options, std::uint32_t displayID,
                bool showsCursor);

  const Connection& connection() const override { return connection_; }
  void handle(const xcb_generic_event_t& event) override;
  bool wantsCapture() const override { return noticed_; }
  std::optional<CapturedFrame> capture() override;

 private:
  void followDisplay();

  Connection connection_;
  const std::uint32_t displayID_;
  MonitorEvents monitors_;
  std::optional<Damage> damage_;
  std::optional<Cursor> cursor_;  ///< nullopt: not shown
  std::optional<Picture> picture_;
  bool noticed_ = true;  ///< something happened since the last capture
  bool displayMayDiffer_ = true;
};

}  // namespace tarvinel::x11

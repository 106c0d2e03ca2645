#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/x11/AppWindows.h"
#include "app/capture/x11/FrameSource.h"
#include "app/capture/x11/pixels/AppCanvas.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "app/capture/x11/pixels/Picture.h"
#include "app/capture/x11/windows/MonitorEvents.h"
#include "app/x11/Connection.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel::x11 {

/// The picture of one display with the windows of one process on it and black elsewhere, whatever
/// other windows lie over, under or between them. Lives on the capture queue.
class AppSource final : public FrameSource {
 public:
  /// Connects to `server` and looks for the display and the process's windows. Throws Error, and
  /// CaptureError (unknownSource) when the process has no windows.
  AppSource(const std::string& server, const Options& options, std::uint32_t displayID,
            std::int32_t processID, bool showsCursor);

  const Connection& connection() const override { return connection_; }
  void handle(const xcb_generic_event_t& event) override;
  bool wantsCapture() const override { return noticed_; }
  std::optional<CapturedFrame> capture() override;

 private:
  void followDisplay();
  std::vector<PixelRect> redraw();
  std::optional<CursorImage> cursor() const;

  Connection connection_;
  const std::uint32_t displayID_;
  MonitorEvents monitors_;
  const bool hasRender_;
  std::unique_ptr<AppWindows> windows_;
  std::optional<Cursor> cursor_;  ///< none: not shown
  std::unique_ptr<AppCanvas> canvas_;
  std::unique_ptr<Picture> picture_;
  std::vector<Layer> drawn_;  ///< as they are on the canvas
  bool noticed_ = true;       ///< something happened since the last capture
  bool displayMayDiffer_ = true;
  bool isPainted_ = false;  ///< there was a window to see
};

}  // namespace tarvinel::x11

#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/x11/X11AppCanvas.h"
#include "app/capture/x11/X11AppWindows.h"
#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Cursor.h"
#include "app/capture/x11/X11FrameSource.h"
#include "app/capture/x11/X11MonitorEvents.h"
#include "app/capture/x11/X11Picture.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// The picture of one display with the windows of one process on it and black elsewhere, whatever
/// other windows lie over, under or between them. Lives on the capture queue.
class X11AppSource final : public X11FrameSource {
 public:
  /// Connects to `server` and looks for the display and the process's windows. Throws X11Error, and
  /// CaptureError (unknownSource) when the process has no windows.
  X11AppSource(const std::string& server, const X11Options& options, std::uint32_t displayID,
               std::int32_t processID, bool showsCursor);

  const X11Connection& connection() const override { return connection_; }
  void handle(const xcb_generic_event_t& event) override;
  bool wantsCapture() const override { return noticed_; }
  std::optional<CapturedFrame> capture() override;

 private:
  void followDisplay();
  std::vector<PixelRect> redraw();
  std::optional<CursorImage> cursor() const;

  X11Connection connection_;
  const std::uint32_t displayID_;
  X11MonitorEvents monitors_;
  const bool hasRender_;
  std::unique_ptr<X11AppWindows> windows_;
  std::optional<X11Cursor> cursor_;  ///< none: not shown
  std::unique_ptr<X11AppCanvas> canvas_;
  std::unique_ptr<X11Picture> picture_;
  std::vector<X11Layer> drawn_;  ///< as they are on the canvas
  bool noticed_ = true;          ///< something happened since the last capture
  bool displayMayDiffer_ = true;
  bool isPainted_ = false;  ///< there was a window to see
};

}  // namespace tarvinel

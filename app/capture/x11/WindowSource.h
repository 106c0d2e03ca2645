#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/x11/FrameSource.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "app/capture/x11/pixels/Picture.h"
#include "app/capture/x11/pixels/WindowContent.h"
#include "app/capture/x11/windows/FrameExtents.h"
#include "app/x11/Connection.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel::x11 {

/// The picture of one window without the window manager's frame, which another program draws and
/// which may show other windows' titles. It follows changes of the window's size; while the window
/// is hidden its last picture stays. Lives on the capture queue.
class WindowSource final : public FrameSource {
 public:
  /// Connects to `server` and finds the window, which must belong to `processID` (0: to any
  /// process), since another window may have reused the number. Throws Error, and CaptureError
  /// (unknownSource) if there is no such window.
  WindowSource(const std::string& server, const Options& options, std::uint32_t windowID,
               std::int32_t processID, bool showsCursor);

  const Connection& connection() const override { return connection_; }
  void handle(const xcb_generic_event_t& event) override;
  bool wantsCapture() const override { return noticed_; }
  std::optional<CapturedFrame> capture() override;

 private:
  void open(std::int32_t processID, bool showsCursor);
  bool isOwnedBy(std::int32_t processID) const;
  bool isEnd(const xcb_generic_event_t& event) const;
  bool movesPointer(const xcb_generic_event_t& event) const;
  void followPicture();
  std::optional<CursorImage> cursor() const;

  Connection connection_;
  const xcb_window_t window_;
  std::unique_ptr<WindowContent> content_;
  std::unique_ptr<FrameExtents> margins_;
  std::optional<Cursor> cursor_;  ///< nullopt: not shown
  std::optional<Picture> picture_;
  bool noticed_ = true;  ///< something happened since the last capture
  bool isGone_ = false;
};

}  // namespace tarvinel::x11

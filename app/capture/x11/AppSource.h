#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/x11/FrameSource.h"
#include "app/capture/x11/pixels/AppCanvas.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "app/capture/x11/pixels/Picture.h"
#include "app/capture/x11/pixels/WindowContent.h"
#include "app/capture/x11/windows/Displays.h"
#include "app/x11/Connection.h"
#include "app/x11/Property.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// Tracks the windows of one process, its menus and dialogs included, as they are created,
/// destroyed, moved and restacked. Must not outlive the connection, on which XFixes and Composite
/// have been negotiated and the root window's substructure and property events are selected.
class AppWindows {
 public:
  /// Throws Error.
  AppWindows(const Connection& connection, std::int32_t processID, bool hasXFixes);

  /// Handles an event; returns whether there may be something new to see. Throws Error.
  bool handle(const xcb_generic_event_t& event);

  /// Returns whether the process has no windows left, hidden ones included: a program that closes
  /// one and then opens another usually keeps some.
  bool isEmpty() const { return windows_.empty(); }

  bool has(xcb_window_t window) const { return windows_.contains(window); }

  /// Updates the layers. Throws Error.
  void follow();

  /// Returns the windows that are on the screen and have been painted, lowest first.
  const std::vector<Layer>& layers() const { return layers_; }

  /// Returns what the windows drew since the last call, on the root window. Throws Error.
  PixelRects takeDamage();

 private:
  struct Known {
    std::unique_ptr<WindowContent> content;  ///< null: its pixels can never be read
    bool hasAlpha = false;
  };

  void addAllIn(const std::vector<xcb_window_t>& windows);
  void add(xcb_window_t window);
  Known open(xcb_window_t window) const;
  bool putsAway(const xcb_generic_event_t& event) const;
  bool comeOrGo(const xcb_generic_event_t& event);
  bool isOwn(xcb_window_t window) const;
  void readLayers();
  std::optional<Layer> layerOf(xcb_window_t window, xcb_translate_coordinates_cookie_t place) const;

  const Connection& connection_;
  const std::int32_t processID_;
  const bool hasXFixes_;
  const Atoms atoms_;
  std::map<xcb_window_t, Known> windows_;
  std::vector<Layer> layers_;
  bool layersMayDiffer_ = true;
};

/// The picture of one display with the windows of one process on it and black elsewhere, whatever
/// other windows lie over, under or between them. Lives on the capture queue.
class AppSource final : public FrameSource {
 public:
  /// Connects to `server` and finds the display and the process's windows. Throws Error, and
  /// CaptureError (unknownSource) if the process has no windows.
  AppSource(const std::string& server, const Options& options, std::uint32_t displayID,
            std::int32_t processID, bool showsCursor);

  const Connection& connection() const override { return connection_; }
  void handle(const xcb_generic_event_t& event) override;
  bool wantsCapture() const override { return noticed_; }
  std::optional<CapturedFrame> capture() override;

 private:
  void followDisplay();
  PixelRects redraw();
  std::optional<CursorImage> cursor() const;

  Connection connection_;
  const std::uint32_t displayID_;
  MonitorEvents monitors_;
  const bool hasRender_;
  std::unique_ptr<AppWindows> windows_;
  std::optional<Cursor> cursor_;  ///< nullopt: not shown
  std::unique_ptr<AppCanvas> canvas_;
  std::unique_ptr<Picture> picture_;
  std::vector<Layer> drawn_;  ///< as drawn on the canvas
  bool noticed_ = true;       ///< something happened since the last capture
  bool displayMayDiffer_ = true;
  bool isPainted_ = false;  ///< a window has been visible
};

}  // namespace tarvinel::x11

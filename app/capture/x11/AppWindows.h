#pragma once

#include "app/capture/x11/pixels/Layer.h"
#include "app/capture/x11/pixels/WindowContent.h"
#include "app/x11/Atoms.h"
#include "core/support/PixelRect.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// The windows of one process, its menus and dialogs included, followed as they come, go, move and
/// change their order. Must not outlive the connection, on which XFixes and Composite have been
/// negotiated and the root window's substructure and property events are selected.
class AppWindows {
 public:
  /// Throws Error.
  AppWindows(const Connection& connection, std::int32_t processID, bool hasXFixes);

  /// Takes notice of an event; true when there may be something new to see. Throws Error.
  bool handle(const xcb_generic_event_t& event);

  /// True when the process has no window any more, hidden ones counted: a program that closes one
  /// and then opens another usually keeps some.
  bool isEmpty() const { return windows_.empty(); }

  bool has(xcb_window_t window) const { return windows_.contains(window); }

  /// Brings the layers up to date. Throws Error.
  void follow();

  /// The windows that are on the screen and have been painted, lowest first.
  const std::vector<Layer>& layers() const { return layers_; }

  /// What the windows drew since the last call, on the root window. Throws Error.
  std::vector<PixelRect> takeDamage();

 private:
  struct Known {
    std::unique_ptr<WindowContent> content;  ///< null: it never shows anything that can be read
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

}  // namespace tarvinel::x11

#pragma once

#include "app/capture/PixelRect.h"
#include "app/capture/x11/X11Atoms.h"
#include "app/capture/x11/X11Layer.h"
#include "app/capture/x11/X11WindowContent.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel {

class X11Connection;

/// The windows of one process, its menus and dialogs included, followed as they come, go, move and
/// change their order. Must not outlive the connection, on which XFixes and Composite have been
/// negotiated and the root window's substructure and property events are selected.
class X11AppWindows {
 public:
  /// Throws X11Error.
  X11AppWindows(const X11Connection& connection, std::int32_t processID, bool hasXFixes);

  /// Takes notice of an event; true when there may be something new to see. Throws X11Error.
  bool handle(const xcb_generic_event_t& event);

  /// True when the process has no window any more, hidden ones counted: a program that closes one
  /// and then opens another usually keeps some.
  bool isEmpty() const { return windows_.empty(); }

  bool has(xcb_window_t window) const { return windows_.contains(window); }

  /// Brings the layers up to date. Throws X11Error.
  void follow();

  /// The windows that are on the screen and have been painted, lowest first.
  const std::vector<X11Layer>& layers() const { return layers_; }

  /// What the windows drew since the last call, on the root window. Throws X11Error.
  std::vector<PixelRect> takeDamage();

 private:
  struct Known {
    std::unique_ptr<X11WindowContent> content;  ///< null: it never shows anything that can be read
    bool hasAlpha = false;
  };

  void addAllIn(const std::vector<xcb_window_t>& windows);
  void add(xcb_window_t window);
  Known open(xcb_window_t window) const;
  bool putsAway(const xcb_generic_event_t& event) const;
  bool comeOrGo(const xcb_generic_event_t& event);
  bool isOwn(xcb_window_t window) const;
  void readLayers();
  std::optional<X11Layer> layerOf(xcb_window_t window,
                                  xcb_translate_coordinates_cookie_t place) const;

  const X11Connection& connection_;
  const std::int32_t processID_;
  const bool hasXFixes_;
  const X11Atoms atoms_;
  std::map<xcb_window_t, Known> windows_;
  std::vector<X11Layer> layers_;
  bool layersMayDiffer_ = true;
};

}  // namespace tarvinel

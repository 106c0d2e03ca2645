#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel::x11 {

class Connection;

class Connection;

/// Returns the name of the X selection that a tray owns which embeds windows: that of the screen of
/// a display such as ":0.1"; of $DISPLAY for null.
std::string traySelection(const char* display);

/// The atoms that a server has assigned to the names that window managers and programs use. Plain
/// value.
struct Atoms {
  /// Requests all of them at once. Throws Error.
  explicit Atoms(const Connection& connection);

  xcb_atom_t utf8String = XCB_NONE;
  xcb_atom_t compoundText = XCB_NONE;
  xcb_atom_t supportingWmCheck = XCB_NONE;
  xcb_atom_t clientListStacking = XCB_NONE;
  xcb_atom_t wmState = XCB_NONE;
  xcb_atom_t compositingManager = XCB_NONE;  ///< the selection that a compositor owns
  xcb_atom_t workspace = XCB_NONE;           ///< of a window
  xcb_atom_t currentWorkspace = XCB_NONE;    ///< on the root window
  xcb_atom_t name = XCB_NONE;
  xcb_atom_t pid = XCB_NONE;
  xcb_atom_t state = XCB_NONE;
  xcb_atom_t stateHidden = XCB_NONE;
  xcb_atom_t windowType = XCB_NONE;
  xcb_atom_t typeDesktop = XCB_NONE;
  xcb_atom_t typeNormal = XCB_NONE;
  xcb_atom_t typeDialog = XCB_NONE;
  xcb_atom_t frameExtents = XCB_NONE;  ///< of shadows that programs draw themselves
};

/// Returns the atom of one name. Throws Error.
xcb_atom_t internAtom(const Connection& connection, const char* name);

/// The value of a window's property, with its type and format. Plain value.
struct Property {
  xcb_atom_t type = XCB_NONE;
  std::uint8_t format = 0;  ///< bits of one item: 8, 16 or 32
  std::string bytes;

  /// Returns the items of a property of 32 bits; nothing for another.
  std::vector<std::uint32_t> numbers() const;
};

/// Requests a property; a longer one is cut to `maxBytes`. Does not wait.
xcb_get_property_cookie_t requestProperty(const Connection& connection, xcb_window_t window,
                                          xcb_atom_t property, std::uint32_t maxBytes = 1024);

/// Returns the reply, or nullopt if there is no such property or window. Throws Error.
std::optional<Property> receiveProperty(const Connection& connection,
                                        xcb_get_property_cookie_t cookie);

/// Requests and receives a property. Throws Error.
std::optional<Property> readProperty(const Connection& connection, xcb_window_t window,
                                     xcb_atom_t property);

/// Returns the first item of a property of 32 bits, or nullopt if there is none. Pure.
std::optional<std::uint32_t> firstNumber(const std::optional<Property>& property);

}  // namespace tarvinel::x11

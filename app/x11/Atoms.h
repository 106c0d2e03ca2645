#pragma once

#include <xcb/xcb.h>

namespace tarvinel::x11 {

class Connection;

/// The numbers that a server has given to the names that window managers and programs use. Plain
/// value.
struct Atoms {
  /// Asks for all of them at once. Throws Error.
  explicit Atoms(const Connection& connection);

  xcb_atom_t utf8String = XCB_NONE;
  xcb_atom_t compoundText = XCB_NONE;
  xcb_atom_t supportingWmCheck = XCB_NONE;
  xcb_atom_t clientListStacking = XCB_NONE;
  xcb_atom_t wmState = XCB_NONE;
  xcb_atom_t compositingManager = XCB_NONE;  ///< the selection that one owns
  xcb_atom_t workspace = XCB_NONE;           ///< that a window is on
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

/// The number of one name. Throws Error.
xcb_atom_t internAtom(const Connection& connection, const char* name);

}  // namespace tarvinel::x11

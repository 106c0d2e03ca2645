#include "app/x11/Atoms.h"

#include "app/x11/Connection.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel::x11 {

namespace {

xcb_intern_atom_cookie_t ask(const Connection& connection, const char* name) {
  return xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name);
}

}  // namespace

Atoms::Atoms(const Connection& connection) {
  const std::string manager = "_NET_WM_CM_S" + std::to_string(connection.screenNumber());
  const std::vector<std::pair<xcb_atom_t*, const char*>> wanted{
      {&utf8String, "UTF8_STRING"},
      {&compoundText, "COMPOUND_TEXT"},
      {&supportingWmCheck, "_NET_SUPPORTING_WM_CHECK"},
      {&clientListStacking, "_NET_CLIENT_LIST_STACKING"},
      {&wmState, "WM_STATE"},
      {&compositingManager, manager.c_str()},
      {&workspace, "_NET_WM_DESKTOP"},
      {&currentWorkspace, "_NET_CURRENT_DESKTOP"},
      {&name, "_NET_WM_NAME"},
      {&pid, "_NET_WM_PID"},
      {&state, "_NET_WM_STATE"},
      {&stateHidden, "_NET_WM_STATE_HIDDEN"},
      {&windowType, "_NET_WM_WINDOW_TYPE"},
      {&typeDesktop, "_NET_WM_WINDOW_TYPE_DESKTOP"},
      {&typeNormal, "_NET_WM_WINDOW_TYPE_NORMAL"},
      {&typeDialog, "_NET_WM_WINDOW_TYPE_DIALOG"},
      {&frameExtents, "_GTK_FRAME_EXTENTS"},
  };
  std::vector<xcb_intern_atom_cookie_t> cookies;
  cookies.reserve(wanted.size());
  for (const auto& [atom, itsName] : wanted)
    cookies.push_back(ask(connection, itsName));
  for (std::size_t i = 0; i < wanted.size(); ++i)
    *wanted[i].first = connection.reply(xcb_intern_atom_reply, cookies[i])->atom;
}

xcb_atom_t internAtom(const Connection& connection, const char* name) {
  return connection.reply(xcb_intern_atom_reply, ask(connection, name))->atom;
}

}  // namespace tarvinel::x11

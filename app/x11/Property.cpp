#include "app/x11/Property.h"

#include "app/x11/Connection.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel::x11 {

std::vector<std::uint32_t> Property::numbers() const {
  if (format != 32) return {};
  std::vector<std::uint32_t> items(bytes.size() / sizeof(std::uint32_t));
  if (!items.empty()) std::memcpy(items.data(), bytes.data(), items.size() * sizeof items[0]);
  return items;
}

xcb_get_property_cookie_t requestProperty(const Connection& connection, xcb_window_t window,
                                          xcb_atom_t property, std::uint32_t maxBytes) {
  return xcb_get_property(connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                          maxBytes / 4);
}

std::optional<Property> receiveProperty(const Connection& connection,
                                        xcb_get_property_cookie_t cookie) {
  const auto reply = connection.replyIfAny(xcb_get_property_reply, cookie);
  if (!reply || reply->type == XCB_NONE) return std::nullopt;
  const auto sent = static_cast<std::size_t>(reply->length) * 4;
  const auto said = static_cast<std::size_t>(reply->value_len) * (reply->format / 8U);
  const auto* value = static_cast<const char*>(xcb_get_property_value(reply.get()));
  return Property{reply->type, reply->format, std::string(value, std::min(sent, said))};
}

std::optional<Property> readProperty(const Connection& connection, xcb_window_t window,
                                     xcb_atom_t property) {
  return receiveProperty(connection, requestProperty(connection, window, property));
}

std::optional<std::uint32_t> firstNumber(const std::optional<Property>& property) {
  const auto numbers = property ? property->numbers() : std::vector<std::uint32_t>{};
  return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

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

std::string traySelection(const char* display) {
  char* host = nullptr;
  int number = 0;
  int screen = 0;
  if (xcb_parse_display(display, &host, &number, &screen) == 0) screen = 0;
  const XcbPtr<char> hostOwner(host);
  return "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
}

}  // namespace tarvinel::x11

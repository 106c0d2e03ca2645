#include "app/capture/x11/windows/Workspace.h"

#include "app/x11/Connection.h"
#include "app/x11/Property.h"

namespace tarvinel::x11 {

namespace {

bool areOfOneClient(const Connection& connection, xcb_window_t one, xcb_window_t other) {
  const std::uint32_t clientBits = ~xcb_get_setup(connection.get())->resource_id_mask;
  return ((one ^ other) & clientBits) == 0;
}

}  // namespace

std::optional<std::uint32_t> onlyWorkspaceShown(const Connection& connection, const Atoms& atoms) {
  const auto composing = xcb_get_selection_owner(connection.get(), atoms.compositingManager);
  const auto managing = requestProperty(connection, connection.root(), atoms.supportingWmCheck);
  const auto current = requestProperty(connection, connection.root(), atoms.currentWorkspace);
  const xcb_window_t composer = connection.reply(xcb_get_selection_owner_reply, composing)->owner;
  const auto manager = firstNumber(receiveProperty(connection, managing));
  const auto workspace = firstNumber(receiveProperty(connection, current));
  const bool isOne =
      composer != XCB_NONE && manager && areOfOneClient(connection, composer, *manager);
  return isOne ? workspace : std::nullopt;
}

bool isOnAnotherWorkspace(const std::optional<Property>& own, std::optional<std::uint32_t> shown) {
  constexpr std::uint32_t all = 0xFFFFFFFF;
  const auto workspace = firstNumber(own);
  return workspace && shown && *workspace != all && *workspace != *shown;
}

bool isIconic(const std::optional<Property>& state) {
  constexpr std::uint32_t iconicState = 3;
  return firstNumber(state) == iconicState;
}

}  // namespace tarvinel::x11

#include "app/capture/x11/windows/Displays.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <xcb/randr.h>

#include <algorithm>
#include <cstring>

namespace tarvinel::x11 {

namespace {

/// Takes one entry off the front of a monitor list.
xcb_randr_monitor_info_t takeMonitor(std::span<const std::byte>& body) {
  xcb_randr_monitor_info_t info{};
  if (body.size() < sizeof info) throw Error::malformedReply();
  std::memcpy(&info, body.data(), sizeof info);
  const std::size_t length = sizeof info + info.nOutput * sizeof(xcb_randr_output_t);
  if (body.size() < length) throw Error::malformedReply();
  body = body.subspan(length);
  return info;
}

void markMain(std::vector<Display>& displays) {
  auto main = std::find_if(displays.begin(), displays.end(),
                           [](const Display& display) { return display.isMain; });
  if (main == displays.end()) main = displays.begin();
  for (auto display = displays.begin(); display != displays.end(); ++display) {
    display->isMain = display == main;
  }
}

/// Monitor lists came with version 1.5.
bool hasMonitors(const Connection& connection) {
  if (connection.extension(xcb_randr_id) == nullptr) return false;
  const auto version = connection.reply(xcb_randr_query_version_reply,
                                        xcb_randr_query_version(connection.get(), 1, 5));
  return version->major_version > 1 || (version->major_version == 1 && version->minor_version >= 5);
}

std::vector<Display> listMonitors(const Connection& connection, const PixelRect& rootArea) {
  if (!hasMonitors(connection)) return {};
  const auto monitors = connection.reply(
      xcb_randr_get_monitors_reply, xcb_randr_get_monitors(connection.get(), connection.root(), 1));
  const auto* body = reinterpret_cast<const std::byte*>(monitors.get() + 1);
  return parseMonitors({body, static_cast<std::size_t>(monitors->length) * 4}, monitors->nMonitors,
                       rootArea);
}

}  // namespace

std::vector<Display> parseMonitors(std::span<const std::byte> body, std::size_t count,
                                   const PixelRect& rootArea) {
  std::vector<Display> displays;
  for (std::size_t i = 0; i < count; ++i) {
    const auto info = takeMonitor(body);
    const PixelRect area =
        PixelRect{info.x, info.y, info.width, info.height}.intersection(rootArea);
    if (!area.isEmpty()) displays.push_back({info.name, area, info.primary != 0});
  }
  markMain(displays);
  return displays;
}

std::vector<Display> listDisplays(const Connection& connection) {
  const PixelRect rootArea = connection.rootArea();
  auto displays = listMonitors(connection, rootArea);
  if (displays.empty()) displays.push_back({connection.root(), rootArea, true});
  return displays;
}

std::optional<Display> findDisplay(const Connection& connection, std::uint32_t id) {
  const PixelRect rootArea = connection.rootArea();
  for (const Display& display : listMonitors(connection, rootArea)) {
    if (display.id == id) return display;
  }
  // a share of the root window goes on when monitors appear
  if (id == connection.root()) return Display{id, rootArea, true};
  return std::nullopt;
}

Display requireDisplay(const Connection& connection, std::uint32_t id) {
  const auto display = findDisplay(connection, id);
  if (!display) throw Error(Error::Case::displayGone, "the display was disconnected");
  return *display;
}

ShareableDisplay shareableDisplay(const Display& display, int scale) {
  const Rect pixels = display.area.rect();
  return {display.id,
          {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale},
          display.isMain};
}

}  // namespace tarvinel::x11

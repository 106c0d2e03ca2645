#include "app/capture/x11/windows/Displays.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <xcb/randr.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>

namespace tarvinel::x11 {

namespace {

/// Removes the first entry of a monitor list and returns it.
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

/// RandR has monitor lists since version 1.5.
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
  // a share of the root window continues when monitors appear
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

MonitorEvents::MonitorEvents(const Connection& connection, std::uint32_t rootEvents)
    : root_(connection.root()) {
  // monitors defined by hand are announced by nothing but a ConfigureNotify of the root window
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | rootEvents;
  xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
  const auto* randr = connection.extension(xcb_randr_id);
  if (randr == nullptr) return;
  firstEvent_ = randr->first_event;
  xcb_randr_select_input(connection.get(), connection.root(),
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

bool MonitorEvents::isNotification(const xcb_generic_event_t& event) const {
  const int code = eventCode(event);
  if (code == XCB_CONFIGURE_NOTIFY) {
    return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == root_;
  }
  return firstEvent_ && (code == *firstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                         code == *firstEvent_ + XCB_RANDR_NOTIFY);
}

namespace {

constexpr std::string_view blanks = " \t";

std::string_view afterBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(blanks), text.size()));
}

/// Returns the dots per inch that one line of the database sets, or nullopt if it sets none.
std::optional<double> dotsPerInch(std::string_view line) {
  constexpr std::string_view name = "Xft.dpi:";
  line = afterBlanks(line);
  if (!line.starts_with(name)) return std::nullopt;
  line = afterBlanks(line.substr(name.size()));
  double value = 0;
  const auto parsed = std::from_chars(line.data(), line.data() + line.size(), value);
  if (parsed.ec != std::errc() || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace

int scaleFromResources(std::string_view resources) {
  double dpi = 96;
  while (!resources.empty()) {
    const std::size_t end = std::min(resources.find('\n'), resources.size());
    dpi = dotsPerInch(resources.substr(0, end)).value_or(dpi);
    resources.remove_prefix(std::min(end + 1, resources.size()));
  }
  return static_cast<int>(std::clamp(std::round(dpi / 96), 1.0, 3.0));
}

int desktopScale(const Connection& connection) {
  constexpr std::uint32_t words = 65536;  // 256 KiB; desktops have a few hundred bytes
  const auto property =
      connection.reply(xcb_get_property_reply,
                       xcb_get_property(connection.get(), 0, connection.root(),
                                        XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, words));
  const auto sent = static_cast<std::size_t>(property->length) * 4;
  const auto said = static_cast<std::size_t>(property->value_len) * (property->format / 8U);
  return scaleFromResources(
      {static_cast<const char*>(xcb_get_property_value(property.get())), std::min(sent, said)});
}

}  // namespace tarvinel::x11

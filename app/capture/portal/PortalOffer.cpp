#include "app/capture/portal/PortalOffer.h"

#include "app/capture/portal/PortalMessages.h"

#include <string_view>

namespace tarvinel {

namespace {

constexpr std::uint32_t onlyEntry = 1;

// Until the desktop tells the true size: that of most screens.
constexpr Size assumedSize{1920, 1080};

}  // namespace

std::optional<PortalCursorMode> PortalOffer::cursorMode(bool showsCursor) const {
  const auto offered = [this](PortalCursorMode mode) {
    return (cursorModes & static_cast<std::uint32_t>(mode)) != 0;
  };
  if (showsCursor && offered(PortalCursorMode::embedded)) return PortalCursorMode::embedded;
  if (showsCursor && offered(PortalCursorMode::metadata)) return PortalCursorMode::metadata;
  if (offered(PortalCursorMode::hidden)) return PortalCursorMode::hidden;
  return std::nullopt;
}

ShareableContent PortalOffer::entries() const {
  ShareableContent content;
  if (offers(PortalSourceType::display)) {
    content.choices.push_back({ShareableChoice::Kind::display, onlyEntry,
                               "Screen (chosen in the desktop's dialog)", assumedSize});
  }
  if (offers(PortalSourceType::window)) {
    content.choices.push_back({ShareableChoice::Kind::window, onlyEntry,
                               "Window (chosen in the desktop's dialog)", assumedSize});
  }
  return content;
}

PortalOffer PortalOffer::read(sd_bus_message& properties) {
  PortalOffer offer;
  forEachValue(properties, [&](std::string_view name, std::string_view type) {
    if (type != "u") return false;
    const std::uint32_t number = readNumber(properties);
    if (name == "AvailableSourceTypes") offer.sourceTypes = number;
    if (name == "AvailableCursorModes") offer.cursorModes = number;
    if (name == "version") offer.version = number;
    return true;
  });
  return offer;
}

}  // namespace tarvinel

#include "app/capture/portal/PortalOffer.h"

#include "app/capture/portal/PortalMessages.h"

#include <array>
#include <string_view>

namespace tarvinel {

namespace {

// Until the desktop tells the true size: that of most screens.
constexpr Size assumedSize{1920, 1080};

ShareableChoice choice(PortalSourceType type, PortalEntry entry, const char* title) {
  const auto kind = type == PortalSourceType::display ? ShareableChoice::Kind::display
                                                      : ShareableChoice::Kind::window;
  return {kind, static_cast<std::uint32_t>(entry), title, assumedSize};
}

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

ShareableContent PortalOffer::entries(
    const std::function<PortalMemory(PortalSourceType)>& memoryOf) const {
  struct Titles {
    PortalSourceType type;
    const char* first;
    const char* last;
    const char* another;
  };
  constexpr std::array<Titles, 2> all{
      {{PortalSourceType::display, "Screen (chosen in the desktop's dialog)",
        "Screen (the last one chosen)", "Another screen (chosen in the desktop's dialog)"},
       {PortalSourceType::window, "Window (chosen in the desktop's dialog)",
        "Window (the last one chosen)", "Another window (chosen in the desktop's dialog)"}}};
  ShareableContent content;
  for (const Titles& titles : all) {
    if (!offers(titles.type)) continue;
    const PortalMemory memory = remembers() ? memoryOf(titles.type) : PortalMemory::none;
    const bool known = memory == PortalMemory::known;
    content.choices.push_back(
        choice(titles.type, PortalEntry::usual, known ? titles.last : titles.first));
    if (memory == PortalMemory::none) continue;
    content.choices.push_back(choice(titles.type, PortalEntry::another, titles.another));
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

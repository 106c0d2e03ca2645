#include "app/capture/portal/Capabilities.h"

#include "app/capture/portal/Messages.h"

#include <array>
#include <string_view>

namespace tarvinel::portal {

namespace {

// The size of most screens, assumed until the desktop reports the real one.
constexpr Size assumedSize{1920, 1080};

ShareableChoice choice(SourceType type, Entry entry, const char* title) {
  const auto kind =
      type == SourceType::display ? ShareableChoice::Kind::display : ShareableChoice::Kind::window;
  return {kind, static_cast<std::uint32_t>(entry), title, assumedSize};
}

}  // namespace

std::optional<CursorMode> Capabilities::cursorMode(bool showsCursor) const {
  const auto offered = [this](CursorMode mode) {
    return (cursorModes & static_cast<std::uint32_t>(mode)) != 0;
  };
  if (showsCursor && offered(CursorMode::embedded)) return CursorMode::embedded;
  if (showsCursor && offered(CursorMode::metadata)) return CursorMode::metadata;
  if (offered(CursorMode::hidden)) return CursorMode::hidden;
  return std::nullopt;
}

ShareableContent Capabilities::entries(const std::function<Memory(SourceType)>& memoryOf) const {
  struct Titles {
    SourceType type;
    const char* first;
    const char* last;
    const char* another;
  };
  constexpr std::array<Titles, 2> all{
      {{SourceType::display, "Screen (chosen in the desktop's dialog)",
        "Screen (the last one chosen)", "Another screen (chosen in the desktop's dialog)"},
       {SourceType::window, "Window (chosen in the desktop's dialog)",
        "Window (the last one chosen)", "Another window (chosen in the desktop's dialog)"}}};
  ShareableContent content;
  for (const Titles& titles : all) {
    if (!offers(titles.type)) continue;
    const Memory memory = remembers() ? memoryOf(titles.type) : Memory::none;
    const bool known = memory == Memory::known;
    content.choices.push_back(
        choice(titles.type, Entry::usual, known ? titles.last : titles.first));
    if (memory == Memory::none) continue;
    content.choices.push_back(choice(titles.type, Entry::another, titles.another));
  }
  return content;
}

Capabilities Capabilities::read(sd_bus_message& properties) {
  Capabilities offer;
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

}  // namespace tarvinel::portal

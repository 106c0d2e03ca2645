#include "app/capture/portal/StreamInfo.h"

#include "app/capture/portal/Error.h"
#include "app/capture/portal/Messages.h"

#include <systemd/sd-bus.h>

#include <string_view>

namespace tarvinel::portal {

namespace {

std::optional<Size> readSize(sd_bus_message& message) {
  std::int32_t width = 0;
  std::int32_t height = 0;
  if (sd_bus_message_read(&message, "(ii)", &width, &height) <= 0) {
    throw Error(Error::Case::malformedAnswer);
  }
  if (width < 1 || height < 1) return std::nullopt;
  return Size{static_cast<double>(width), static_cast<double>(height)};
}

// One is asked for: any further ones are passed over.
bool readStream(sd_bus_message& message, StreamInfo& grant) {
  if (sd_bus_message_enter_container(&message, 'r', "ua{sv}") <= 0) return false;
  grant.node = readNumber(message);
  forEachValue(message, [&](std::string_view name, std::string_view type) {
    if (name != "size" || type != "(ii)") return false;
    grant.points = readSize(message);
    return true;
  });
  checkMessage(sd_bus_message_exit_container(&message));
  return true;
}

bool readStreams(sd_bus_message& message, StreamInfo& grant) {
  checkMessage(sd_bus_message_enter_container(&message, 'a', "(ua{sv})"));
  const bool found = readStream(message, grant);
  while (sd_bus_message_at_end(&message, 0) == 0)
    checkMessage(sd_bus_message_skip(&message, "(ua{sv})"));
  checkMessage(sd_bus_message_exit_container(&message));
  return found;
}

}  // namespace

StreamInfo StreamInfo::read(sd_bus_message& results) {
  StreamInfo grant;
  bool hasStream = false;
  forEachValue(results, [&](std::string_view name, std::string_view type) {
    if (name == "streams" && type == "a(ua{sv})") {
      hasStream = readStreams(results, grant);
      return true;
    }
    if (name != "restore_token" || type != "s") return false;
    grant.restoreToken = readText(results);
    return true;
  });
  if (!hasStream) throw Error(Error::Case::notStarted);
  return grant;
}

}  // namespace tarvinel::portal

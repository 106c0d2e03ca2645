#include "app/capture/portal/Messages.h"

#include "app/capture/portal/Error.h"

#include <systemd/sd-bus.h>

#include <string_view>

namespace tarvinel::portal {

namespace {

struct OptionWriter {
  sd_bus_message* message;
  const char* name;

  int operator()(std::uint32_t number) const {
    return sd_bus_message_append(message, "{sv}", name, "u", number);
  }
  int operator()(bool flag) const {
    return sd_bus_message_append(message, "{sv}", name, "b", static_cast<int>(flag));
  }
  int operator()(const std::string& text) const {
    return sd_bus_message_append(message, "{sv}", name, "s", text.c_str());
  }
};

using ValueReader = std::function<bool(std::string_view name, const char* type)>;

void readEntry(sd_bus_message& message, const ValueReader& read) {
  const char* name = "";
  checkMessage(sd_bus_message_read_basic(&message, 's', &name));
  const char* contents = nullptr;
  checkMessage(sd_bus_message_peek_type(&message, nullptr, &contents));
  const std::string type = contents != nullptr ? contents : "";
  checkMessage(sd_bus_message_enter_container(&message, 'v', type.c_str()));
  if (!read(name, type.c_str())) checkMessage(sd_bus_message_skip(&message, type.c_str()));
  checkMessage(sd_bus_message_exit_container(&message));
}

}  // namespace

void checkMessage(int outcome) {
  if (outcome < 0) throw Error(Error::Case::malformedAnswer);
}

void appendOptions(sd_bus_message& message, const std::vector<Option>& options) {
  checkMessage(sd_bus_message_open_container(&message, 'a', "{sv}"));
  for (const Option& option : options) {
    checkMessage(std::visit(OptionWriter{&message, option.first}, option.second));
  }
  checkMessage(sd_bus_message_close_container(&message));
}

void forEachValue(sd_bus_message& message, const ValueReader& read) {
  if (sd_bus_message_enter_container(&message, 'a', "{sv}") <= 0) {
    throw Error(Error::Case::malformedAnswer);
  }
  int more = 0;
  while ((more = sd_bus_message_enter_container(&message, 'e', "sv")) > 0) {
    readEntry(message, read);
    checkMessage(sd_bus_message_exit_container(&message));
  }
  checkMessage(more);
  checkMessage(sd_bus_message_exit_container(&message));
}

std::uint32_t readNumber(sd_bus_message& message) {
  std::uint32_t number = 0;
  if (sd_bus_message_read_basic(&message, 'u', &number) <= 0) {
    throw Error(Error::Case::malformedAnswer);
  }
  return number;
}

std::string readText(sd_bus_message& message) {
  const char* text = nullptr;
  if (sd_bus_message_read_basic(&message, 's', &text) <= 0) {
    throw Error(Error::Case::malformedAnswer);
  }
  return text;
}

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

// Only one stream is requested: any others are skipped.
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

#include "app/doctor/NameCheck.h"

#include "core/link/LocalAddresses.h"
#include "core/support/ASCII.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdint>

namespace tarvinel {

namespace {

constexpr const char* avahi = "org.freedesktop.Avahi";
constexpr const char* avahiServer = "org.freedesktop.Avahi.Server";
constexpr std::int32_t unspecified = -1;  // interface or protocol
constexpr std::int32_t ipv4Address = 0;

std::string computerNameOf(BusInquiry& bus) {
  std::string name;
  bus.ask(
      {avahi, "/", avahiServer, "GetHostNameFqdn"}, [](sd_bus_message&) {},
      [&name](sd_bus_message& answer) {
        const char* text = nullptr;
        if (sd_bus_message_read(&answer, "s", &text) > 0) name = text;
      });
  return name;
}

/// Asks the room; that nobody answers takes a while.
std::optional<std::string> addressOf(BusInquiry& bus, const std::string& name) {
  std::optional<std::string> address;
  bus.ask(
      {avahi, "/", avahiServer, "ResolveHostName"},
      [&name](sd_bus_message& question) {
        sd_bus_message_append(&question, "iisiu", unspecified, unspecified, name.c_str(),
                              ipv4Address, 0U);
      },
      [&address](sd_bus_message& answer) {
        const char* text = nullptr;
        if (sd_bus_message_read(&answer, "iisis", nullptr, nullptr, nullptr, nullptr, &text) > 0)
          address = text;
      });
  return address;
}

Finding conflict(const std::string& name, const std::string& holder) {
  return {Finding::State::toBeMended,
          fmt::format("{} is taken in this network, by {}.", name, holder),
          {R"(Set "hostname" in config.json to another name.)"}};
}

}  // namespace

NameFacts NameFacts::of(const std::string& hostname, const std::filesystem::path& sysfs) {
  NameFacts facts{.hostname = hostname};
  if (hostname.empty()) return facts;
  BusInquiry bus(BusInquiry::Bus::system);
  facts.daemonRuns = bus.hasOwner(avahi).value_or(false);
  if (facts.daemonRuns) facts.computerName = computerNameOf(bus);
  facts.bus = bus.state();
  if (!facts.daemonRuns || facts.bus != BusInquiry::State::answers) return facts;
  facts.found = addressOf(bus, hostname + ".local");
  const auto own = LocalAddresses::ipv4(sysfs);
  facts.foundIsOwn = facts.found && std::ranges::find(own, *facts.found) != own.end();
  return facts;
}

Findings judge(const NameFacts& facts) {
  using enum Finding::State;
  if (facts.hostname.empty())
    return {{fine, R"(None is published: "hostname" in the configuration is empty.)"}};
  const std::string name = facts.hostname + ".local";
  if (facts.bus == BusInquiry::State::isSilent) {
    return {{toBeMended,
             fmt::format("{} cannot be published: the Avahi daemon does not answer.", name),
             {"Start it anew: sudo systemctl restart avahi-daemon"}}};
  }
  if (!facts.daemonRuns)
    return {{fine, fmt::format("No Avahi daemon runs: Tarvinel itself answers for {}.", name)}};
  if (asciiLowercased(facts.computerName) == name)
    return {{fine, fmt::format("{} is this computer's own name, which Avahi publishes.", name)}};
  if (facts.found && !facts.foundIsOwn) return {conflict(name, *facts.found)};
  if (facts.found)
    return {{fine, fmt::format("{} leads to this computer already: Tarvinel runs.", name)}};
  return {{fine, fmt::format("The Avahi daemon runs and will publish {}.", name)}};
}

}  // namespace tarvinel

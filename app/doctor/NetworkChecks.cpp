#include "app/doctor/NetworkChecks.h"

#include "core/link/LocalAddresses.h"
#include "core/link/NetlinkPath.h"
#include "core/link/NetworkInfo.h"
#include "core/link/RouteSocket.h"
#include "core/link/SysfsInterfaces.h"
#include "core/support/ASCII.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdint>
#include <system_error>

namespace tarvinel {

namespace {

std::optional<InterfaceType> preferredLink(const SysfsInterfaces& hardware) {
  try {
    const auto types = pathTypes(interfacesByPreference(readNetworkInfo()), hardware);
    if (!types.empty()) return types.front();
  } catch (const std::system_error&) {  // the kernel does not report it
  }
  return std::nullopt;
}

std::string linkText(const std::optional<InterfaceType>& link) {
  if (link == InterfaceType::wiredEthernet) return " Pictures go out by cable.";
  if (link == InterfaceType::wifi) return " Pictures go out by Wi-Fi.";
  if (link == InterfaceType::cellular) return " Pictures go out by a phone or modem.";
  return "";
}

/// Returns what viewers open, as far as it is known: a free port is only chosen at the start.
std::string placeOf(const std::string& host, std::uint16_t port) {
  return port == 0 ? host : LocalAddresses::url(host, port);
}

Finding addressFinding(const AddressProbe& probe, const std::string& address) {
  std::string addresses = placeOf(address, probe.port);
  if (!probe.hostname.empty()) {
    addresses += " or " + placeOf(probe.hostname + ".local", probe.port);
  }
  if (probe.port == 0) addresses += ", with the port that is told at the start";
  return {Finding::State::fine, fmt::format("Viewers open {}.{}", addresses, linkText(probe.link))};
}

/// Returns the addresses that viewers on other networks than the preferred one's have to open.
std::vector<std::string> otherAddresses(const AddressProbe& probe, const std::string& preferred) {
  std::vector<std::string> others;
  for (const auto& [name, address] : probe.interfaces) {
    if (address != preferred) {
      others.push_back(fmt::format("On {}: {}", name, placeOf(address, probe.port)));
    }
  }
  return others;
}

}  // namespace

AddressProbe AddressProbe::of(std::uint16_t port, const std::string& hostname,
                              const std::filesystem::path& sysfs) {
  const SysfsInterfaces hardware(sysfs);
  AddressProbe probe{.port = port,
                     .hostname = hostname,
                     .interfaces = LocalAddresses::interfaces(sysfs),
                     .link = preferredLink(hardware)};
  for (const auto& interface : probe.interfaces)
    probe.hardware.push_back(hardware.hardwareBelow(interface.name));
  return probe;
}

Findings judge(const AddressProbe& probe) {
  using enum Finding::State;
  const auto preferred = LocalAddresses::preferred(probe.interfaces);
  if (!preferred) {
    return {{needsAttention,
             "This computer has no network address: nobody can reach it.",
             {"Plug in a cable, or join the Wi-Fi that the viewers are in."}}};
  }
  Findings findings{addressFinding(probe, *preferred)};
  if (const auto others = otherAddresses(probe, *preferred); !others.empty()) {
    findings.push_back({worthKnowing,
                        "There are more networks here; viewers there open another "
                        "address.",
                        others});
  }
  if (std::ranges::none_of(probe.hardware, [](const auto& type) { return type.has_value(); })) {
    findings.push_back({worthKnowing,
                        "The address is not one of a cable or of Wi-Fi: viewers in the room may "
                        "not reach it.",
                        {"Plug in a cable, or join the Wi-Fi that the viewers are in."}});
  }
  return findings;
}

namespace {

constexpr const char* avahi = "org.freedesktop.Avahi";
constexpr const char* avahiServer = "org.freedesktop.Avahi.Server";
constexpr std::int32_t unspecified = -1;  // interface or protocol
constexpr std::int32_t ipv4Address = 0;

std::string computerNameOf(BusInquiry& bus) {
  std::string name;
  bus.ask(
      {avahi, "/", avahiServer, "GetHostNameFqdn"}, [](sd_bus_message&) {},
      [&name](sd_bus_message& reply) {
        const char* text = nullptr;
        if (sd_bus_message_read(&reply, "s", &text) > 0) name = text;
      });
  return name;
}

/// Resolves a name in the network; if nobody replies, this takes a while.
std::optional<std::string> addressOf(BusInquiry& bus, const std::string& name) {
  std::optional<std::string> address;
  bus.ask(
      {avahi, "/", avahiServer, "ResolveHostName"},
      [&name](sd_bus_message& question) {
        sd_bus_message_append(&question, "iisiu", unspecified, unspecified, name.c_str(),
                              ipv4Address, 0U);
      },
      [&address](sd_bus_message& reply) {
        const char* text = nullptr;
        if (sd_bus_message_read(&reply, "iisis", nullptr, nullptr, nullptr, nullptr, &text) > 0)
          address = text;
      });
  return address;
}

Finding conflict(const std::string& name, const std::string& holder) {
  return {Finding::State::needsAttention,
          fmt::format("{} is taken in this network, by {}.", name, holder),
          {R"(Set "hostname" in config.json to another name.)"}};
}

}  // namespace

NameProbe NameProbe::of(const std::string& hostname, const std::filesystem::path& sysfs) {
  NameProbe probe{.hostname = hostname};
  if (hostname.empty()) return probe;
  BusInquiry bus(BusInquiry::Bus::system);
  probe.daemonRuns = bus.hasOwner(avahi).value_or(false);
  if (probe.daemonRuns) probe.computerName = computerNameOf(bus);
  probe.bus = bus.state();
  if (!probe.daemonRuns || probe.bus != BusInquiry::State::replies) return probe;
  probe.found = addressOf(bus, hostname + ".local");
  const auto own = LocalAddresses::ipv4(sysfs);
  probe.foundIsOwn = probe.found && std::ranges::find(own, *probe.found) != own.end();
  return probe;
}

Findings judge(const NameProbe& probe) {
  using enum Finding::State;
  if (probe.hostname.empty())
    return {{fine, R"(None is published: "hostname" in the configuration is empty.)"}};
  const std::string name = probe.hostname + ".local";
  if (probe.bus == BusInquiry::State::isSilent) {
    return {{needsAttention,
             fmt::format("{} cannot be published: the Avahi daemon does not answer.", name),
             {"Restart it: sudo systemctl restart avahi-daemon"}}};
  }
  if (!probe.daemonRuns)
    return {{fine, fmt::format("No Avahi daemon runs: Tarvinel itself answers for {}.", name)}};
  if (asciiLowercased(probe.computerName) == name)
    return {{fine, fmt::format("{} is this computer's own name, which Avahi publishes.", name)}};
  if (probe.found && !probe.foundIsOwn) return {conflict(name, *probe.found)};
  if (probe.found)
    return {{fine, fmt::format("{} leads to this computer already: Tarvinel runs.", name)}};
  return {{fine, fmt::format("The Avahi daemon runs and will publish {}.", name)}};
}

}  // namespace tarvinel

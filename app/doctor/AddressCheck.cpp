#include "app/doctor/AddressCheck.h"

#include "core/link/NetlinkPath.h"
#include "core/link/NetworkFacts.h"
#include "core/link/RouteSocket.h"
#include "core/link/SysfsInterfaces.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

namespace tarvinel {

namespace {

std::optional<InterfaceType> preferredLink(const SysfsInterfaces& hardware) {
  try {
    const auto types = pathTypes(interfacesByPreference(readNetworkFacts()), hardware);
    if (!types.empty()) return types.front();
  } catch (const std::system_error&) {  // the kernel does not tell
  }
  return std::nullopt;
}

std::string linkText(const std::optional<InterfaceType>& link) {
  if (link == InterfaceType::wiredEthernet) return " Pictures go out by cable.";
  if (link == InterfaceType::wifi) return " Pictures go out by Wi-Fi.";
  if (link == InterfaceType::cellular) return " Pictures go out by a phone or modem.";
  return "";
}

/// What viewers open, as far as it is known: which port is free shows only at the start.
std::string placeOf(const std::string& host, std::uint16_t port) {
  return port == 0 ? host : LocalAddresses::url(host, port);
}

Finding addressFinding(const AddressFacts& facts, const std::string& address) {
  std::string addresses = placeOf(address, facts.port);
  if (!facts.hostname.empty()) {
    addresses += " or " + placeOf(facts.hostname + ".local", facts.port);
  }
  if (facts.port == 0) addresses += ", with the port that is told at the start";
  return {Finding::State::fine, fmt::format("Viewers open {}.{}", addresses, linkText(facts.link))};
}

/// Those that viewers on other networks than the preferred one would have to open.
std::vector<std::string> otherAddresses(const AddressFacts& facts, const std::string& preferred) {
  std::vector<std::string> others;
  for (const auto& [name, address] : facts.interfaces) {
    if (address != preferred) {
      others.push_back(fmt::format("On {}: {}", name, placeOf(address, facts.port)));
    }
  }
  return others;
}

}  // namespace

AddressFacts AddressFacts::of(std::uint16_t port, const std::string& hostname,
                              const std::filesystem::path& sysfs) {
  const SysfsInterfaces hardware(sysfs);
  AddressFacts facts{.port = port,
                     .hostname = hostname,
                     .interfaces = LocalAddresses::interfaces(sysfs),
                     .link = preferredLink(hardware)};
  for (const auto& interface : facts.interfaces)
    facts.hardware.push_back(hardware.hardwareBelow(interface.name));
  return facts;
}

Findings judge(const AddressFacts& facts) {
  using enum Finding::State;
  const auto preferred = LocalAddresses::preferred(facts.interfaces);
  if (!preferred) {
    return {{toBeMended,
             "This computer has no network address: nobody can reach it.",
             {"Plug in a cable, or join the Wi-Fi that the viewers are in."}}};
  }
  Findings findings{addressFinding(facts, *preferred)};
  if (const auto others = otherAddresses(facts, *preferred); !others.empty()) {
    findings.push_back({worthKnowing,
                        "There are more networks here; viewers there open another "
                        "address.",
                        others});
  }
  if (std::ranges::none_of(facts.hardware, [](const auto& type) { return type.has_value(); })) {
    findings.push_back({worthKnowing,
                        "The address is not one of a cable or of Wi-Fi: viewers in the room may "
                        "not reach it.",
                        {"Plug in a cable, or join the Wi-Fi that the viewers are in."}});
  }
  return findings;
}

}  // namespace tarvinel

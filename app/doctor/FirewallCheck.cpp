#include "app/doctor/FirewallCheck.h"

#include "app/doctor/BusInquiry.h"
#include "core/link/LocalAddresses.h"
#include "core/support/Bytes.h"
#include "core/support/PortNumber.h"
#include "core/support/RegularFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace tarvinel {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxRulesBytes = std::size_t{1} << 20U;
constexpr const char* firewalld = "org.fedoraproject.FirewallD1";
constexpr const char* firewalldZones = "org.fedoraproject.FirewallD1.zone";

/// Returns a file's text, or nullopt if it cannot be read.
std::optional<std::string> systemText(const fs::path& file) {
  try {
    return std::string(textOf(readRegularFile(file, maxRulesBytes)));
  } catch (const FileReadError&) {
    return std::nullopt;
  }
}

bool hasLine(const std::optional<std::string>& text, std::string_view wanted) {
  if (!text) return false;
  std::istringstream lines(*text);
  for (std::string line; std::getline(lines, line);) {
    if (line == wanted) return true;
  }
  return false;
}

bool existsBelow(const fs::path& root, std::string_view file) {
  std::error_code unreachable;
  const auto status = fs::symlink_status(root / file, unreachable);
  return fs::exists(status);
}

/// Returns whether one of ufw's ranges, such as "80" or "8000:8100", contains the port.
bool rangeHas(std::string_view range, std::uint16_t port) {
  const auto colon = range.find(':');
  const auto first = portNumber(range.substr(0, colon));
  const auto last = colon == std::string_view::npos ? first : portNumber(range.substr(colon + 1));
  return first && last && *first <= port && port <= *last;
}

bool portsHave(const std::string& ports, std::uint16_t port) {
  if (ports == "any") return true;
  std::istringstream ranges(ports);
  for (std::string range; std::getline(ranges, range, ',');) {
    if (rangeHas(range, port)) return true;
  }
  return false;
}

/// Parses a rule as ufw stores it: ### tuple ### action protocol ports destination ports source ...
bool ruleLetsIn(const std::string& line, std::uint16_t port) {
  constexpr std::string_view mark = "### tuple ### ";
  if (!line.starts_with(mark)) return false;
  std::istringstream fields(line.substr(mark.size()));
  std::string action;
  std::string protocol;
  std::string ports;
  std::string destination;
  std::string fromPorts;
  std::string source;
  fields >> action >> protocol >> ports >> destination >> fromPorts >> source;
  return action == "allow" && (protocol == "tcp" || protocol == "any") && source == "0.0.0.0/0" &&
         portsHave(ports, port);
}

void queryUfw(FirewallProbe& probe, const fs::path& root) {
  probe.ufwIsOn = hasLine(systemText(root / "etc/ufw/ufw.conf"), "ENABLED=yes");
  if (!probe.ufwIsOn) return;
  const auto defaults = systemText(root / "etc/default/ufw");
  if (hasLine(defaults, R"(DEFAULT_INPUT_POLICY="ACCEPT")")) probe.ufwLetsIn = true;
  const auto rules = systemText(root / "etc/ufw/user.rules");
  if (!probe.ufwLetsIn && rules) probe.ufwLetsIn = ufwRulesLetIn(*rules, probe.port);
}

/// Returns a method of firewalld's object, in its main interface or in the one for zones.
BusInquiry::Method firewalldMethod(const char* interface, const char* member) {
  return {firewalld, "/org/fedoraproject/FirewallD1", interface, member};
}

/// Returns the network interface that viewers reach, or an empty name if there is none.
std::string viewersInterface(const fs::path& sysfs) {
  const auto interfaces = LocalAddresses::interfaces(sysfs);
  const auto best = LocalAddresses::preferred(interfaces);
  for (const auto& interface : interfaces) {
    if (interface.address == best) return interface.name;
  }
  return {};
}

/// Returns the zone of this interface, or the default zone.
std::string zoneOf(BusInquiry& bus, const std::string& interface) {
  const auto own =
      bus.queryText(firewalldMethod(firewalldZones, "getZoneOfInterface"), {interface});
  if (own && !own->empty()) return *own;
  return bus.queryText(firewalldMethod(firewalld, "getDefaultZone"), {}).value_or("");
}

/// Returns whether a zone lets in a port, or the service for it; nullopt if firewalld does not say:
/// on desktops everyone can query it, on servers only root.
std::optional<bool> zoneLetsIn(BusInquiry& bus, const std::string& zone,
                               const std::vector<std::string>& port, const char* service) {
  if (zone == "trusted") return true;  // it accepts everything, and lists nothing
  std::vector<std::string> question{zone};
  question.insert(question.end(), port.begin(), port.end());
  const auto open = bus.queryBoolean(firewalldMethod(firewalldZones, "queryPort"), question);
  if (open != false || service == nullptr) return open;
  return bus.queryBoolean(firewalldMethod(firewalldZones, "queryService"), {zone, service});
}

void queryFirewalld(FirewallProbe& probe, const fs::path& sysfs) {
  constexpr std::uint16_t webPort = 80;
  BusInquiry bus(BusInquiry::Bus::system);
  probe.firewalldRuns = bus.hasOwner(firewalld).value_or(false);
  if (!probe.firewalldRuns) return;
  const std::string zone = zoneOf(bus, viewersInterface(sysfs));
  probe.firewalldZone = zone;
  probe.firewalldLetsIn = zoneLetsIn(bus, zone, {std::to_string(probe.port), "tcp"},
                                     probe.port == webPort ? "http" : nullptr);
  probe.firewalldLetsNamesIn = zoneLetsIn(bus, zone, {"5353", "udp"}, "mdns");
}

Finding ufwFinding(const FirewallProbe& probe) {
  using enum Finding::State;
  if (probe.ufwLetsIn == true)
    return {fine, fmt::format("ufw is on and lets viewers in at port {}.", probe.port)};
  const auto advice = fmt::format("Let viewers in: sudo ufw allow {}/tcp", probe.port);
  if (probe.ufwLetsIn == false) {
    return {needsAttention,
            fmt::format("ufw is on and keeps viewers out of port {}.", probe.port),
            {advice}};
  }
  return {worthKnowing,
          "ufw is on; which ports it lets in only root can see.",
          {"See: sudo ufw status", advice}};
}

/// Returns the command that lets something through firewalld permanently.
std::string letIn(const FirewallProbe& probe, std::string_view what) {
  return fmt::format(
      "sudo firewall-cmd --permanent --zone={} --add-{} && sudo firewall-cmd --reload",
      probe.firewalldZone, what);
}

Findings firewalldFindings(const FirewallProbe& probe) {
  using enum Finding::State;
  const auto viewers = "Let viewers in: " + letIn(probe, fmt::format("port={}/tcp", probe.port));
  const auto names = "Let the name be found: " + letIn(probe, "service=mdns");
  if (!probe.firewalldLetsIn) {
    return {{worthKnowing,
             "firewalld runs; which ports it lets in only root can see.",
             {fmt::format("See: sudo firewall-cmd --zone={} --list-all", probe.firewalldZone),
              viewers, names}}};
  }
  Findings findings;
  if (*probe.firewalldLetsIn) {
    findings.push_back(
        {fine, fmt::format("firewalld runs and lets viewers in at port {}.", probe.port)});
  } else {
    findings.push_back({needsAttention,
                        fmt::format("firewalld runs, and its zone {} keeps viewers out of port {}.",
                                    probe.firewalldZone, probe.port),
                        {viewers}});
  }
  if (probe.hasName && probe.firewalldLetsNamesIn == false) {
    findings.push_back({worthKnowing,
                        fmt::format("The zone {} of firewalld keeps out who looks for the name; "
                                    "the address with numbers works.",
                                    probe.firewalldZone),
                        {names}});
  }
  return findings;
}

bool hasFirewall(const FirewallProbe& probe) {
  return probe.ufwIsOn || probe.firewalldRuns || probe.rulesAreLoaded;
}

}  // namespace

FirewallProbe FirewallProbe::of(const TarvinelConfig& settings, const fs::path& root,
                                const fs::path& sysfs) {
  FirewallProbe probe{.port = settings.port, .hasName = !settings.hostname.empty()};
  queryUfw(probe, root);
  queryFirewalld(probe, sysfs);
  probe.rulesAreLoaded =
      existsBelow(root, "etc/systemd/system/sysinit.target.wants/nftables.service") ||
      existsBelow(root, "etc/iptables/rules.v4");
  return probe;
}

Findings judge(const FirewallProbe& probe) {
  if (!hasFirewall(probe)) {
    return {
        {Finding::State::fine, "None is set up here, as far as can be told without being root."}};
  }
  if (probe.port == 0) {
    return {{Finding::State::worthKnowing,
             "There is one, and which port it would have to let in shows only at the start.",
             {"Ask for one port, such as --port 8080, and look again."}}};
  }
  Findings findings;
  if (probe.ufwIsOn) findings.push_back(ufwFinding(probe));
  if (probe.firewalldRuns)
    std::ranges::move(firewalldFindings(probe), std::back_inserter(findings));
  if (probe.rulesAreLoaded) {
    findings.push_back(
        {Finding::State::worthKnowing,
         "Firewall rules are loaded at start (nftables or iptables); which, only "
         "root can see.",
         {"See: sudo nft list ruleset",
          fmt::format("Viewers need TCP port {}, names need UDP port 5353.", probe.port)}});
  }
  return findings;
}

bool ufwRulesLetIn(std::string_view rules, std::uint16_t port) {
  std::istringstream lines{std::string(rules)};
  for (std::string line; std::getline(lines, line);) {
    if (ruleLetsIn(line, port)) return true;
  }
  return false;
}

}  // namespace tarvinel

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

/// Nothing when it cannot be read.
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

/// Whether one of ufw's ranges, such as "80" or "8000:8100", has the port.
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

/// One rule as ufw notes it down: ### tuple ### action protocol ports destination ports source ...
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

void askUfw(FirewallFacts& facts, const fs::path& root) {
  facts.ufwIsOn = hasLine(systemText(root / "etc/ufw/ufw.conf"), "ENABLED=yes");
  if (!facts.ufwIsOn) return;
  const auto defaults = systemText(root / "etc/default/ufw");
  if (hasLine(defaults, R"(DEFAULT_INPUT_POLICY="ACCEPT")")) facts.ufwLetsIn = true;
  const auto rules = systemText(root / "etc/ufw/user.rules");
  if (!facts.ufwLetsIn && rules) facts.ufwLetsIn = ufwRulesLetIn(*rules, facts.port);
}

/// A method of firewalld: of its object itself, or of the interface that has the zones.
BusInquiry::Method firewalldMethod(const char* interface, const char* member) {
  return {firewalld, "/org/fedoraproject/FirewallD1", interface, member};
}

/// The network card that viewers come in by; empty when there is none.
std::string viewersInterface(const fs::path& sysfs) {
  const auto interfaces = LocalAddresses::interfaces(sysfs);
  const auto best = LocalAddresses::preferred(interfaces);
  for (const auto& interface : interfaces) {
    if (interface.address == best) return interface.name;
  }
  return {};
}

/// The zone that such a card is in: one of its own, or the default one.
std::string zoneOf(BusInquiry& bus, const std::string& interface) {
  const auto own = bus.askText(firewalldMethod(firewalldZones, "getZoneOfInterface"), {interface});
  if (own && !own->empty()) return *own;
  return bus.askText(firewalldMethod(firewalld, "getDefaultZone"), {}).value_or("");
}

/// Whether a zone lets a port in, or the service that stands for it. Nothing when it is not told:
/// desktops tell everyone, servers only root.
std::optional<bool> zoneLetsIn(BusInquiry& bus, const std::string& zone,
                               const std::vector<std::string>& port, const char* service) {
  if (zone == "trusted") return true;  // it takes everything, and lists nothing
  std::vector<std::string> question{zone};
  question.insert(question.end(), port.begin(), port.end());
  const auto open = bus.askBoolean(firewalldMethod(firewalldZones, "queryPort"), question);
  if (open != false || service == nullptr) return open;
  return bus.askBoolean(firewalldMethod(firewalldZones, "queryService"), {zone, service});
}

void askFirewalld(FirewallFacts& facts, const fs::path& sysfs) {
  constexpr std::uint16_t webPort = 80;
  BusInquiry bus(BusInquiry::Bus::system);
  facts.firewalldRuns = bus.hasOwner(firewalld).value_or(false);
  if (!facts.firewalldRuns) return;
  const std::string zone = zoneOf(bus, viewersInterface(sysfs));
  facts.firewalldZone = zone;
  facts.firewalldLetsIn = zoneLetsIn(bus, zone, {std::to_string(facts.port), "tcp"},
                                     facts.port == webPort ? "http" : nullptr);
  facts.firewalldLetsNamesIn = zoneLetsIn(bus, zone, {"5353", "udp"}, "mdns");
}

Finding ufwFinding(const FirewallFacts& facts) {
  using enum Finding::State;
  if (facts.ufwLetsIn == true)
    return {fine, fmt::format("ufw is on and lets viewers in at port {}.", facts.port)};
  const auto advice = fmt::format("Let viewers in: sudo ufw allow {}/tcp", facts.port);
  if (facts.ufwLetsIn == false) {
    return {toBeMended,
            fmt::format("ufw is on and keeps viewers out of port {}.", facts.port),
            {advice}};
  }
  return {worthKnowing,
          "ufw is on; which ports it lets in only root can see.",
          {"See: sudo ufw status", advice}};
}

/// The command that has firewalld let something in from now on.
std::string letIn(const FirewallFacts& facts, std::string_view what) {
  return fmt::format(
      "sudo firewall-cmd --permanent --zone={} --add-{} && sudo firewall-cmd --reload",
      facts.firewalldZone, what);
}

Findings firewalldFindings(const FirewallFacts& facts) {
  using enum Finding::State;
  const auto viewers = "Let viewers in: " + letIn(facts, fmt::format("port={}/tcp", facts.port));
  const auto names = "Let the name be found: " + letIn(facts, "service=mdns");
  if (!facts.firewalldLetsIn) {
    return {{worthKnowing,
             "firewalld runs; which ports it lets in only root can see.",
             {fmt::format("See: sudo firewall-cmd --zone={} --list-all", facts.firewalldZone),
              viewers, names}}};
  }
  Findings findings;
  if (*facts.firewalldLetsIn) {
    findings.push_back(
        {fine, fmt::format("firewalld runs and lets viewers in at port {}.", facts.port)});
  } else {
    findings.push_back({toBeMended,
                        fmt::format("firewalld runs, and its zone {} keeps viewers out of port {}.",
                                    facts.firewalldZone, facts.port),
                        {viewers}});
  }
  if (facts.hasName && facts.firewalldLetsNamesIn == false) {
    findings.push_back({worthKnowing,
                        fmt::format("The zone {} of firewalld keeps out who looks for the name; "
                                    "the address with numbers works.",
                                    facts.firewalldZone),
                        {names}});
  }
  return findings;
}

bool hasFirewall(const FirewallFacts& facts) {
  return facts.ufwIsOn || facts.firewalldRuns || facts.rulesAreLoaded;
}

}  // namespace

FirewallFacts FirewallFacts::of(const TarvinelConfig& settings, const fs::path& root,
                                const fs::path& sysfs) {
  FirewallFacts facts{.port = settings.port, .hasName = !settings.hostname.empty()};
  askUfw(facts, root);
  askFirewalld(facts, sysfs);
  facts.rulesAreLoaded =
      existsBelow(root, "etc/systemd/system/sysinit.target.wants/nftables.service") ||
      existsBelow(root, "etc/iptables/rules.v4");
  return facts;
}

Findings judge(const FirewallFacts& facts) {
  if (!hasFirewall(facts)) {
    return {
        {Finding::State::fine, "None is set up here, as far as can be told without being root."}};
  }
  if (facts.port == 0) {
    return {{Finding::State::worthKnowing,
             "There is one, and which port it would have to let in shows only at the start.",
             {"Ask for one port, such as --port 8080, and look again."}}};
  }
  Findings findings;
  if (facts.ufwIsOn) findings.push_back(ufwFinding(facts));
  if (facts.firewalldRuns)
    std::ranges::move(firewalldFindings(facts), std::back_inserter(findings));
  if (facts.rulesAreLoaded) {
    findings.push_back(
        {Finding::State::worthKnowing,
         "Firewall rules are loaded at start (nftables or iptables); which, only "
         "root can see.",
         {"See: sudo nft list ruleset",
          fmt::format("Viewers need TCP port {}, names need UDP port 5353.", facts.port)}});
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

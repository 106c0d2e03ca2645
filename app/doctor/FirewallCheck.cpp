#include "app/doctor/FirewallCheck.h"

#include "app/doctor/BusInquiry.h"
#include "core/support/Bytes.h"
#include "core/support/RegularFile.h"

#include <fmt/format.h>

#include <charconv>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace tarvinel {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxRulesBytes = std::size_t{1} << 20U;
constexpr const char* firewalld = "org.fedoraproject.FirewallD1";

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

std::optional<std::uint16_t> portNumber(std::string_view text) {
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
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

void askFirewalld(FirewallFacts& facts) {
  BusInquiry bus(BusInquiry::Bus::system);
  facts.firewalldRuns = bus.hasOwner(firewalld).value_or(false);
  if (!facts.firewalldRuns) return;
  facts.firewalldLetsIn = bus.askBoolean({firewalld, "/org/fedoraproject/FirewallD1",
                                          "org.fedoraproject.FirewallD1.zone", "queryPort"},
                                         {"", std::to_string(facts.port), "tcp"});
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

Finding firewalldFinding(const FirewallFacts& facts) {
  using enum Finding::State;
  if (facts.firewalldLetsIn == true)
    return {fine, fmt::format("firewalld runs and lets viewers in at port {}.", facts.port)};
  const auto advice = fmt::format(
      "Let viewers in: sudo firewall-cmd --permanent --add-port={}/tcp && sudo "
      "firewall-cmd --reload",
      facts.port);
  if (facts.firewalldLetsIn == false) {
    return {toBeMended,
            fmt::format("firewalld runs, and its default zone keeps viewers out of port {}.",
                        facts.port),
            {advice}};
  }
  return {worthKnowing,
          "firewalld runs; which ports it lets in cannot be told.",
          {"See: sudo firewall-cmd --list-all", advice}};
}

}  // namespace

FirewallFacts FirewallFacts::of(std::uint16_t port, const fs::path& root) {
  FirewallFacts facts{.port = port};
  askUfw(facts, root);
  askFirewalld(facts);
  facts.rulesAreLoaded =
      existsBelow(root, "etc/systemd/system/sysinit.target.wants/nftables.service") ||
      existsBelow(root, "etc/iptables/rules.v4");
  return facts;
}

Findings judge(const FirewallFacts& facts) {
  Findings findings;
  if (facts.ufwIsOn) findings.push_back(ufwFinding(facts));
  if (facts.firewalldRuns) findings.push_back(firewalldFinding(facts));
  if (facts.rulesAreLoaded) {
    findings.push_back(
        {Finding::State::worthKnowing,
         "Firewall rules are loaded at start (nftables or iptables); which, only "
         "root can see.",
         {"See: sudo nft list ruleset",
          fmt::format("Viewers need TCP port {}, names need UDP port 5353.", facts.port)}});
  }
  if (findings.empty()) {
    findings.push_back(
        {Finding::State::fine, "None is set up here, as far as can be told without being root."});
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

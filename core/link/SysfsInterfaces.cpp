#include "core/link/SysfsInterfaces.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace tarvinel {

namespace {

using std::filesystem::path;

constexpr std::string_view lowerPrefix = "lower_";
constexpr std::string_view ethernetType = "1";  // ARPHRD_ETHER

bool isThere(const path& file) {
  std::error_code unreadable;
  return std::filesystem::exists(file, unreadable);
}

std::string firstLine(const path& file) {
  std::string line;
  std::ifstream stream(file);
  std::getline(stream, line);
  return line;
}

/// Returns the kernel's name for the kind of device, such as "wlan", or "" for an ordinary one.
std::string deviceType(const path& interface) {
  constexpr std::string_view key = "DEVTYPE=";
  std::ifstream lines(interface / "uevent");
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(key)) return line.substr(key.size());
  }
  return {};
}

std::string driver(const path& interface) {
  std::error_code none;
  return std::filesystem::read_symlink(interface / "device/driver", none).filename();
}

// Other drivers (cdc_ether, cdc_ncm) are not listed: adapters and docking stations use them, too.
bool isPhone(const path& interface) {
  const std::string name = driver(interface);
  return name == "rndis_host" || name == "ipheth";
}

std::vector<std::string> entriesOf(const path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    names.push_back(entry->path().filename());
  }
  return names;
}

/// Returns the interfaces directly below one.
std::vector<std::string> directlyBelow(const path& interface) {
  // of a bond that uses one interface at a time, only the active one counts
  const std::string active = firstLine(interface / "bonding/active_slave");
  if (!active.empty()) return {active};
  std::vector<std::string> names = entriesOf(interface / "brif");
  for (const std::string& entry : entriesOf(interface)) {
    if (entry.starts_with(lowerPrefix)) names.push_back(entry.substr(lowerPrefix.size()));
  }
  return names;
}

}  // namespace

std::optional<InterfaceType> SysfsInterfaces::hardwareBelow(const std::string& name) const {
  std::optional<InterfaceType> found;
  std::set<std::string> seen;
  std::vector<std::string> pending{name};
  while (!pending.empty()) {
    const std::string current = std::move(pending.back());
    pending.pop_back();
    if (!seen.insert(current).second) continue;
    if (const auto own = ownHardware(folder_ / current)) {
      found = std::min(*own, found.value_or(*own));
    } else {
      std::ranges::move(directlyBelow(folder_ / current), std::back_inserter(pending));
    }
  }
  return found;
}

std::optional<InterfaceType> SysfsInterfaces::ownHardware(const path& interface) const {
  const std::string type = deviceType(interface);
  if (type == "wlan" || isThere(interface / "wireless") || isThere(interface / "phy80211")) {
    return InterfaceType::wifi;
  }
  if (!isThere(interface / "device")) return std::nullopt;
  if (type == "wwan" || isPhone(interface)) return InterfaceType::cellular;
  const bool isEthernet = type != "bluetooth" && firstLine(interface / "type") == ethernetType;
  return isEthernet ? InterfaceType::wiredEthernet : InterfaceType::other;
}

}  // namespace tarvinel

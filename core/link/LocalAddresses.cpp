#include "core/link/LocalAddresses.h"

#include "core/link/SysfsInterfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

namespace tarvinel {

namespace {

using AddressList = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;

AddressList systemAddresses() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) list = nullptr;
  return {list, &freeifaddrs};
}

bool isUsable(const ifaddrs& entry) {
  return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET &&
         (entry.ifa_flags & IFF_UP) != 0 && (entry.ifa_flags & IFF_LOOPBACK) == 0;
}

/// Returns "" if the address cannot be written as a number.
std::string numericHost(const sockaddr& address) {
  std::array<char, NI_MAXHOST> host{};
  const int failed = getnameinfo(&address, sizeof(sockaddr_in), host.data(), host.size(), nullptr,
                                 0, NI_NUMERICHOST);
  return failed == 0 ? host.data() : "";
}

// Nobody in the room can reach a loopback or a self-assigned address.
bool isReachable(std::string_view address) {
  return !address.empty() && !address.starts_with("127.") && !address.starts_with("169.254.");
}

std::vector<LocalAddresses::Interface> usableInterfaces(const ifaddrs* list) {
  std::vector<LocalAddresses::Interface> found;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (!isUsable(*entry)) continue;
    const std::string address = numericHost(*entry->ifa_addr);
    if (isReachable(address)) found.push_back({entry->ifa_name, address});
  }
  return found;
}

/// Returns the names of the interfaces with a peer at the other end.
std::set<std::string> carryingInterfaces(const ifaddrs* list) {
  std::set<std::string> names;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if ((entry->ifa_flags & IFF_RUNNING) != 0) names.insert(entry->ifa_name);
  }
  return names;
}

// A phone's cable reaches at most those who use the phone as their access point. An unplugged cable
// reaches nobody, though its address may stay. What connects containers or virtual machines, and
// the peer of a tunnel, are always out of the room's reach.
int distanceFromTheRoom(const std::optional<InterfaceType>& hardware, bool carries) {
  if (!hardware) return carries ? 4 : 5;
  return (*hardware == InterfaceType::cellular ? 1 : 0) + (carries ? 0 : 2);
}

int rank(std::string_view name) {
  if (name == "en0") return 0;
  if (name.starts_with("en")) return 1;
  if (name.starts_with("bridge")) return 2;
  return 3;
}

}  // namespace

std::vector<LocalAddresses::Interface> LocalAddresses::interfaces(
    const std::filesystem::path& sysfs) {
  const SysfsInterfaces hardware(sysfs);
  const AddressList list = systemAddresses();
  const std::set<std::string> carrying = carryingInterfaces(list.get());
  return nearest(usableInterfaces(list.get()), [&](const std::string& name) {
    return distanceFromTheRoom(hardware.hardwareBelow(name), carrying.contains(name));
  });
}

std::vector<std::string> LocalAddresses::ipv4(const std::filesystem::path& sysfs) {
  std::vector<std::string> addresses;
  for (const Interface& entry : interfaces(sysfs))
    addresses.push_back(entry.address);
  return addresses;
}

std::vector<LocalAddresses::Interface> LocalAddresses::nearest(
    std::vector<Interface> from, const std::function<int(const std::string&)>& distance) {
  if (from.empty()) return from;
  std::map<std::string, int> distances;
  for (const Interface& entry : from) {
    if (!distances.contains(entry.name)) distances[entry.name] = distance(entry.name);
  }
  const auto least =
      std::ranges::min_element(distances, {}, [](const auto& d) { return d.second; });
  std::erase_if(from,
                [&](const Interface& entry) { return distances.at(entry.name) > least->second; });
  return from;
}

std::optional<std::string> LocalAddresses::preferred(std::vector<Interface> from) {
  if (from.empty()) return std::nullopt;
  std::ranges::stable_sort(from, [](const Interface& a, const Interface& b) {
    return std::pair(rank(a.name), std::string_view(a.name)) <
           std::pair(rank(b.name), std::string_view(b.name));
  });
  return from.front().address;
}

std::optional<std::string> LocalAddresses::preferredHost(const std::filesystem::path& sysfs) {
  return preferred(interfaces(sysfs));
}

std::string LocalAddresses::url(std::string_view host, std::uint16_t port) {
  std::string url = std::string("http://").append(host);
  if (port != 80) url.append(":").append(std::to_string(port));
  return url.append("/");
}

namespace {

/// Returns the names that follow the address in a line.
std::vector<std::string> namesIn(const std::string& line) {
  std::istringstream words(line.substr(0, line.find('#')));
  std::string word;
  words >> word;
  std::vector<std::string> names;
  while (words >> word)
    names.push_back(word);
  return names;
}

}  // namespace

std::vector<std::string> namesOfThisComputer(const std::filesystem::path& hostsFile) {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return {};
  return namesOf(name.data(), hostsFile);
}

std::vector<std::string> namesOf(const std::string& hostName,
                                 const std::filesystem::path& hostsFile) {
  std::vector<std::string> names{hostName};
  std::ifstream file(hostsFile);
  for (std::string line; std::getline(file, line);) {
    const auto found = namesIn(line);
    if (std::ranges::find(found, hostName) == found.end()) continue;
    names.insert(names.end(), found.begin(), found.end());
  }
  return names;
}

}  // namespace tarvinel

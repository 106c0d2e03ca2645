#include "core/mdns/MulticastInterfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

namespace tarvinel {

namespace {

/// The kernel lets a socket join a group on so many interfaces (net.ipv4.igmp_max_memberships). The
/// responder would join on the newest and leave out those the computer began with, of all things.
constexpr std::size_t maxMemberships = 20;

bool takesMulticast(const ifaddrs& entry) {
  constexpr unsigned int wanted = IFF_UP | IFF_MULTICAST;
  return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET &&
         (entry.ifa_flags & (wanted | IFF_LOOPBACK)) == wanted;
}

NameRegistrar::Address addressOf(const sockaddr& from) {
  sockaddr_in internet{};
  std::memcpy(&internet, &from, sizeof internet);
  NameRegistrar::Address address{};
  std::memcpy(address.data(), &internet.sin_addr, address.size());
  return address;
}

}  // namespace

std::vector<MulticastInterfaces::Interface> MulticastInterfaces::all() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, &freeifaddrs);
  std::vector<Interface> found;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (takesMulticast(*entry)) found.push_back({entry->ifa_name, addressOf(*entry->ifa_addr)});
  }
  return found;
}

std::optional<std::string> MulticastInterfaces::onlyOne(const std::vector<Interface>& interfaces,
                                                        NameRegistrar::Address address) {
  std::set<std::string_view> names;
  for (const Interface& interface : interfaces)
    names.insert(interface.name);
  if (names.size() <= maxMemberships) return std::nullopt;
  const auto carrier = std::ranges::find(interfaces, address, &Interface::address);
  return carrier == interfaces.end() ? std::nullopt : std::optional(carrier->name);
}

}  // namespace tarvinel

#include "core/net/LocalAddresses.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>

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

/// Empty when it cannot be written as a number.
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

int rank(std::string_view name) {
  if (name == "en0") return 0;
  if (name.starts_with("en")) return 1;
  if (name.starts_with("bridge")) return 2;
  return 3;
}

}  // namespace

std::vector<LocalAddresses::Interface> LocalAddresses::interfaces() {
  std::vector<Interface> found;
  const AddressList list = systemAddresses();
  for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
    if (!isUsable(*entry)) continue;
    const std::string address = numericHost(*entry->ifa_addr);
    if (isReachable(address)) found.push_back({entry->ifa_name, address});
  }
  return found;
}

std::vector<std::string> LocalAddresses::ipv4() {
  std::vector<std::string> addresses;
  for (const Interface& entry : interfaces())
    addresses.push_back(entry.address);
  return addresses;
}

std::optional<std::string> LocalAddresses::preferred(std::vector<Interface> from) {
  if (from.empty()) return std::nullopt;
  std::ranges::stable_sort(from, [](const Interface& a, const Interface& b) {
    return std::pair(rank(a.name), std::string_view(a.name)) <
           std::pair(rank(b.name), std::string_view(b.name));
  });
  return from.front().address;
}

std::optional<std::string> LocalAddresses::preferredHost() {
  return preferred(interfaces());
}

std::string LocalAddresses::url(std::string_view host, std::uint16_t port) {
  std::string url = std::string("http://").append(host);
  if (port != 80) url.append(":").append(std::to_string(port));
  return url.append("/");
}

}  // namespace tarvinel

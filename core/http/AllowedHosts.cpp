#include "core/http/AllowedHosts.h"

#include "core/support/ASCII.h"
#include "core/support/HostLabel.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <optional>

namespace tarvinel {

namespace {

// Multicast DNS (RFC 6762), home networks (RFC 8375), and what many home routers use.
constexpr std::array<std::string_view, 3> localDomains{".local", ".home.arpa", ".lan"};

bool isPort(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

/// The host without its port; nothing when what follows it is no port.
std::optional<std::string_view> withoutPort(std::string_view value) {
  const bool isBracketed = value.starts_with('[');
  const auto end = isBracketed ? value.find(']') : value.find(':');
  if (end == std::string_view::npos) {
    return isBracketed ? std::nullopt : std::optional(value);
  }
  const std::string_view host = value.substr(0, isBracketed ? end + 1 : end);
  const std::string_view rest = value.substr(host.size());
  if (!rest.empty() && !(rest.front() == ':' && isPort(rest.substr(1)))) return std::nullopt;
  return host;
}

bool isAddress(int family, std::string_view text) {
  in6_addr address{};  // an IPv4 address fits as well
  return text.find('\0') == std::string_view::npos &&
         inet_pton(family, std::string(text).c_str(), &address) == 1;
}

/// In brackets, with or without a zone (RFC 6874).
bool isIPv6(std::string_view host) {
  if (!host.starts_with('[') || !host.ends_with(']')) return false;
  host = host.substr(1, host.size() - 2);
  return isAddress(AF_INET6, host.substr(0, host.find('%')));
}

bool isLocal(std::string_view name) {
  return std::ranges::any_of(localDomains,
                             [&](std::string_view domain) { return name.ends_with(domain); });
}

}  // namespace

AllowedHosts::AllowedHosts(const std::vector<std::string>& names) {
  for (const std::string& name : names)
    names_.insert(asciiLowercased(name));
}

bool AllowedHosts::admits(std::string_view host) const {
  if (host.empty()) return true;
  const auto name = withoutPort(host);
  return name && (isAddress(AF_INET, *name) || isIPv6(*name) || admitsName(asciiLowercased(*name)));
}

// With a dot at its end a single label is the name of a top-level domain, which has an owner.
bool AllowedHosts::admitsName(std::string_view name) const {
  const bool endsWithDot = name.ends_with('.');
  if (endsWithDot) name.remove_suffix(1);
  if (!isValidHostName(name)) return false;
  if (name == "localhost" || isLocal(name) || names_.contains(std::string(name))) return true;
  return !endsWithDot && name.find('.') == std::string_view::npos;
}

}  // namespace tarvinel

#include "core/http/Router.h"

#include "core/http/PercentEncoding.h"
#include "core/support/ASCII.h"
#include "core/support/HostLabel.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

using Kind = Route::Kind;

std::string decodedOrAsSent(std::string_view piece) {
  return percentDecoded(piece).value_or(std::string(piece));
}

/// Returns the route of "/upload/<participant>/<file>", or nullopt for any other path.
std::optional<Route> uploadFileRoute(std::string_view path) {
  constexpr std::string_view prefix = "/upload/";
  if (!path.starts_with(prefix)) return std::nullopt;
  path.remove_prefix(prefix.size());
  const auto slash = path.find('/');
  if (slash == std::string_view::npos || slash == 0) return std::nullopt;
  const std::string_view filename = path.substr(slash + 1);
  if (filename.empty() || filename.find('/') != std::string_view::npos) return std::nullopt;
  return Route{Kind::uploadFile, decodedOrAsSent(path.substr(0, slash)), decodedOrAsSent(filename)};
}

Kind pageRoute(std::string_view path) {
  using Entry = std::pair<std::string_view, Kind>;
  static constexpr std::array<Entry, 11> pages{{{"/", Kind::index},
                                                {"/index.html", Kind::index},
                                                {"/stream", Kind::stream},
                                                {"/status", Kind::status},
                                                {"/brand/image", Kind::brandImage},
                                                {"/brand/font", Kind::brandFont},
                                                {"/upload", Kind::uploadPage},
                                                {"/upload/", Kind::uploadPage},
                                                {"/upload/status", Kind::uploadStatus},
                                                {"/help", Kind::help},
                                                {"/help/", Kind::help}}};
  for (const auto& [page, kind] : pages) {
    if (page == path) return kind;
  }
  return Kind::notFound;
}

}  // namespace

Route Router::route(const HTTPRequest& request) {
  if (request.method == "PUT") {
    return uploadFileRoute(request.path).value_or(Route{Kind::methodNotAllowed});
  }
  if (request.method != "GET" && request.method != "HEAD") return {Kind::methodNotAllowed};
  return {pageRoute(request.path)};
}

namespace {

// Multicast DNS (RFC 6762), home networks (RFC 8375), and what many home routers use.
constexpr std::array<std::string_view, 3> localDomains{".local", ".home.arpa", ".lan"};

bool isPort(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

/// Returns the host without its port, or nullopt if what follows the host is not a port.
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
  in6_addr address{};  // has room for an IPv4 address, too
  return text.find('\0') == std::string_view::npos &&
         inet_pton(family, std::string(text).c_str(), &address) == 1;
}

/// Returns whether it is an IPv6 address in brackets, with or without a zone (RFC 6874).
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

// With a trailing dot, a single label is the name of a top-level domain, which has an owner.
bool AllowedHosts::admitsName(std::string_view name) const {
  const bool endsWithDot = name.ends_with('.');
  if (endsWithDot) name.remove_suffix(1);
  if (!isValidHostName(name)) return false;
  if (name == "localhost" || isLocal(name) || names_.contains(std::string(name))) return true;
  return !endsWithDot && name.find('.') == std::string_view::npos;
}

}  // namespace tarvinel

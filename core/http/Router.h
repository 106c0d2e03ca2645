#pragma once

#include "core/http/HTTPRequest.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// Decides by the "Host" header of a request whether it is served. A foreign web page can make its
/// own name point to this computer after it was loaded (DNS rebinding); its scripts can then read
/// what the server returns under that name, as if it were the page's own server. Names that no
/// foreign page can have are harmless: numeric addresses, names without a domain, the domains that
/// are never delegated, and this computer's own. Immutable; safe from any thread.
class AllowedHosts {
 public:
  /// Also allows `names`, in any case: those of this computer and those of the settings.
  explicit AllowedHosts(const std::vector<std::string>& names);

  /// Takes the value of the header, a name or an address with or without a port (RFC 9110 section
  /// 7.2). An empty value is admitted, since every browser sends the header.
  bool admits(std::string_view host) const;

 private:
  bool admitsName(std::string_view name) const;

  std::set<std::string> names_;  ///< lower-cased
};

/// The resources of the server. A plain value; only `uploadFile` carries texts.
struct Route {
  enum class Kind : std::uint8_t {
    uploadFile,
    index,
    stream,
    status,
    brandImage,
    brandFont,
    help,
    uploadPage,
    uploadStatus,
    notFound,
    methodNotAllowed,
  };

  Kind kind = Kind::notFound;
  std::string participant = {};  ///< percent-decoded, otherwise as sent
  std::string filename = {};     ///< percent-decoded, otherwise as sent

  bool operator==(const Route&) const = default;
};

/// Maps a request head to its route, by method and path alone. HEAD is handled like GET, body
/// included. Static and pure.
class Router {
 public:
  Router() = delete;

  static Route route(const HTTPRequest& request);
};

}  // namespace tarvinel

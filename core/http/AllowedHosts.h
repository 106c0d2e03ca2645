#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// Decides by the "Host" header of a request whether it is answered. A foreign web page can have
/// its own name point to this computer after it was loaded (DNS rebinding); its scripts may then
/// read what the server answers to that name, as if it were the page's own server. Names that no
/// foreign page can have are harmless: addresses by number, names without a domain, the domains
/// that are never delegated, and this computer's own. Immutable; safe from any thread.
class AllowedHosts {
 public:
  /// `names` are allowed besides, in any case: those of this computer and those of the settings.
  explicit AllowedHosts(const std::vector<std::string>& names);

  /// Takes the value of the header, a name or an address with or without a port (RFC 9110 section
  /// 7.2); without a value every request is answered, since every browser sends one.
  bool admits(std::string_view host) const;

 private:
  bool admitsName(std::string_view name) const;

  std::set<std::string> names_;  ///< lower-cased
};

}  // namespace tarvinel

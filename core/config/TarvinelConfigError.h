#pragma once

#include "core/support/ASCII.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarvinel {

/// A setting that was corrected; the rest of the configuration is in force. The text shows control
/// characters of the value as question marks.
class TarvinelConfigError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t { invalidHostname, invalidBrandColor, invalidAllowedHost };

  static TarvinelConfigError invalidHostname(const std::string& value) {
    return {Case::invalidHostname, value,
            "hostname \"" + withoutControls(value) +
                R"(" must be 1-63 letters, digits, or hyphens (no dots); using "tarvinel")"};
  }
  static TarvinelConfigError invalidBrandColor(const std::string& value) {
    return {Case::invalidBrandColor, value,
            "brand.color \"" + withoutControls(value) + "\" must be #rrggbb; ignoring it"};
  }
  static TarvinelConfigError invalidAllowedHost(const std::string& value) {
    return {Case::invalidAllowedHost, value,
            "allowedHosts \"" + withoutControls(value) +
                "\" must be a host name without port and path; ignoring it"};
  }

  Case kind() const { return kind_; }

  /// The rejected text as given in the file.
  const std::string& value() const { return value_; }

 private:
  TarvinelConfigError(Case kind, std::string value, const std::string& text)
      : std::runtime_error(text), kind_(kind), value_(std::move(value)) {}

  Case kind_;
  std::string value_;
};

}  // namespace tarvinel

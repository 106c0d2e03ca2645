#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// Why a name was not published, or its record not updated.
class NamePublisherError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    daemon,          ///< the responder refused; `code` says why
    invalidName,     ///< not a host label
    invalidAddress,  ///< not a dotted IPv4 address
    notPublished,    ///< there is no record to update
  };

  static NamePublisherError daemon(std::int32_t code) {
    return {Case::daemon, code, "DNS service error " + std::to_string(code)};
  }
  static NamePublisherError invalidName() { return {Case::invalidName, 0, "invalid host name"}; }
  static NamePublisherError invalidAddress() {
    return {Case::invalidAddress, 0, "invalid IPv4 address"};
  }
  static NamePublisherError notPublished() {
    return {Case::notPublished, 0, "the name is not published"};
  }

  Case kind() const { return kind_; }

  /// A `DNSServiceCode`; 0 for the cases without one.
  std::int32_t code() const { return code_; }

 private:
  NamePublisherError(Case kind, std::int32_t code, const std::string& text)
      : std::runtime_error(text), kind_(kind), code_(code) {}

  Case kind_;
  std::int32_t code_;
};

}  // namespace tarvinel

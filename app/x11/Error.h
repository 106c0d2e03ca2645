#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tarvinel::x11 {

/// The reason why an X server operation failed; what() is the text shown to people.
class Error : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    noDisplayName,
    cannotConnect,
    connectionLost,
    notResponding,
    requestRefused,
    malformedReply,
    noDamageExtension,
    noCompositeExtension,
    unsupportedPixels,
    displayGone,
    windowGone,
    windowTooLarge,
    applicationGone,
    outOfMemory,
  };

  Error(Case kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  /// Makes the error of a request that the server rejected with one of the protocol's error codes.
  static Error refused(std::uint8_t code);
  static Error cannotConnect(const std::string& display);
  static Error notResponding();
  static Error connectionLost();
  static Error malformedReply();
  static Error windowTooLarge();
  static Error outOfMemory();

  Case kind() const { return kind_; }

  /// Returns the protocol's error code of a rejected request, else 0.
  std::uint8_t code() const { return code_; }

 private:
  Case kind_;
  std::uint8_t code_ = 0;
};

}  // namespace tarvinel::x11

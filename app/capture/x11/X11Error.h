#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// Why something about the X server could not be done; what() is the text shown to people.
class X11Error : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    noDisplayName,
    cannotConnect,
    connectionLost,
    notAnswering,
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

  X11Error(Case kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  /// The server refused a request with one of the protocol's error codes.
  static X11Error refused(std::uint8_t code);
  static X11Error cannotConnect(const std::string& display);
  static X11Error notAnswering();
  static X11Error connectionLost();
  static X11Error malformedReply();
  static X11Error windowTooLarge();
  static X11Error outOfMemory();

  Case kind() const { return kind_; }

  /// The protocol's error code of a refused request, else 0.
  std::uint8_t code() const { return code_; }

 private:
  Case kind_;
  std::uint8_t code_ = 0;
};

}  // namespace tarvinel

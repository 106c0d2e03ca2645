#pragma once

#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace tarvinel {

/// Why a server did not start.
class StreamServerError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    bindFailed,      ///< the port could not be listened on; `code` says why
    alreadyRunning,  ///< there is a listener already
    cancelled,       ///< it was stopped before it listened
  };

  static StreamServerError bindFailed(std::error_code code) {
    return {Case::bindFailed, code, code.message()};
  }
  static StreamServerError alreadyRunning() {
    return {Case::alreadyRunning, {}, "the server is already running"};
  }
  static StreamServerError cancelled() {
    return {Case::cancelled, {}, "the server was stopped before it was ready"};
  }

  Case kind() const { return kind_; }
  std::error_code code() const { return code_; }

 private:
  StreamServerError(Case kind, std::error_code code, const std::string& text)
      : std::runtime_error(text), kind_(kind), code_(code) {}

  Case kind_;
  std::error_code code_;
};

}  // namespace tarvinel

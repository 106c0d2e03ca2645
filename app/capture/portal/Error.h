#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>

namespace tarvinel::portal {

/// The reason why the desktop's portal delivers no picture; what() is meant for the presenter. A
/// presenter who declines is not such an error, but std::errc::operation_canceled.
class Error : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    noBus,
    noPortal,
    malformedAnswer,
    notStarted,
    portalGone,
    sessionClosed,
    noMediaServer,
    mediaServerGone,
    sourceGone,
    outOfMemory,
  };

  explicit Error(Case kind);

  Case kind() const { return kind_; }

 private:
  Case kind_;
};

/// Returns the error in a form that crosses queues.
std::exception_ptr portalFailure(Error::Case kind);

}  // namespace tarvinel::portal

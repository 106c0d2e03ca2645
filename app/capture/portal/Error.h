#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>

namespace tarvinel::portal {

/// Why the desktop's portal gives no picture; the text is for the presenter. That the presenter
/// refused is no such error: it is std::errc::operation_canceled.
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

/// The error as it crosses queues.
std::exception_ptr portalFailure(Error::Case kind);

}  // namespace tarvinel::portal

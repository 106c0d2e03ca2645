#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>

namespace tarvinel {

/// The reason why sources cannot be listed or captured; what() is meant for the presenter.
class CaptureError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t { unknownSource, noPermission };

  explicit CaptureError(Case kind);

  Case kind() const { return kind_; }

 private:
  Case kind_;
};

/// Returns whether the error is std::errc::operation_canceled: the presenter canceled the desktop's
/// dialog, which is not a fault.
bool isRefusal(const std::exception_ptr& error);

}  // namespace tarvinel

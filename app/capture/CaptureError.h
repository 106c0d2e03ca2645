#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>

namespace tarvinel {

/// Why sources cannot be listed or captured; the text is for the presenter.
class CaptureError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t { unknownSource, noPermission };

  explicit CaptureError(Case kind);

  Case kind() const { return kind_; }

 private:
  Case kind_;
};

/// Whether it is std::errc::operation_canceled: the presenter changed their mind in the desktop's
/// dialog. They know, and nothing is wrong.
bool isRefusal(const std::exception_ptr& error);

}  // namespace tarvinel

#pragma once

#include <cstdint>
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

}  // namespace tarvinel

#pragma once

#include "core/frames/PixelBuffer.h"

#include <cstdint>
#include <stdexcept>

namespace tarvinel {

/// Why a frame could not be encoded. Its text is the case's name, with the code in parentheses for
/// the cases that carry one.
class JPEGEncodeError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    unsupportedPixelFormat,  ///< the pixels are not BGRA
    lockFailed,              ///< the pixels could not be made readable
    contextFailed,           ///< no readable picture, or no memory for the reduced one
    encodeFailed,            ///< the JPEG could not be written
  };

  static JPEGEncodeError unsupportedPixelFormat(PixelFormat format);
  static JPEGEncodeError lockFailed(std::int32_t status);
  static JPEGEncodeError contextFailed();
  static JPEGEncodeError encodeFailed();

  Case kind() const { return kind_; }

  /// The pixel format or the lock's status; 0 for the cases without one.
  std::int64_t code() const { return code_; }

  bool operator==(const JPEGEncodeError& other) const {
    return kind_ == other.kind_ && code_ == other.code_;
  }

 private:
  JPEGEncodeError(Case kind, std::int64_t code, const std::string& text)
      : std::runtime_error(text), kind_(kind), code_(code) {}

  Case kind_;
  std::int64_t code_;
};

}  // namespace tarvinel

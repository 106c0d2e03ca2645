#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/support/Bytes.h"
#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <stdexcept>

namespace tarvinel {

/// Returns the width and height, in pixels, from the header of a JPEG file (ITU-T T.81, B.2.2), or
/// nullopt if no frame header is found. Pure.
std::optional<PixelSize> sizeOfJPEG(const Bytes& file);

/// The error of a frame that could not be encoded. Its text is the case's name, with the code in
/// parentheses for the cases that carry one.
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

  /// Returns the pixel format or the lock's status; 0 for the cases without one.
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

/// How much colour a JPEG keeps.
enum class ChromaSampling : std::uint8_t {
  quartered,  ///< 4:2:0: one colour for four pixels; smaller, smears coloured text
  full,       ///< 4:4:4: one colour a pixel
};

/// Writes pixels as one baseline JPEG file without alpha. `quality` is 1 to 100. Safe from any
/// thread. Throws JPEGEncodeError encodeFailed.
Bytes writeJPEG(const PixelView& picture, int quality, ChromaSampling chroma);

}  // namespace tarvinel

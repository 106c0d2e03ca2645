#pragma once

#include "core/support/Bytes.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvinel {

/// Builds the parts of the stream (RFC 2046 multipart framing). Every part begins with its own
/// delimiter and ends with CR LF; no closing delimiter is ever sent. Static and pure.
class MJPEGFramer {
 public:
  MJPEGFramer() = delete;

  static constexpr std::string_view boundary = "tarvinelframe";

  /// How every part begins, whatever its length.
  static constexpr std::string_view partOpening = "--tarvinelframe";

  /// What follows the JPEG.
  static constexpr std::string_view partEnd = "\r\n";

  /// What precedes a JPEG of so many bytes, opening included. Head, JPEG and end in one gathered
  /// write are a part, without a copy of the JPEG.
  static std::string partHead(std::size_t jpegLength);

  /// One whole part in one buffer.
  static Bytes part(const Bytes& jpeg);
};

}  // namespace tarvinel

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

  /// The beginning of every part, whatever its length.
  static constexpr std::string_view partOpening = "--tarvinelframe";

  /// The bytes that follow the JPEG.
  static constexpr std::string_view partEnd = "\r\n";

  /// Returns the bytes that precede a JPEG of this length, opening included. Head, JPEG and end in
  /// one gathered write form a part, without a copy of the JPEG.
  static std::string partHead(std::size_t jpegLength);

  /// Returns one whole part in one buffer.
  static Bytes part(const Bytes& jpeg);
};

}  // namespace tarvinel

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

  /// The content types of parts: a whole picture, or an update in the form of
  /// `tiles::updateMessage`.
  static constexpr std::string_view jpegType = "image/jpeg";
  static constexpr std::string_view tilesType = "application/x-tarvinel-tiles";

  /// The bytes that follow the body.
  static constexpr std::string_view partEnd = "\r\n";

  /// Returns the bytes that precede a body of this type and length, opening included. Head, body
  /// and end in one gathered write form a part, without a copy of the body.
  static std::string partHead(std::size_t bodyLength, std::string_view contentType = jpegType);

  /// Returns one whole part in one buffer.
  static Bytes part(const Bytes& jpeg);
};

}  // namespace tarvinel

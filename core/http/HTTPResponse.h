#pragma once

#include "core/support/Bytes.h"

#include <optional>
#include <string_view>

namespace tarvinel {

/// Builds every complete response and the head of the endless stream, as bytes with a fixed order
/// of headers (RFC 9112 framing). All responses end the connection. Static and pure.
class HTTPResponse {
 public:
  HTTPResponse() = delete;

  /// A page, "200 OK".
  static Bytes html(std::string_view text);

  /// A JSON body as given. The status is the text that follows "HTTP/1.1 ".
  static Bytes json(std::string_view status, std::string_view body);
  static Bytes json(std::string_view body);

  /// {"error": message} under the given status.
  static Bytes jsonError(std::string_view status, std::string_view message);

  static Bytes notFound();

  /// Sends the client to another address, where it is to repeat the same request.
  static Bytes temporaryRedirect(std::string_view location);
  static Bytes methodNotAllowed(std::string_view allow = "GET");

  /// A brand asset: may be kept for five minutes, and may load or run nothing when it is opened as
  /// a document (an SVG can hold scripts).
  static Bytes file(const Bytes& body, std::string_view contentType);

  /// The head of "/stream"; parts (MJPEGFramer) follow directly.
  static Bytes mjpegHead();

  /// The same head for a script that reads the parts itself: WebKit's fetch refuses a body that is
  /// declared multipart/x-mixed-replace and reads the same bytes as application/octet-stream.
  static Bytes scriptStreamHead();

  /// The media type of a file name extension without its dot, in any case; nothing for others than
  /// the web's images and fonts.
  static std::optional<std::string_view> contentType(std::string_view forExtension);
};

}  // namespace tarvinel

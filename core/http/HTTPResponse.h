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

  /// Returns a page with "200 OK".
  static Bytes html(std::string_view text);

  /// Returns a JSON body as given. The status is the text that follows "HTTP/1.1 ".
  static Bytes json(std::string_view status, std::string_view body);
  static Bytes json(std::string_view body);

  /// Returns {"error": message} with the given status.
  static Bytes jsonError(std::string_view status, std::string_view message);

  static Bytes notFound();

  /// Redirects the client to another address, where it repeats the same request.
  static Bytes temporaryRedirect(std::string_view location);
  static Bytes methodNotAllowed(std::string_view allow = "GET");

  /// Returns a brand asset. It can be cached for five minutes, and can load or run nothing if it is
  /// opened as a document (an SVG can hold scripts).
  static Bytes file(const Bytes& body, std::string_view contentType);

  /// Returns the head of "/stream"; parts (MJPEGFramer) follow directly.
  static Bytes mjpegHead();

  /// Returns the head for a script that reads the parts itself: WebKit's fetch rejects a body that
  /// is declared multipart/x-mixed-replace but reads the same bytes as application/octet-stream.
  /// It declares the largest length that JavaScript can represent, because WebKitGTK with libsoup
  /// 3.6 holds back the end of what has arrived of a body without a length.
  static Bytes scriptStreamHead();

  /// Returns the media type of a file name extension without its dot, in any case, or nullopt if it
  /// is not one of the web's image and font types.
  static std::optional<std::string_view> contentType(std::string_view forExtension);
};

}  // namespace tarvinel

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// The parsed head of one HTTP/1.1 request. A plain value.
///
/// The parser handles the request line, header lines and the blank line, and nothing else of RFC
/// 9112: no chunked bodies, no folded headers, no check of the version.
struct HTTPRequest {
  std::string method;                          ///< upper-cased
  std::string path;                            ///< without the query, not percent-decoded
  std::map<std::string, std::string> headers;  ///< names lower-cased; the last of equal names wins
  std::int64_t headLength = 0;  ///< bytes up to and including the blank line; the body follows

  bool operator==(const HTTPRequest&) const = default;

  /// Returns the request at the start of `buffer`, or nullopt if its head is incomplete or
  /// malformed: a caller cannot distinguish the two and must bound the wait by size and time.
  static std::optional<HTTPRequest> parse(std::string_view buffer);

  /// Returns the "content-length" header, or nullopt if it is absent or not a non-negative integer.
  std::optional<std::int64_t> contentLength() const;

  /// Returns the value of a header named in lower case, or "" if it is absent.
  std::string_view header(const std::string& name) const;
};

}  // namespace tarvinel

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Decodes percent-encoding (RFC 3986 section 2.1). Returns nullopt if an escape is not two
/// hexadecimal digits or the result is not UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);

/// Encodes what is not permitted in the path of an address (RFC 3986 section 3.3), such as blanks,
/// control characters and everything that is not ASCII. Keeps existing escapes.
std::string percentEncodedPath(std::string_view path);

}  // namespace tarvinel

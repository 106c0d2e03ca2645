#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Decodes percent-encoding (RFC 3986 section 2.1). Nothing when an escape is not two hexadecimal
/// digits or the result is not UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace tarvinel

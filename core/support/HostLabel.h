#pragma once

#include <string_view>

namespace tarvinel {

/// Returns whether a text is valid as a host's label under .local: 1 to 63 ASCII letters, digits
/// and hyphens, with no hyphen at either end (RFC 1123 section 2.1).
bool isValidHostLabel(std::string_view label);

/// Returns whether it is such labels joined by dots, at most 253 bytes (RFC 1035 section 2.3.4).
bool isValidHostName(std::string_view name);

}  // namespace tarvinel

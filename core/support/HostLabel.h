#pragma once

#include <string_view>

namespace tarvinel {

/// Whether a text can be a host's label under .local: 1 to 63 ASCII letters, digits and hyphens,
/// with no hyphen at either end (RFC 1123 section 2.1).
bool isValidHostLabel(std::string_view label);

/// One or more such labels with dots between them, 253 bytes at the most (RFC 1035 section 2.3.4).
bool isValidHostName(std::string_view name);

}  // namespace tarvinel

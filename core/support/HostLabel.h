#pragma once

#include <string_view>

namespace tarvinel {

/// Whether a text can be a host's label under .local: 1 to 63 ASCII letters, digits and hyphens,
/// with no hyphen at either end (RFC 1123 section 2.1).
bool isValidHostLabel(std::string_view label);

}  // namespace tarvinel

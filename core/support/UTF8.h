#pragma once

#include <string_view>

namespace tarvinel {

/// True when the text is well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isValidUTF8(std::string_view text);

}  // namespace tarvinel

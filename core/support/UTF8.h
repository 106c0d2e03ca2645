#pragma once

#include <string>
#include <string_view>

namespace tarvinel {

/// True when the text is well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isValidUTF8(std::string_view text);

/// With every control character of a well-formed text (C0, DEL and C1) as an escape such as \x1b,
/// and a backslash as two: a text from elsewhere can then neither begin a line of a log nor do
/// anything to the terminal that shows it.
std::string withEscapedControls(std::string_view text);

}  // namespace tarvinel

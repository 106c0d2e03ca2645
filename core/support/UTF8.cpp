#include "core/support/UTF8.h"

#include <unicode/ustring.h>

#include <fmt/format.h>

#include <cstdint>
#include <limits>

namespace tarvinel {

namespace {

constexpr unsigned char leadOfC1 = 0xC2;  // C1 is U+0080 to U+009F: this byte and one to 0x9F

bool isC1(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]) == leadOfC1 && at + 1 < text.size() &&
         static_cast<unsigned char>(text[at + 1]) < 0xA0;
}

bool isASCIIControl(char c) {
  return (c >= 0 && c < ' ') || c == '\x7f';
}

}  // namespace

bool isValidUTF8(std::string_view text) {
  if (text.size() > std::numeric_limits<std::int32_t>::max()) return false;
  UErrorCode outcome = U_ZERO_ERROR;
  std::int32_t length = 0;
  // a conversion into no room reads everything and refuses what is malformed
  u_strFromUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &outcome);
  return outcome != U_INVALID_CHAR_FOUND;
}

std::string withEscapedControls(std::string_view text) {
  std::string shown;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (isC1(text, at)) {
      shown += fmt::format("\\u{:04x}", static_cast<unsigned char>(text[++at]));
    } else if (isASCIIControl(text[at])) {
      shown += fmt::format("\\x{:02x}", text[at]);
    } else {
      shown.append(text[at] == '\\' ? 2 : 1, text[at]);
    }
  }
  return shown;
}

}  // namespace tarvinel

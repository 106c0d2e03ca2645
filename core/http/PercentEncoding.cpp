#include "core/http/PercentEncoding.h"

#include "core/support/UnicodeText.h"

#include <fmt/format.h>

#include <charconv>

namespace tarvinel {

namespace {

std::optional<char> decodedEscape(std::string_view twoDigits) {
  unsigned value = 0;
  const char* end = twoDigits.data() + twoDigits.size();
  const auto outcome = std::from_chars(twoDigits.data(), end, value, 16);
  if (twoDigits.size() != 2 || outcome.ec != std::errc{} || outcome.ptr != end) {
    return std::nullopt;
  }
  return static_cast<char>(value);
}

bool standsForItself(char c) {
  constexpr std::string_view marks = "-._~!$&'()*+,;=:@/%";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         marks.find(c) != std::string_view::npos;
}

}  // namespace

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const auto character = decodedEscape(text.substr(i + 1, 2));
    if (!character) return std::nullopt;
    decoded += *character;
    i += 2;
  }
  if (!isValidUTF8(decoded)) return std::nullopt;
  return decoded;
}

std::string percentEncodedPath(std::string_view path) {
  std::string encoded;
  for (const char c : path) {
    if (standsForItself(c)) {
      encoded += c;
    } else {
      encoded += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
  }
  return encoded;
}

}  // namespace tarvinel

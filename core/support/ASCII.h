#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace tarvinel {

/// Lower-cases the ASCII letters; every other byte stays. Independent of the locale.
inline std::string asciiLowercased(std::string_view text) {
  std::string lowered(text);
  std::ranges::transform(lowered, lowered.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lowered;
}

/// Upper-cases the ASCII letters; every other byte stays. Independent of the locale.
inline std::string asciiUppercased(std::string_view text) {
  std::string raised(text);
  std::ranges::transform(raised, raised.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return raised;
}

/// Returns the text without the spaces and tabs at both ends.
inline std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Replaces every control character by a question mark, so that an external text cannot move a
/// terminal's cursor or begin a new line of a log.
inline std::string withoutControls(std::string_view text) {
  std::string shown(text);
  std::ranges::replace_if(shown, [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, '?');
  return shown;
}

}  // namespace tarvinel

#include "core/config/SettingsJSON.h"

#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string>

namespace tarvinel {

namespace {

using nlohmann::json;

/// Returns "line 2, column 7" for the last of the first `count` bytes; the end of the text counts
/// as a byte.
std::string placeOf(std::size_t count, std::string_view text) {
  const std::string_view before = text.substr(0, std::max<std::size_t>(count, 1) - 1);
  const auto line = 1 + std::ranges::count(before, '\n');
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 in the first line: npos + 1
  return fmt::format("line {}, column {}", line, before.size() - lineStart + 1);
}

/// Returns the parser's message without its own account of the place and without its quotation of
/// the document, which may be long and hold anything.
std::string messageOf(const json::parse_error& error) {
  std::string text = error.what();
  if (const auto start = text.find(": "); start != std::string::npos) text.erase(0, start + 2);
  const auto quotation = text.find("; last read: '");
  if (quotation != std::string::npos) text.erase(quotation, text.rfind('\'') + 1 - quotation);
  return text;
}

/// Returns how many bytes there are up to the end of the last number that was read from `input`.
/// The parser has read one byte beyond it, if there is one.
std::size_t endOfNumber(std::istringstream& input, std::string_view text) {
  input.clear();
  return text.substr(0, static_cast<std::size_t>(input.tellg())).find_last_of("0123456789") + 1;
}

/// Empties what is deeper than an entry of an object or a list in the document. The parser's
/// callback, which could leave it out, takes minutes for a long list of objects.
json withoutDepths(json document) {
  if (document.is_array()) document.clear();
  for (json& entry : document) {
    for (json& inner : entry) {
      if (inner.is_structured()) inner.clear();
    }
  }
  return document;
}

}  // namespace

json parseSettingsJSON(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  std::istringstream input{std::string(text)};
  try {
    return withoutDepths(json::parse(input));
  } catch (const json::parse_error& error) {
    throw std::runtime_error(placeOf(error.byte, text) + ": " + messageOf(error));
  } catch (const json::out_of_range&) {
    throw std::runtime_error(placeOf(endOfNumber(input, text), text) + ": the number is too large");
  }
}

}  // namespace tarvinel

#include "app/updates/MarkupBounds.h"

#include <algorithm>

namespace tarvinel {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view whitespace = " \t\r\n";

std::string_view from(std::string_view text, std::size_t position) {
  return text.substr(std::min(position, text.size()));
}

std::string_view withoutSpace(std::string_view text) {
  return from(text, text.find_first_not_of(whitespace));
}

/// What follows the next `end`.
std::string_view after(std::string_view text, std::string_view end) {
  const auto position = text.find(end);
  return position == std::string_view::npos ? std::string_view()
                                            : text.substr(position + end.size());
}

/// An equals sign and a quotation mark, which every attribute has.
std::size_t attributesAtMost(std::string_view tag) {
  std::size_t count = 0;
  for (tag = after(tag, "="); !tag.empty(); tag = after(tag, "=")) {
    tag = withoutSpace(tag);
    if (tag.starts_with('"') || tag.starts_with('\'')) ++count;
  }
  return count;
}

}  // namespace

bool MarkupBounds::declaresDocumentType(std::string_view document) {
  if (document.starts_with(byteOrderMark)) document.remove_prefix(byteOrderMark.size());
  for (;;) {
    document = withoutSpace(document);
    if (document.starts_with("<?")) {
      document = after(document, "?>");
    } else if (document.starts_with("<!--")) {
      document = after(from(document, 4), "-->");
    } else {
      return document.starts_with("<!");
    }
  }
}

/// A tag ends before the next "<": none may stand in the value of an attribute.
std::size_t MarkupBounds::mostAttributes(std::string_view document) {
  std::size_t most = 0;
  for (document = after(document, "<"); !document.empty(); document = after(document, "<")) {
    most = std::max(most, attributesAtMost(document.substr(0, document.find('<'))));
  }
  return most;
}

}  // namespace tarvinel

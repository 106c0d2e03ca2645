#include "core/pages/Template.h"

#include "core/support/FatalError.h"

#include <algorithm>

namespace tarvinel {

std::string filledTemplate(
    std::string_view page,
    std::initializer_list<std::pair<std::string_view, std::string_view>> values) {
  std::string filled;
  for (;;) {
    const auto open = page.find("{{");
    filled.append(page.substr(0, open));
    if (open == std::string_view::npos) return filled;
    const auto close = page.find("}}", open);
    if (close == std::string_view::npos) fatalError("page template: unclosed name");
    const std::string_view name = page.substr(open + 2, close - open - 2);
    const auto* value =
        std::ranges::find_if(values, [name](const auto& entry) { return entry.first == name; });
    if (value == values.end()) fatalError("page template: name without a value");
    filled.append(value->second);
    page.remove_prefix(close + 2);
  }
}

}  // namespace tarvinel

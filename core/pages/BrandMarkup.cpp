#include "core/pages/BrandMarkup.h"

#include "core/pages/ViewerPage.h"
#include "core/support/FatalError.h"

#include <algorithm>

namespace tarvinel {

std::string BrandMarkup::displayName(const std::optional<BrandConfig>& brand) {
  return ViewerPage::escape(brand && brand->name ? std::string_view(*brand->name) : "Tarvinel");
}

std::string_view BrandMarkup::fontFace(const std::optional<BrandConfig>& brand) {
  if (!brand || !brand->font) return {};
  return "@font-face { font-family: \"Brand\"; src: url(/brand/font); font-display: swap; }\n  ";
}

std::string_view BrandMarkup::fontFamily(const std::optional<BrandConfig>& brand) {
  return brand && brand->font ? "\"Brand\", -apple-system, system-ui, sans-serif"
                              : "-apple-system, system-ui, sans-serif";
}

std::string_view BrandMarkup::logo(const std::optional<BrandConfig>& brand) {
  return brand && brand->image ? R"(<img id="logo" src="/brand/image" alt="">)" : "";
}

std::string BrandMarkup::logoOrName(const std::optional<BrandConfig>& brand,
                                    std::string_view nameTag) {
  if (brand && brand->image) return std::string(logo(brand)) + "\n";
  if (!brand || !brand->name) return {};
  return std::string(nameTag) + displayName(brand) + "</div>\n";
}

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

#include "core/pages/BrandMarkup.h"

#include "core/pages/ViewerPage.h"

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

}  // namespace tarvinel

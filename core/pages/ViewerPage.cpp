#include "core/pages/ViewerPage.h"

#include "core/pages/BrandMarkup.h"
#include "embedded/painter_js.h"
#include "embedded/viewer_css.h"
#include "embedded/viewer_html.h"
#include "embedded/viewer_js.h"

namespace tarvinel {

namespace {

constexpr std::string_view defaultNameColor = "#ccc";

std::string escapedOr(const std::optional<std::string>& text, std::string_view otherwise) {
  return ViewerPage::escape(text ? std::string_view(*text) : otherwise);
}

std::string nameTag(const std::optional<BrandConfig>& brand) {
  const bool hasColor = brand && brand->color && BrandConfig::isValidColor(*brand->color);
  const std::string_view color = hasColor ? std::string_view(*brand->color) : defaultNameColor;
  return std::string(R"(<div id="name" style="color: )").append(color) + "\">";
}

}  // namespace

std::string ViewerPage::html(const std::optional<BrandConfig>& brand) {
  const BrandConfig texts = brand.value_or(BrandConfig{});
  const std::string style =
      filledTemplate(embedded::viewer_css, {{"fontFamily", BrandMarkup::fontFamily(brand)}});
  return filledTemplate(embedded::viewer_html,
                        {{"title", BrandMarkup::displayName(brand)},
                         {"fontFace", BrandMarkup::fontFace(brand)},
                         {"style", style},
                         {"mark", BrandMarkup::logoOrName(brand, nameTag(brand))},
                         {"waiting", escapedOr(texts.waiting, defaultWaiting)},
                         {"disconnected", escapedOr(texts.disconnected, defaultDisconnected)},
                         {"painter", embedded::painter_js},
                         {"script", embedded::viewer_js}});
}

std::string ViewerPage::escape(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

}  // namespace tarvinel

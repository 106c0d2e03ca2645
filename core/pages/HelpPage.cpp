#include "core/pages/HelpPage.h"

#include "core/config/TarvinelConfig.h"
#include "core/pages/BrandMarkup.h"
#include "core/pages/ViewerPage.h"
#include "embedded/help_css.h"
#include "embedded/help_html.h"

namespace tarvinel {

namespace {

/// Returns the logo, or the name in its place.
std::string headerMark(const std::optional<BrandConfig>& brand) {
  if (const auto logo = BrandMarkup::logo(brand); !logo.empty()) return std::string(logo);
  return "<div id=\"name\">" + BrandMarkup::displayName(brand) + "</div>";
}

}  // namespace

std::string HelpPage::html(const std::optional<BrandConfig>& brand, std::string_view hostname) {
  const std::string host =
      ViewerPage::escape(hostname.empty() ? TarvinelConfig::defaultHostname : hostname);
  const std::string style =
      filledTemplate(embedded::help_css, {{"fontFamily", BrandMarkup::fontFamily(brand)}});
  return filledTemplate(embedded::help_html, {{"displayName", BrandMarkup::displayName(brand)},
                                              {"fontFace", BrandMarkup::fontFace(brand)},
                                              {"style", style},
                                              {"mark", headerMark(brand)},
                                              {"host", host},
                                              {"base", "http://" + host + ".local/"}});
}

}  // namespace tarvinel

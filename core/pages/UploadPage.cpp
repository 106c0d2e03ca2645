#include "core/pages/UploadPage.h"

#include "core/pages/BrandMarkup.h"
#include "core/pages/Template.h"
#include "core/uploads/UploadNaming.h"
#include "embedded/upload_css.h"
#include "embedded/upload_html.h"
#include "embedded/upload_js.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tarvinel {

namespace {

/// The logo, or the name where there is only a name.
std::string brandMark(const std::optional<BrandConfig>& brand) {
  if (brand && brand->image) return std::string(BrandMarkup::logo(brand)) + "\n";
  if (!brand || !brand->name) return {};
  return "<div id=\"brandname\">" + BrandMarkup::displayName(brand) + "</div>\n";
}

}  // namespace

std::string UploadPage::html(const std::optional<BrandConfig>& brand) {
  // the file chooser wants each extension with its dot
  const std::string accept = fmt::format(".{}", fmt::join(UploadNaming::allowedExtensions, ",."));
  const std::string style =
      filledTemplate(embedded::upload_css, {{"fontFamily", BrandMarkup::fontFamily(brand)}});
  return filledTemplate(embedded::upload_html, {{"title", BrandMarkup::displayName(brand)},
                                                {"fontFace", BrandMarkup::fontFace(brand)},
                                                {"style", style},
                                                {"mark", brandMark(brand)},
                                                {"accept", accept},
                                                {"script", embedded::upload_js}});
}

}  // namespace tarvinel

#include "core/pages/UploadPage.h"

#include "core/pages/BrandMarkup.h"
#include "core/uploads/UploadNaming.h"
#include "embedded/upload_css.h"
#include "embedded/upload_html.h"
#include "embedded/upload_js.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tarvinel {

std::string UploadPage::html(const std::optional<BrandConfig>& brand) {
  // the file chooser expects each extension with its dot
  const std::string accept = fmt::format(".{}", fmt::join(UploadNaming::allowedExtensions, ",."));
  const std::string style =
      filledTemplate(embedded::upload_css, {{"fontFamily", BrandMarkup::fontFamily(brand)}});
  return filledTemplate(embedded::upload_html,
                        {{"title", BrandMarkup::displayName(brand)},
                         {"fontFace", BrandMarkup::fontFace(brand)},
                         {"style", style},
                         {"mark", BrandMarkup::logoOrName(brand, R"(<div id="brandname">)")},
                         {"accept", accept},
                         {"script", embedded::upload_js}});
}

}  // namespace tarvinel

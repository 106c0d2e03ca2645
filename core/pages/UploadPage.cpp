#include "core/pages/UploadPage.h"

#include "core/pages/Template.h"
#include "core/pages/ViewerPage.h"
#include "core/uploads/UploadNaming.h"
#include "embedded/upload_css.h"
#include "embedded/upload_html.h"
#include "embedded/upload_js.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tarvinel {

namespace {

constexpr std::string_view displayName = "Tarvinel";

}  // namespace

std::string UploadPage::html() {
  // the file chooser wants each extension with its dot
  const std::string accept = fmt::format(".{}", fmt::join(UploadNaming::allowedExtensions, ",."));
  return filledTemplate(embedded::upload_html, {{"title", ViewerPage::escape(displayName)},
                                                {"style", embedded::upload_css},
                                                {"accept", accept},
                                                {"script", embedded::upload_js}});
}

}  // namespace tarvinel

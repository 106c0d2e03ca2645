#include "core/pages/ViewerPage.h"

#include "core/pages/Template.h"
#include "embedded/viewer_css.h"
#include "embedded/viewer_html.h"
#include "embedded/viewer_js.h"

namespace tarvinel {

namespace {

constexpr std::string_view displayName = "Tarvinel";

}  // namespace

std::string ViewerPage::html() {
  return filledTemplate(embedded::viewer_html, {{"title", escape(displayName)},
                                                {"style", embedded::viewer_css},
                                                {"waiting", escape(defaultWaiting)},
                                                {"disconnected", escape(defaultDisconnected)},
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

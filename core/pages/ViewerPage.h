#pragma once

#include "core/config/BrandConfig.h"

#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Renders the page that viewers open: the shared screen in one image, and an idle text while there
/// is no picture. Self-contained except for "/stream" and the brand's files. Static and pure.
class ViewerPage {
 public:
  ViewerPage() = delete;

  static constexpr std::string_view defaultWaiting =
      "Tarvinel - waiting for the presenter to start sharing";
  static constexpr std::string_view defaultDisconnected = "Stream disconnected - reconnecting";

  static std::string html(const std::optional<BrandConfig>& brand = std::nullopt);

  /// Escapes a text for use in HTML, in content and in quoted attributes.
  static std::string escape(std::string_view text);
};

}  // namespace tarvinel

#pragma once

#include "core/config/BrandConfig.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Renders the help page for the presenter. Self-contained except for the brand's files, and
/// without a script. Static and pure.
class HelpPage {
 public:
  HelpPage() = delete;

  /// The settings that the page explains, in this order.
  static constexpr std::array<std::string_view, 10> documentedConfigKeys{
      "port",      "scale",      "jpegQuality", "motionQuality", "fps",
      "motionFps", "budgetMbps", "hostname",    "brand",         "allowedHosts"};

  /// The headings, in this order.
  static constexpr std::array<std::string_view, 8> sectionTitles{
      "First launch",        "Sharing your screen",
      "Participant uploads", "The stream line",
      "Network tips",        "Updates",
      "The config file",     "Branding the idle screen"};

  /// Renders the page for a computer published as `hostname`, or as the default name if empty.
  static std::string html(const std::optional<BrandConfig>& brand, std::string_view hostname);
};

}  // namespace tarvinel

#pragma once

#include "core/config/BrandConfig.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// Renders the help page for the presenter. Self-contained but for the brand's files, and without a
/// script. Static and pure.
class HelpPage {
 public:
  HelpPage() = delete;

  /// The settings that the page explains, in its order.
  static constexpr std::array<std::string_view, 10> documentedConfigKeys{
      "port",      "scale",      "jpegQuality", "motionQuality", "fps",
      "motionFps", "budgetMbps", "hostname",    "brand",         "allowedHosts"};

  /// The headings, in their order.
  static constexpr std::array<std::string_view, 8> sectionTitles{
      "First launch",        "Sharing your screen",
      "Participant uploads", "The stream line",
      "Network tips",        "Updates",
      "The config file",     "Branding the idle screen"};

  /// The page for a computer that is announced under `hostname`; empty: under the default name.
  static std::string html(const std::optional<BrandConfig>& brand, std::string_view hostname);
};

}  // namespace tarvinel

#pragma once

#include "core/config/BrandConfig.h"

#include <optional>
#include <string>

namespace tarvinel {

/// Renders the page from which participants send their photos. Self-contained except for the
/// brand's files, "/upload/status" and the uploads themselves. Static and pure.
class UploadPage {
 public:
  UploadPage() = delete;

  static std::string html(const std::optional<BrandConfig>& brand = std::nullopt);
};

}  // namespace tarvinel

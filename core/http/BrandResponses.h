#pragma once

#include "core/config/BrandConfig.h"
#include "core/support/Bytes.h"

#include <memory>

namespace tarvinel {

/// The complete responses that hold the brand's files, built once and shared by all connections
/// that send them. A response is null if there is no file.
struct BrandResponses {
  std::shared_ptr<const Bytes> image;
  std::shared_ptr<const Bytes> font;

  /// Reads the files. Blocks.
  static BrandResponses load(const std::optional<BrandConfig>& brand);
};

}  // namespace tarvinel

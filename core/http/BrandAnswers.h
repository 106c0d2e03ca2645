#pragma once

#include "core/config/BrandConfig.h"
#include "core/support/Bytes.h"

#include <memory>

namespace tarvinel {

/// The complete answers that hold the brand's files, built once and shared by all connections that
/// send them. Null where there is no file.
struct BrandAnswers {
  std::shared_ptr<const Bytes> image;
  std::shared_ptr<const Bytes> font;

  /// Reads the files. Blocks.
  static BrandAnswers load(const std::optional<BrandConfig>& brand);
};

}  // namespace tarvinel

#pragma once

#include "core/uploads/UploadController.h"

#include <optional>
#include <string>

namespace tarvinel {

/// What the presenter is shown of the uploads, as lines of text. Static and pure.
class UploadLines {
 public:
  UploadLines() = delete;

  /// How much has arrived; nothing while uploads are closed and nothing has.
  static std::optional<std::string> statusLine(const UploadStatus& status);

  /// Who sent last; nothing until someone did.
  static std::optional<std::string> lastLine(const UploadStatus& status);
};

}  // namespace tarvinel

#include "core/uploads/UploadStoreError.h"

#include "core/uploads/UploadNaming.h"

#include <fmt/format.h>

namespace tarvinel {

UploadStoreError UploadStoreError::pathEscapesRoot(const std::filesystem::path& path) {
  return {Case::pathEscapesRoot,
          fmt::format(R"(resolved path "{}" is outside the upload root)", path.string())};
}

UploadStoreError UploadStoreError::collisionExhausted(const std::string& name) {
  return {Case::collisionExhausted,
          fmt::format(R"(could not find a free name for "{}" after {} attempts)", name,
                      UploadNaming::maxAttempts)};
}

UploadStoreError UploadStoreError::rootUnavailable(const std::filesystem::path& path) {
  return {Case::rootUnavailable,
          fmt::format(R"(could not create or use upload root "{}")", path.string())};
}

}  // namespace tarvinel

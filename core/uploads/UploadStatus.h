#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarvinel {

/// What the upload page polls and the presenter is shown. Plain value.
struct UploadStatus {
  bool enabled = false;
  std::int64_t files = 0;
  std::int64_t bytes = 0;
  std::int64_t participants = 0;
  std::optional<std::string> lastParticipant;  ///< absent until a file has arrived
  std::int64_t lastParticipantFiles = 0;

  bool operator==(const UploadStatus&) const = default;

  /// The document of "/upload/status"; without a last participant its key is left out.
  std::string json() const;
};

}  // namespace tarvinel

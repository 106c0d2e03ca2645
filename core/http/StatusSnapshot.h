#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// The "/status" document. A plain value; the JSON keys are the field names.
struct StatusSnapshot {
  bool sharing = false;
  std::int64_t viewers = 0;
  std::optional<std::string> source;  ///< display name; the key is omitted if there is none
  std::int64_t fps = 0;
  std::string version;
  std::string build;

  bool operator==(const StatusSnapshot&) const = default;

  /// Returns the compact JSON form. Bytes of a source name that are not UTF-8 become U+FFFD.
  std::string json() const;

  /// Parses the JSON form; throws std::exception on anything else.
  static StatusSnapshot fromJSON(std::string_view text);
};

}  // namespace tarvinel

#pragma once

#include <string>
#include <string_view>

namespace tarvinel {

/// What the presenter is told of a check for updates.
struct UpdateNotice {
  std::string title;
  std::string text;

  /// There is a newer version.
  static UpdateNotice available(std::string_view version, std::string_view appVersion);

  static UpdateNotice upToDate(std::string_view appVersion);

  /// The check failed.
  static UpdateNotice failed(std::string_view reason);

  bool operator==(const UpdateNotice&) const = default;
};

}  // namespace tarvinel

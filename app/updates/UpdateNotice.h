#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarvinel {

/// The reason why the update feed could not be read; the text is for the presenter.
class FeedError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    badAddress,
    badRedirect,
    tooManyRedirects,
    unreachable,  ///< detail: why
    badStatus,    ///< detail: the status
    tooSlow,
    tooLarge,
    empty,
    notUTF8,
    notXML,  ///< detail: the line
    documentType,
    tooManyAttributes,
    notRSS,
    noVersion,
  };

  explicit FeedError(Case kind, std::string_view detail = {});

  Case kind() const { return kind_; }

 private:
  Case kind_;
};

/// The notification about a check for updates.
struct UpdateNotice {
  std::string title;
  std::string text;

  /// Reports a newer version.
  static UpdateNotice available(std::string_view version, std::string_view appVersion);

  static UpdateNotice upToDate(std::string_view appVersion);

  /// Reports a failed check.
  static UpdateNotice failed(std::string_view reason);

  bool operator==(const UpdateNotice&) const = default;
};

}  // namespace tarvinel

#pragma once

#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace tarvinel {

/// Why the update feed tells nothing; the text is for the presenter.
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

}  // namespace tarvinel

#include "app/updates/UpdateNotice.h"

#include <fmt/core.h>

#include <string>

namespace tarvinel {

UpdateNotice UpdateNotice::available(std::string_view version, std::string_view appVersion) {
  return {fmt::format("Tarvinel {} is available", version),
          fmt::format("This is version {}.", appVersion)};
}

UpdateNotice UpdateNotice::upToDate(std::string_view appVersion) {
  return {"Tarvinel is up to date", fmt::format("There is no newer version than {}.", appVersion)};
}

UpdateNotice UpdateNotice::failed(std::string_view reason) {
  return {"Tarvinel could not check for updates", std::string(reason)};
}

namespace {

std::string textOf(FeedError::Case kind, std::string_view detail) {
  const std::string given(detail);
  switch (kind) {
    case FeedError::Case::badAddress:
      return "The update feed's address is not an https address.";
    case FeedError::Case::badRedirect:
      return "The update feed leads to an address that is not an https address.";
    case FeedError::Case::tooManyRedirects:
      return "The update feed leads from one address to the next too often.";
    case FeedError::Case::unreachable:
      return "The update feed cannot be read: " + given;
    case FeedError::Case::badStatus:
      return "The update feed's server answers with status " + given + ".";
    case FeedError::Case::tooSlow:
      return "The update feed's server did not answer in time.";
    case FeedError::Case::tooLarge:
      return "The update feed is too large.";
    case FeedError::Case::empty:
      return "The update feed is empty.";
    case FeedError::Case::notUTF8:
      return "The update feed is not a text in UTF-8.";
    case FeedError::Case::notXML:
      return "The update feed is not well-formed, line " + given + ".";
    case FeedError::Case::documentType:
      return "The update feed declares a document type, which is not accepted.";
    case FeedError::Case::tooManyAttributes:
      return "The update feed has a tag with too many attributes.";
    case FeedError::Case::notRSS:
      return "The update feed is not an RSS feed.";
    case FeedError::Case::noVersion:
      return "The update feed names no version.";
  }
  return {};
}

}  // namespace

FeedError::FeedError(Case kind, std::string_view detail)
    : std::runtime_error(textOf(kind, detail)), kind_(kind) {}

}  // namespace tarvinel

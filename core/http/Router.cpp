#include "core/http/Router.h"

#include "core/http/PercentEncoding.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

using Kind = Route::Kind;

std::string decodedOrAsSent(std::string_view piece) {
  return percentDecoded(piece).value_or(std::string(piece));
}

/// The route of "/upload/<participant>/<file>"; nothing for any other path.
std::optional<Route> uploadFileRoute(std::string_view path) {
  constexpr std::string_view prefix = "/upload/";
  if (!path.starts_with(prefix)) return std::nullopt;
  path.remove_prefix(prefix.size());
  const auto slash = path.find('/');
  if (slash == std::string_view::npos || slash == 0) return std::nullopt;
  const std::string_view filename = path.substr(slash + 1);
  if (filename.empty() || filename.find('/') != std::string_view::npos) return std::nullopt;
  return Route{Kind::uploadFile, decodedOrAsSent(path.substr(0, slash)), decodedOrAsSent(filename)};
}

Kind pageRoute(std::string_view path) {
  using Entry = std::pair<std::string_view, Kind>;
  static constexpr std::array<Entry, 11> pages{{{"/", Kind::index},
                                                {"/index.html", Kind::index},
                                                {"/stream", Kind::stream},
                                                {"/status", Kind::status},
                                                {"/brand/image", Kind::brandImage},
                                                {"/brand/font", Kind::brandFont},
                                                {"/upload", Kind::uploadPage},
                                                {"/upload/", Kind::uploadPage},
                                                {"/upload/status", Kind::uploadStatus},
                                                {"/help", Kind::help},
                                                {"/help/", Kind::help}}};
  for (const auto& [page, kind] : pages) {
    if (page == path) return kind;
  }
  return Kind::notFound;
}

}  // namespace

Route Router::route(const HTTPRequest& request) {
  if (request.method == "PUT") {
    return uploadFileRoute(request.path).value_or(Route{Kind::methodNotAllowed});
  }
  if (request.method != "GET" && request.method != "HEAD") return {Kind::methodNotAllowed};
  return {pageRoute(request.path)};
}

}  // namespace tarvinel

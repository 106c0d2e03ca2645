#pragma once

#include "core/http/HTTPRequest.h"
#include "core/http/Route.h"

namespace tarvinel {

/// Maps a request head to what answers it, by method and path alone. HEAD is answered like GET,
/// body included. Static and pure.
class Router {
 public:
  Router() = delete;

  static Route route(const HTTPRequest& request);
};

}  // namespace tarvinel

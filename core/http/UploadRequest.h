#pragma once

#include "core/http/HTTPRequest.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace tarvinel {

/// Why an upload is not taken, as its participant is told.
struct UploadRefusal {
  static constexpr std::string_view internalError = "500 Internal Server Error";

  std::string_view status;  ///< what follows "HTTP/1.1 "
  std::string message;

  /// The only one after which the page tries again by itself.
  static UploadRefusal busy() {
    return {"503 Service Unavailable", "busy, retry in a few seconds"};
  }

  bool operator==(const UploadRefusal&) const = default;
};

/// An upload that may ask for admission. Plain value.
struct UploadRequest {
  std::string label;               ///< the participant's name, clean
  std::string filename;            ///< clean, with an allowed extension
  std::int64_t declaredBytes = 0;  ///< at least 1

  /// Checks names, type and size, in this order; the first that is wrong decides. Pure.
  static std::variant<UploadRequest, UploadRefusal> check(std::string_view participant,
                                                          std::string_view filename,
                                                          const HTTPRequest& request,
                                                          std::int64_t maxBytes);
};

}  // namespace tarvinel

#pragma once

#include <cstdint>
#include <string>

namespace tarvinel {

/// What the server can answer. Plain value; only `uploadFile` carries texts.
struct Route {
  enum class Kind : std::uint8_t {
    uploadFile,
    index,
    stream,
    status,
    brandImage,
    brandFont,
    help,
    uploadPage,
    uploadStatus,
    notFound,
    methodNotAllowed,
  };

  Kind kind = Kind::notFound;
  std::string participant = {};  ///< percent-decoded, otherwise as sent
  std::string filename = {};     ///< percent-decoded, otherwise as sent

  bool operator==(const Route&) const = default;
};

}  // namespace tarvinel

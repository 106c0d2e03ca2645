#pragma once

#include "core/support/ApplicationIdentifier.h"

#include <stdexcept>
#include <string>

namespace tarvinel {

/// A check for updates must not be made now.
class UpdateCheckDeferred : public std::runtime_error {
 public:
  static constexpr int code = 1;

  UpdateCheckDeferred() : std::runtime_error("Update check deferred while sharing") {}

  /// Which part of the program refuses.
  static std::string domain() { return std::string(applicationIdentifier) + ".updater"; }
};

}  // namespace tarvinel

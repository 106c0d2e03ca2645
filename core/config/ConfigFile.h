#pragma once

#include "core/support/Log.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <exception>
#include <filesystem>
#include <optional>

namespace tarvinel {

/// What a file of settings gave: an object, empty when there is nothing, and why, if that is an
/// error.
struct ConfigFile {
  nlohmann::json object = nlohmann::json::object();
  std::exception_ptr error;

  /// The largest file that is read, in bytes.
  static constexpr std::size_t maxBytes = std::size_t{1} << 20;

  /// Reads one file; that it does not exist is no error.
  static ConfigFile read(const std::filesystem::path& file);

  /// Reads "config.json" in the built-in profile's folder; the paths of its brand's files become
  /// relative to that folder. An error is logged.
  static ConfigFile readBundledProfile(const std::optional<std::filesystem::path>& folder,
                                       const Logger& logger);
};

}  // namespace tarvinel

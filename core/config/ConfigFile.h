#pragma once

#include "core/support/Log.h"

#include <nlohmann/json.hpp>
#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <exception>
#include <filesystem>
#include <optional>
#include <string_view>

namespace tarvinel {

/// Merges the user's settings over the built-in profile. Static and pure.
class ConfigMerge {
 public:
  ConfigMerge() = delete;

  /// Merges two objects. Every key of the user's replaces the bundled one as a whole; only "brand"
  /// is merged key by key if it is an object in both.
  static nlohmann::json merge(nlohmann::json bundled, const nlohmann::json& user);
};

/// Parses JSON (RFC 8259, with or without a byte-order mark) to the depth of settings: an object or
/// array nested deeper than an entry of an object or array in the document becomes empty, so that
/// walking the result needs little stack. The last value of a repeated key wins. Takes time and
/// memory in proportion to the text, no stack in proportion to its depth. Throws std::runtime_error
/// that names line and column (1-based, in bytes). Pure.
nlohmann::json parseSettingsJSON(std::string_view text);

/// The contents of a settings file: an object, which is empty if the file is absent or unusable,
/// and the error that made it unusable, if any.
struct ConfigFile {
  nlohmann::json object = nlohmann::json::object();
  std::exception_ptr error;

  /// The largest file that is read, in bytes.
  static constexpr std::size_t maxBytes = std::size_t{1} << 20;

  /// Reads one file; a file that does not exist is not an error.
  static ConfigFile read(const std::filesystem::path& file);

  /// Reads "config.json" in the built-in profile's folder and resolves the paths of its brand's
  /// files relative to that folder. Logs an error.
  static ConfigFile readBundledProfile(const std::optional<std::filesystem::path>& folder,
                                       const Logger& logger);
};

}  // namespace tarvinel

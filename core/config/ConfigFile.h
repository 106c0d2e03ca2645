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

/// Lays the user's settings over the built-in profile. Static and pure.
class ConfigMerge {
 public:
  ConfigMerge() = delete;

  /// Both are objects. Every key of the user's wins whole; only "brand", where both have an object,
  /// is merged key by key.
  static nlohmann::json merge(nlohmann::json bundled, const nlohmann::json& user);
};

/// Parses JSON (RFC 8259, with or without a byte-order mark) as far as settings go: of what lies
/// deeper than an entry of an object or a list in the document only the kind is kept, as an empty
/// object or array, so that whoever walks through the result needs little stack. Of a repeated key
/// the last value stands. Takes time and memory in proportion to the text, no stack in proportion
/// to its depth. Throws std::runtime_error that names line and column (1-based, in bytes). Pure.
nlohmann::json parseSettingsJSON(std::string_view text);

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

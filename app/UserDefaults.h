#pragma once

#include "core/support/Log.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// What the program remembers of the presenter's choices from one run to the next: one JSON object
/// in a file that is replaced by a rename. Values that it does not know stay.
///
/// Lives on the main queue. Never fails: what cannot be read is unset, and what cannot be written
/// is logged and remembered for this run.
class UserDefaults {
 public:
  /// The key of the folder that the presenter chose for uploads.
  static constexpr const char* uploadFolder = "uploadFolder";

  /// Takes the file; its folder is made when something is to be remembered.
  UserDefaults(std::filesystem::path file, Logger logger);

  /// "preferences.json" in the user's folder for settings: $XDG_CONFIG_HOME, else ~/.config.
  static std::filesystem::path defaultFile();

  /// False when unset.
  bool boolean(const std::string& key) const;

  /// Nothing when unset or empty.
  std::optional<std::string> text(const std::string& key) const;

  void set(const std::string& key, bool value);
  void set(const std::string& key, const std::string& value);

 private:
  void save() const;

  const std::filesystem::path file_;
  const Logger logger_;
  nlohmann::json values_;
};

}  // namespace tarvinel

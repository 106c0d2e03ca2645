#pragma once

#include "core/support/Log.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// What the program remembers of the presenter's choices from one run to the next: one JSON object
/// in a file that is replaced by a rename. Only what was set is changed in it: other programs with
/// the same file keep what they have set meanwhile, and values that nobody knows stay.
///
/// Lives on the main queue. Never fails: what cannot be read is unset, and what cannot be written
/// is logged, remembered for this run and written with the next value.
class UserDefaults {
 public:
  /// The key of the folder that the presenter chose for uploads.
  static constexpr const char* uploadFolder = "uploadFolder";

  /// Where the values are kept.
  struct Place {
    std::filesystem::path file;          ///< its folder is made when something is to be remembered
    std::filesystem::path earlier = {};  ///< read while there is no `file`
  };

  UserDefaults(Place place, Logger logger);

  /// "preferences.json" beside the user's config.json, else in the folder where that is looked for
  /// first, which is also where the preferences were before there was a config.json.
  static Place defaultPlace();

  /// False when unset.
  bool boolean(const std::string& key) const;

  /// Nothing when unset or empty.
  std::optional<std::string> text(const std::string& key) const;

  void set(const std::string& key, bool value);
  void set(const std::string& key, const std::string& value);

 private:
  void remember(const std::string& key, nlohmann::json value);
  void save();
  void couldNotSave(const std::exception& error) const;
  nlohmann::json stored() const;

  const Place place_;
  const Logger logger_;
  nlohmann::json unsaved_ = nlohmann::json::object();  ///< set, and not yet in the file
  nlohmann::json values_ = nlohmann::json::object();
};

}  // namespace tarvinel

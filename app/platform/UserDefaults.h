#pragma once

#include "core/support/Log.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// The presenter's choices, kept from one run to the next in a JSON object, in a file that is
/// replaced by a rename. Saving changes only the values that were set: values that other programs
/// have set in the same file meanwhile, and unknown ones, are preserved.
///
/// Lives on the main queue. Never fails: what cannot be read is unset, and what cannot be written
/// is logged, kept for this run and written with the next value.
class UserDefaults {
 public:
  /// The key of the upload folder that the presenter chose.
  static constexpr const char* uploadFolder = "uploadFolder";

  /// The files that hold the values.
  struct Place {
    std::filesystem::path file;          ///< its folder is created by the first save
    std::filesystem::path earlier = {};  ///< read if `file` does not exist
  };

  UserDefaults(Place place, Logger logger);

  /// Returns "preferences.json" beside the user's config.json, else in the first folder that is
  /// searched for it; `earlier` is the file in the folder used before there was a config.json.
  static Place defaultPlace();

  /// Returns false if the value is unset.
  bool boolean(const std::string& key) const;

  /// Returns nullopt if the value is unset or empty.
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
  nlohmann::json unsaved_ = nlohmann::json::object();  ///< set, but not yet in the file
  nlohmann::json values_ = nlohmann::json::object();
};

}  // namespace tarvinel

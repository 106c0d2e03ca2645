#include "app/UserDefaults.h"

#include "core/support/ApplicationSupport.h"
#include "core/support/RegularFile.h"
#include "core/support/ReplacedFile.h"

#include <exception>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::size_t maxPreferencesBytes = std::size_t{1} << 20U;

nlohmann::json objectIn(const std::filesystem::path& file) {
  try {
    auto values =
        nlohmann::json::parse(textOf(readRegularFile(file, maxPreferencesBytes)), nullptr, false);
    if (values.is_object()) return values;
  } catch (const FileReadError&) {  // there is none
  }
  return nlohmann::json::object();
}

}  // namespace

UserDefaults::UserDefaults(std::filesystem::path file, Logger logger)
    : file_(std::move(file)), logger_(std::move(logger)), values_(objectIn(file_)) {}

std::filesystem::path UserDefaults::defaultFile() {
  return SupportEnvironment::current().configFolder() / "Tarvinel/preferences.json";
}

bool UserDefaults::boolean(const std::string& key) const {
  const auto found = values_.find(key);
  return found != values_.end() && found->is_boolean() && found->get<bool>();
}

std::optional<std::string> UserDefaults::text(const std::string& key) const {
  const auto found = values_.find(key);
  if (found == values_.end() || !found->is_string()) return std::nullopt;
  auto text = found->get<std::string>();
  if (text.empty()) return std::nullopt;
  return text;
}

void UserDefaults::set(const std::string& key, bool value) {
  values_[key] = value;
  save();
}

void UserDefaults::set(const std::string& key, const std::string& value) {
  values_[key] = value;
  save();
}

void UserDefaults::save() const {
  try {
    replaceFile(file_, values_.dump(2) + "\n");
  } catch (const std::exception& error) {
    logger_->error("preferences at {} could not be written: {}", file_.string(), error.what());
  }
}

}  // namespace tarvinel

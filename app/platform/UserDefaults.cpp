#include "app/platform/UserDefaults.h"

#include "core/support/ApplicationSupport.h"
#include "core/support/RegularFile.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>

#include <chrono>
#include <thread>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::size_t maxPreferencesBytes = std::size_t{1} << 20U;

// Another program that writes continuously releases the lock only for moments.
constexpr int triesForLock = 3000;
constexpr std::chrono::milliseconds pauseBetweenTries{1};

/// Returns a lock that keeps other programs from writing until it is released. Does not wait for a
/// program that holds it too long.
UniqueFd lockedFolder(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  UniqueFd opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (int i = 0; i < triesForLock && opened; ++i) {
    if (tryLock(opened.get()) != FileLock::heldByAnother) break;
    std::this_thread::sleep_for(pauseBetweenTries);
  }
  return opened;
}

}  // namespace

UserDefaults::UserDefaults(Place place, Logger logger)
    : place_(std::move(place)), logger_(std::move(logger)) {
  values_ = stored();
}

UserDefaults::Place UserDefaults::defaultPlace() {
  const SupportEnvironment environment = SupportEnvironment::current();
  const std::filesystem::path name = "Tarvinel/preferences.json";
  return {preferencesFolder(environment) / name, environment.configFolder() / name};
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
  remember(key, value);
}

void UserDefaults::set(const std::string& key, const std::string& value) {
  remember(key, value);
}

void UserDefaults::remember(const std::string& key, nlohmann::json value) {
  values_[key] = value;
  unsaved_[key] = std::move(value);
  save();
}

void UserDefaults::save() {
  try {
    const UniqueFd lock = lockedFolder(place_.file.parent_path());
    auto values = stored();
    values.update(unsaved_);
    replaceFile(place_.file, values.dump(2) + "\n");
    unsaved_.clear();
  } catch (const nlohmann::json::exception& error) {
    couldNotSave(error);
    unsaved_.clear();  // a path that is not UTF-8 would prevent all others from being saved
  } catch (const std::exception& error) {
    couldNotSave(error);
  }
}

void UserDefaults::couldNotSave(const std::exception& error) const {
  logger_->error("preferences at {} could not be written: {}", place_.file.string(), error.what());
}

/// Returns the file's current values, or this run's values if the file cannot be read.
nlohmann::json UserDefaults::stored() const {
  for (const auto& file : {place_.file, place_.earlier}) {
    try {
      const Bytes text = readRegularFile(file, maxPreferencesBytes);
      auto values = nlohmann::json::parse(textOf(text), nullptr, false);
      return values.is_object() ? values : values_;
    } catch (const FileReadError& error) {
      if (!error.isAbsent()) return values_;
    }
  }
  return nlohmann::json::object();
}

}  // namespace tarvinel

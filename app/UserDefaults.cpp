#include "app/UserDefaults.h"

#include "core/support/ApplicationSupport.h"
#include "core/support/RegularFile.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
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

void check(bool succeeded) {
  if (!succeeded) throw std::system_error(errno, std::generic_category());
}

void writeDurably(const std::filesystem::path& file, std::string_view content) {
  const UniqueFd fd(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  check(static_cast<bool>(fd));
  while (!content.empty()) {
    const ssize_t count = write(fd.get(), content.data(), content.size());
    check(count >= 0 || errno == EINTR);
    if (count > 0) content.remove_prefix(static_cast<std::size_t>(count));
  }
  check(fsync(fd.get()) == 0);
}

}  // namespace

UserDefaults::UserDefaults(std::filesystem::path file, Logger logger)
    : file_(std::move(file)), logger_(std::move(logger)), values_(objectIn(file_)) {}

std::filesystem::path UserDefaults::defaultFile() {
  const auto environment = SupportEnvironment::current();
  return environment.configHome.value_or(environment.home / ".config") /
         "Tarvinel/preferences.json";
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
    std::filesystem::create_directories(file_.parent_path());
    auto newFile = file_;
    newFile += ".new";
    writeDurably(newFile, values_.dump(2) + "\n");
    std::filesystem::rename(newFile, file_);
  } catch (const std::exception& error) {
    logger_->error("preferences at {} could not be written: {}", file_.string(), error.what());
  }
}

}  // namespace tarvinel

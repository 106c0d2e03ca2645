#include "app/doctor/FileChecks.h"

#include "app/platform/PicturesFolder.h"
#include "app/platform/UserDefaults.h"
#include "app/startup/Configuration.h"
#include "core/config/ConfigCoding.h"
#include "core/config/ConfigFile.h"
#include "core/support/ApplicationSupport.h"
#include "core/support/Log.h"
#include "core/uploads/UploadController.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <ctime>
#include <system_error>

namespace tarvinel {

namespace {

using nlohmann::json;

/// Returns a configuration with a value for every setting.
json everySetting() {
  TarvinelConfig all;
  all.motionFps = 1;
  all.brand = BrandConfig{"", "", "", "", "", ""};
  return encodeConfig(all);
}

void addUnknownKeys(std::vector<std::string>& unknown, const json& object, const json& known,
                    const std::string& prefix = {}) {
  for (const auto& [key, value] : object.items()) {
    const auto found = known.find(key);
    if (found == known.end()) {
      unknown.push_back(prefix + key);
    } else if (found->is_object() && value.is_object()) {
      addUnknownKeys(unknown, value, *found, key + ".");
    }
  }
}

/// Returns the numbers that were clamped to their range.
std::vector<std::string> correctionsOf(const json& object, const json& inForce) {
  std::vector<std::string> corrections;
  for (const auto& [key, value] : object.items()) {
    const auto used = inForce.find(key);
    if (key == "port" || used == inForce.end() || !value.is_number() || *used == value) continue;
    corrections.push_back(fmt::format("{} is {} instead of {}", key, used->dump(), value.dump()));
  }
  return corrections;
}

std::vector<std::string> lostFilesOf(const std::optional<BrandConfig>& brand) {
  if (!brand) return {};
  const auto assets = BrandConfig::Assets::load(brand);
  std::vector<std::string> lost;
  if (brand->image && !assets.image) lost.push_back("brand.image, " + *brand->image);
  if (brand->font && !assets.font) lost.push_back("brand.font, " + *brand->font);
  return lost;
}

Finding readFinding(const ConfigurationProbe& probe) {
  const std::string& file = probe.file.native();
  if (probe.exists) return {Finding::State::fine, fmt::format("{} is in force.", file)};
  return {Finding::State::fine, fmt::format("There is no {}: everything is at its default.", file)};
}

}  // namespace

ConfigurationProbe ConfigurationProbe::of(const CommandLineOptions& options) {
  const auto loaded = Configuration::load(options, Log::silent());
  ConfigurationProbe probe{.file = options.config.value_or(TarvinelConfig::defaultURL()),
                           .problem = loaded.problem};
  std::error_code unreachable;
  probe.exists = std::filesystem::exists(probe.file, unreachable);
  if (!probe.exists && !options.config) {
    // of the places that are searched, the one to create it in
    probe.file = SupportEnvironment::current().configFolder() / "Tarvinel/config.json";
  }
  const json object = ConfigFile::read(probe.file).object;
  addUnknownKeys(probe.unknownKeys, object, everySetting());
  if (!probe.problem) probe.corrections = correctionsOf(object, encodeConfig(loaded.config));
  probe.lostBrandFiles = lostFilesOf(loaded.config.brand);
  return probe;
}

Findings judge(const ConfigurationProbe& probe) {
  using enum Finding::State;
  Findings findings;
  if (probe.problem) {
    findings.push_back(
        {needsAttention, *probe.problem, {"Correct the file, then start Tarvinel again."}});
  } else {
    findings.push_back(readFinding(probe));
  }
  if (!probe.unknownKeys.empty()) {
    findings.push_back({worthKnowing,
                        fmt::format("No such setting: {}.", fmt::join(probe.unknownKeys, ", ")),
                        {"Look at its spelling; capital letters count."}});
  }
  for (const std::string& correction : probe.corrections)
    findings.push_back({worthKnowing, fmt::format("Out of range: {}.", correction)});
  for (const std::string& lost : probe.lostBrandFiles) {
    findings.push_back({needsAttention,
                        fmt::format("It cannot be used: {}.", lost),
                        {"It is missing, unreadable, larger than 10 MB or of an unknown type."}});
  }
  return findings;
}

namespace {

namespace fs = std::filesystem;
using Folder = UploadProbe::Folder;

fs::path folderFor(const CommandLineOptions& options) {
  if (options.uploadFolder) return fs::absolute(*options.uploadFolder);
  const UserDefaults chosen(UserDefaults::defaultPlace(), Log::silent().category("app"));
  return chosen.text(UserDefaults::uploadFolder).value_or(defaultUploadFolder(std::time(nullptr)));
}

/// Returns the folder itself, or its nearest parent that exists.
fs::path existingPartOf(fs::path path) {
  std::error_code unreachable;
  while (path.has_relative_path() && !fs::exists(path, unreachable))
    path = path.parent_path();
  return path;
}

Folder stateOf(const fs::path& path, const fs::path& existing) {
  std::error_code unreachable;
  if (!fs::is_directory(existing, unreachable)) return Folder::isNoFolder;
  if (::faccessat(AT_FDCWD, existing.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
    return Folder::notWritable;
  return path == existing ? Folder::usable : Folder::willBeMade;
}

std::optional<std::int64_t> freeBytesAt(const fs::path& folder) {
  std::error_code error;
  const auto space = fs::space(folder, error);
  if (error) return std::nullopt;
  return static_cast<std::int64_t>(space.available);
}

std::string freeText(const std::optional<std::int64_t>& bytes) {
  if (!bytes) return "";
  return fmt::format(", {:.1f} GB free", static_cast<double>(*bytes) / 1e9);
}

}  // namespace

UploadProbe UploadProbe::of(const CommandLineOptions& options) {
  UploadProbe probe{.path = folderFor(options)};
  const fs::path existing = existingPartOf(probe.path);
  probe.folder = stateOf(probe.path, existing);
  probe.freeBytes = freeBytesAt(existing);
  return probe;
}

Findings judge(const UploadProbe& probe) {
  using enum Finding::State;
  const std::string& path = probe.path.native();
  const std::vector<std::string> choose{
      "Choose another folder in the menu, or with --upload-folder."};
  if (probe.folder == Folder::isNoFolder) {
    return {
        {needsAttention, fmt::format("Photos cannot go to {}: that is no folder.", path), choose}};
  }
  if (probe.folder == Folder::notWritable) {
    return {{needsAttention,
             fmt::format("Photos cannot go to {}: this user may not write there.", path), choose}};
  }
  if (probe.freeBytes && *probe.freeBytes <= UploadController::headroom) {
    return {{needsAttention,
             fmt::format("The disk of {} is too full for photos: 1.1 GB stay free.", path),
             {"Make room on it, or choose another folder in the menu or with --upload-folder."}}};
  }
  return {{fine, fmt::format("Photos go to {}{}{}.", path,
                             probe.folder == Folder::willBeMade ? ", which will be made" : "",
                             freeText(probe.freeBytes))}};
}

Finding hangingDisk() {
  return {Finding::State::needsAttention,
          "The disk of the upload folder does not answer.",
          {"Look at its connection, or choose another folder with --upload-folder."}};
}

}  // namespace tarvinel

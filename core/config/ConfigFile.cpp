#include "core/config/ConfigFile.h"

#include "core/config/SettingsJSON.h"
#include "core/support/RegularFile.h"
#include "core/support/Result.h"

#include <stdexcept>
#include <string>

namespace tarvinel {

namespace {

using nlohmann::json;
using std::filesystem::path;

json parsed(const Bytes& text, const std::string& name) {
  try {
    return parseSettingsJSON(textOf(text));
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(name + " is not valid JSON: " + error.what());
  }
}

json readObject(const path& file) {
  const std::string name = file.filename();
  json document = parsed(readRegularFile(file, ConfigFile::maxBytes), name);
  if (!document.is_object()) throw std::runtime_error(name + " is valid JSON but not an object");
  return document;
}

bool isRelative(const std::string& file) {
  return !file.starts_with('/') && !file.starts_with('~');
}

void resolveBrandPaths(json& object, const path& folder) {
  const auto brand = object.find("brand");
  if (brand == object.end() || !brand->is_object()) return;
  for (const char* key : {"image", "font"}) {
    const auto file = brand->find(key);
    if (file == brand->end() || !file->is_string()) continue;
    const auto name = file->get<std::string>();
    if (isRelative(name)) *file = (folder / name).native();
  }
}

}  // namespace

ConfigFile ConfigFile::read(const path& file) {
  try {
    return {readObject(file), nullptr};
  } catch (const FileReadError& error) {
    return {json::object(), error.isAbsent() ? nullptr : std::current_exception()};
  } catch (const std::exception&) {
    return {json::object(), std::current_exception()};
  }
}

ConfigFile ConfigFile::readBundledProfile(const std::optional<path>& folder, const Logger& logger) {
  if (!folder) return {};
  const path file = *folder / "config.json";
  ConfigFile profile = read(file);
  if (profile.error) {
    logger->error("bundled profile at {} ignored: {}", file.native(), describe(profile.error));
  }
  resolveBrandPaths(profile.object, *folder);
  return profile;
}

}  // namespace tarvinel

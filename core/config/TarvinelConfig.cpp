#include "core/config/TarvinelConfig.h"

#include "core/config/ConfigCoding.h"
#include "core/config/ConfigFile.h"
#include "core/support/ApplicationSupport.h"
#include "core/support/HostLabel.h"
#include "core/support/Result.h"

#include <algorithm>
#include <utility>

namespace tarvinel {

namespace {

using nlohmann::json;

/// Replaces an invalid host name; returns an error with the name as given in the file, or null.
std::exception_ptr correctHostname(TarvinelConfig& config, const json& settings) {
  if (config.hostname.empty() || isValidHostLabel(config.hostname)) return nullptr;
  config.hostname = TarvinelConfig::defaultHostname;
  return std::make_exception_ptr(
      TarvinelConfigError::invalidHostname(settings.at("hostname").get<std::string>()));
}

/// Drops an invalid colour; returns the error, or null.
std::exception_ptr correctColor(std::optional<BrandConfig>& brand) {
  if (!brand || !brand->color || BrandConfig::isValidColor(*brand->color)) return nullptr;
  const auto color = std::exchange(brand->color, std::nullopt);
  return std::make_exception_ptr(TarvinelConfigError::invalidBrandColor(*color));
}

/// Drops invalid host names; returns the error for the first of them, or null.
std::exception_ptr correctAllowedHosts(std::vector<std::string>& names) {
  const auto wrong = std::ranges::find_if_not(names, isValidHostName);
  if (wrong == names.end()) return nullptr;
  const std::string first = *wrong;
  std::erase_if(names, [](const std::string& name) { return !isValidHostName(name); });
  return std::make_exception_ptr(TarvinelConfigError::invalidAllowedHost(first));
}

}  // namespace

std::filesystem::path TarvinelConfig::defaultURL() {
  return applicationSupportFolder(SupportEnvironment::current()) / "Tarvinel/config.json";
}

TarvinelConfig TarvinelConfig::clamped() const {
  TarvinelConfig clamped = *this;
  clamped.fps = std::clamp<std::int64_t>(fps, 1, 60);
  clamped.jpegQuality = std::clamp(jpegQuality, 0.1, 1.0);
  clamped.scale = std::clamp(scale, 1.0, 2.0);
  clamped.motionQuality = std::clamp(motionQuality, 0.1, 1.0);
  clamped.budgetMbps = std::clamp(budgetMbps, 10.0, 10000.0);
  if (motionFps) clamped.motionFps = std::clamp<std::int64_t>(*motionFps, 1, 60);
  return clamped;
}

TarvinelConfig::Loaded TarvinelConfig::load(
    const std::filesystem::path& userFile,
    const std::optional<std::filesystem::path>& bundledProfile, const Logger& logger) {
  const ConfigFile profile = ConfigFile::readBundledProfile(bundledProfile, logger);
  const ConfigFile user = ConfigFile::read(userFile);
  const std::exception_ptr pending = profile.error ? profile.error : user.error;
  const json settings = ConfigMerge::merge(profile.object, user.object);
  try {
    TarvinelConfig config = decodeConfig(settings).clamped();
    if (const auto problem = correctHostname(config, settings)) {
      return {config, pending ? pending : problem};  // the colour is left as it is
    }
    if (const auto problem = correctColor(config.brand); problem && !pending) {
      return {config, problem};
    }
    if (const auto problem = correctAllowedHosts(config.allowedHosts); problem && !pending) {
      return {config, problem};
    }
    if (!profile.object.empty()) {
      logger->info("loaded bundled profile hostname={}", config.hostname);
    }
    return {config, pending};
  } catch (const std::exception& error) {
    logger->error("merged config could not be decoded: {}", error.what());
    return {{}, pending ? pending : std::current_exception()};
  }
}

}  // namespace tarvinel

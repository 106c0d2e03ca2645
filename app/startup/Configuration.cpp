#include "app/startup/Configuration.h"

#include "app/platform/ResourcesFolder.h"
#include "core/config/TarvinelConfig.h"
#include "core/support/ASCII.h"
#include "core/support/Result.h"

#include <fmt/format.h>

#include <exception>
#include <filesystem>
#include <utility>

namespace tarvinel {

namespace {

using std::filesystem::path;

std::optional<path> profileFolder(const CommandLineOptions& options) {
  if (options.profile) return *options.profile;
  const auto resources = resourcesFolder();
  if (!resources) return std::nullopt;
  return *resources / "Profile";
}

/// Returns the error as a single line, whatever characters the file's texts contain.
std::string report(const path& file, const std::exception_ptr& error) {
  const bool isCorrected = errorAs<TarvinelConfigError>(error).has_value();
  return withoutControls(fmt::format("config at {}{}: {}", file.native(),
                                     isCorrected ? "" : " ignored", describe(error)));
}

bool isMissing(const std::optional<path>& file) {
  std::error_code unreachable;
  return file && !std::filesystem::exists(*file, unreachable);
}

/// Returns a message if a file that the command line names does not exist; a missing default file
/// is no error.
std::optional<std::string> missingFile(const CommandLineOptions& options) {
  std::optional<path> profile;
  if (options.profile) profile = path(*options.profile) / "config.json";
  for (const auto& [name, file] :
       {std::pair("config", std::optional<path>(options.config)), std::pair("profile", profile)}) {
    if (isMissing(file)) {
      return withoutControls(fmt::format("{} at {} does not exist", name, file->native()));
    }
  }
  return std::nullopt;
}

}  // namespace

Configuration Configuration::load(const CommandLineOptions& options, const Log& log) {
  const path file = options.config ? path(*options.config) : TarvinelConfig::defaultURL();
  const Logger logger = log.category("config");
  auto loaded = TarvinelConfig::load(file, profileFolder(options), logger);
  if (options.port) loaded.config.port = *options.port;
  if (!loaded.error) return {std::move(loaded.config), missingFile(options)};
  const std::string problem = report(file, loaded.error);
  logger->error("{}", problem);
  return {std::move(loaded.config), problem};
}

}  // namespace tarvinel

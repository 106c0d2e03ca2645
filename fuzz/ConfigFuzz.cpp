#include "core/config/ConfigCoding.h"
#include "core/config/TarvinelConfig.h"
#include "core/pages/HelpPage.h"
#include "core/pages/ViewerPage.h"
#include "core/support/FatalError.h"
#include "core/support/HostLabel.h"
#include "core/support/Result.h"
#include "tests/support/TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// An input is the user's file, or the built-in profile's and, after the first byte 0xFF (never part
// of UTF-8), the user's.

namespace tarvinel {
namespace {

void require(bool condition, std::string_view what) {
  if (!condition) fatalError(what);
}

void checkRanges(const TarvinelConfig& config) {
  require(config.fps >= 1 && config.fps <= 60, "fps");
  require(config.jpegQuality >= 0.1 && config.jpegQuality <= 1, "jpegQuality");
  require(config.scale >= 1 && config.scale <= 2, "scale");
  require(config.motionQuality >= 0.1 && config.motionQuality <= 1, "motionQuality");
  require(config.budgetMbps >= 10 && config.budgetMbps <= 10000, "budgetMbps");
  require(!config.motionFps || (*config.motionFps >= 1 && *config.motionFps <= 60), "motionFps");
}

void checkTexts(const TarvinelConfig& config, bool reported) {
  require(config.hostname.empty() || isValidHostLabel(config.hostname), "hostname");
  const bool validColor =
      !config.brand || !config.brand->color || BrandConfig::isValidColor(*config.brand->color);
  require(validColor || reported, "an invalid colour that is not reported");
}

void checkPages(const TarvinelConfig& config) {
  const std::string viewer = ViewerPage::html(config.brand);
  const std::string help = HelpPage::html(config.brand, config.hostname);
  // the pages' own markup; the configuration's texts must be escaped
  static const auto tags = [](std::string_view page) { return std::ranges::count(page, '<'); };
  static const auto plainViewer = tags(ViewerPage::html());
  static const auto plainHelp = tags(HelpPage::html({}, ""));
  require(tags(viewer) <= plainViewer + 2, "markup in the viewer page");
  require(tags(help) <= plainHelp, "markup in the help page");
}

void load(std::string_view profile, std::string_view user, bool hasProfile) {
  static const test::TemporaryFolder folder;
  const auto userFile = folder.write("config.json", user);
  std::optional<std::filesystem::path> profileFolder;
  if (hasProfile) profileFolder = folder.write("Profile/config.json", profile).parent_path();
  static const Logger logger = Log::silent().category("config");
  const auto loaded = TarvinelConfig::load(userFile, profileFolder, logger);
  if (loaded.error) require(!describe(loaded.error).empty(), "an error without a text");
  checkRanges(loaded.config);
  checkTexts(loaded.config, loaded.error != nullptr);
  checkPages(loaded.config);
  require(decodeConfig(encodeConfig(loaded.config)) == loaded.config, "encoding and decoding");
}

}  // namespace
}  // namespace tarvinel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const auto separator = input.find('\xFF');
  if (separator == std::string_view::npos) {
    tarvinel::load({}, input, false);
  } else {
    tarvinel::load(input.substr(0, separator), input.substr(separator + 1), true);
  }
  return 0;
}

#pragma once

#include "core/config/BrandConfig.h"
#include "core/support/ASCII.h"
#include "core/support/Log.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvinel {

/// The error of a setting that was corrected; the rest of the configuration is in force. The text
/// shows control characters of the value as question marks.
class TarvinelConfigError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t { invalidHostname, invalidBrandColor, invalidAllowedHost };

  static TarvinelConfigError invalidHostname(const std::string& value) {
    return {Case::invalidHostname, value,
            "hostname \"" + withoutControls(value) +
                R"(" must be 1-63 letters, digits, or hyphens (no dots); using "tarvinel")"};
  }
  static TarvinelConfigError invalidBrandColor(const std::string& value) {
    return {Case::invalidBrandColor, value,
            "brand.color \"" + withoutControls(value) + "\" must be #rrggbb; ignoring it"};
  }
  static TarvinelConfigError invalidAllowedHost(const std::string& value) {
    return {Case::invalidAllowedHost, value,
            "allowedHosts \"" + withoutControls(value) +
                "\" must be a host name without port and path; ignoring it"};
  }

  Case kind() const { return kind_; }

  /// The rejected text as given in the file.
  const std::string& value() const { return value_; }

 private:
  TarvinelConfigError(Case kind, std::string value, const std::string& text)
      : std::runtime_error(text), kind_(kind), value_(std::move(value)) {}

  Case kind_;
  std::string value_;
};

/// The program's settings; a plain value, fixed for the whole run.
struct TarvinelConfig {
  static constexpr std::string_view defaultHostname = "tarvinel";

  std::uint16_t port = 80;                ///< TCP port of the web server; 0: any free port
  std::int64_t fps = 20;                  ///< capture rate, frames per second, 1 to 60
  double jpegQuality = 0.92;              ///< of settled frames, 0.1 to 1.0
  double scale = 2.0;                     ///< captured pixels per point at the most, 1.0 to 2.0
  double motionQuality = 0.7;             ///< of motion frames, 0.1 to 1.0
  double budgetMbps = 300;                ///< megabits per second for all viewers, 10 to 10000
  std::optional<std::int64_t> motionFps;  ///< pins the motion rate, 1 to 60
  std::string hostname{defaultHostname};  ///< DNS label published under .local; empty: none
  std::optional<BrandConfig> brand;       ///< marks the pages
  std::vector<std::string> allowedHosts;  ///< additional host names that viewers may use

  struct Loaded;

  bool operator==(const TarvinelConfig&) const = default;

  /// Returns the path of the user's configuration file, which need not exist.
  static std::filesystem::path defaultURL();

  /// Returns a copy with every number within its range.
  TarvinelConfig clamped() const;

  /// Reads the user's file and, key by key beneath it, "config.json" in the profile folder that a
  /// maker built in. Never fails: defaults replace what cannot be used. A file that does not exist
  /// is not an error. Blocks.
  static Loaded load(const std::filesystem::path& userFile,
                     const std::optional<std::filesystem::path>& bundledProfile,
                     const Logger& logger);
};

/// The result of loading: always settings, and the first error that occurred, if any. A
/// TarvinelConfigError means that one setting was corrected; any other error means that a file or
/// the whole configuration could not be used.
struct TarvinelConfig::Loaded {
  TarvinelConfig config;
  std::exception_ptr error;
};

}  // namespace tarvinel

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarvinel {

/// The program's settings; a plain value, fixed for the whole run.
struct TarvinelConfig {
  std::uint16_t port = 80;                ///< TCP port of the web server; 0: any free one
  std::int64_t fps = 20;                  ///< capture rate, frames per second, 1 to 60
  double jpegQuality = 0.92;              ///< of settled frames, 0.1 to 1.0
  double scale = 2.0;                     ///< captured pixels per point at the most, 1.0 to 2.0
  double motionQuality = 0.7;             ///< of motion frames, 0.1 to 1.0
  double budgetMbps = 300;                ///< megabits per second for all viewers together
  std::optional<std::int64_t> motionFps;  ///< pins the motion rate, 1 to 60
  std::string hostname = "tarvinel";      ///< DNS label published under .local; empty: none

  bool operator==(const TarvinelConfig&) const = default;
};

}  // namespace tarvinel

#pragma once

#include "app/doctor/Finding.h"
#include "app/doctor/PortHolder.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tarvinel {

/// What came of listening on the port, for a moment.
struct PortFacts {
  /// The helper for port 80, which is asked where this process may not listen there itself.
  enum class Helper : std::uint8_t { notAsked, isMissing, mayNot, listens };

  std::uint16_t port = 0;
  int error = 0;  ///< errno of the last attempt; 0: it could be listened on
  Helper helper = Helper::notAsked;
  std::filesystem::path helperPlace = {};
  std::optional<PortHolder> holder = {};  ///< when the port is taken

  /// What is known of a port that this program was refused, without another attempt. `error` is an
  /// errno, `helper` the place of the helper.
  static PortFacts afterRefusal(std::uint16_t port, int error, const std::filesystem::path& helper);

  /// Tries. `helper` is the place of the helper. Blocks for some seconds at the most.
  static PortFacts of(std::uint16_t port, const std::filesystem::path& helper);
};

/// Whether the program could listen on its port. Pure.
Findings judge(const PortFacts& facts);

}  // namespace tarvinel

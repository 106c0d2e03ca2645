#pragma once

#include "app/doctor/BusInquiry.h"
#include "app/doctor/Doctor.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// What a Wayland desktop offers to who wants to share its screen.
struct PortalProbe {
  enum class Portal : std::uint8_t { isMissing, startsWhenNeeded, runs };

  /// Bits of `sourceTypes`, as the portal's interface has them.
  static constexpr std::uint32_t monitors = 1;
  static constexpr std::uint32_t windows = 2;

  BusInquiry::State bus = BusInquiry::State::replies;  ///< the session's
  Portal portal = Portal::isMissing;
  std::optional<std::uint32_t> version = {};      ///< of its screen cast; nothing: it has none
  std::optional<std::uint32_t> sourceTypes = {};  ///< nothing when it does not say
  std::filesystem::path pipeWireSocket = {};
  bool pipeWireAnswers = false;  ///< it takes connections

  /// Looks, and starts nothing. Blocks for some seconds at the most.
  static PortalProbe current();
};

/// Whether the screen could be shared through the portal. Pure.
Findings judge(const PortalProbe& probe);

}  // namespace tarvinel

#pragma once

#include "app/doctor/BusInquiry.h"
#include "app/doctor/Doctor.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// A Wayland desktop's capabilities for sharing the screen.
struct PortalProbe {
  enum class Portal : std::uint8_t { isMissing, startsWhenNeeded, runs };

  /// Bits of `sourceTypes`, as the portal's interface defines them.
  static constexpr std::uint32_t monitors = 1;
  static constexpr std::uint32_t windows = 2;

  BusInquiry::State bus = BusInquiry::State::replies;  ///< of the session bus
  Portal portal = Portal::isMissing;
  std::optional<std::uint32_t> version = {};      ///< of its screen cast; nullopt if it has none
  std::optional<std::uint32_t> sourceTypes = {};  ///< nullopt if it does not report them
  std::filesystem::path pipeWireSocket = {};
  bool pipeWireAnswers = false;  ///< it accepts connections

  /// Probes the desktop without starting a service. Blocks for a few seconds at most.
  static PortalProbe current();
};

/// Reports whether the screen can be shared through the portal. Pure.
Findings judge(const PortalProbe& probe);

}  // namespace tarvinel

#pragma once

#include "app/capture/CaptureServiceFactory.h"
#include "app/doctor/BusInquiry.h"
#include "app/doctor/Doctor.h"
#include "app/doctor/SessionCheck.h"
#include "app/x11/Connection.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tarvinel {

/// Where the program's icon can appear.
struct TrayProbe {
  SessionProbe session = {};
  BusInquiry::State bus = BusInquiry::State::replies;  ///< of the session bus
  bool hasNotifierHost = false;                        ///< a panel shows status notifier items
  bool hasEmbeddingTray = false;                       ///< the X display has a tray for windows

  /// Probes the desktop. Blocks for a few seconds at most.
  static TrayProbe of(const SessionProbe& session);
};

/// Reports whether the program would be in a tray or in a window. Pure.
Findings judge(const TrayProbe& probe);

/// Reports that this build is for the terminal only.
Findings withoutTray();

/// The capabilities of an X server.
struct DisplayProbe {
  enum class Extension : std::uint8_t { damage, composite, fixes, randr, resources, sharedMemory };

  std::string error = {};  ///< why the server cannot be used; empty if it replies
  int width = 0;           ///< of the whole screen, pixels
  int height = 0;
  int displays = 0;
  std::vector<Extension> missing = {};
  bool hangs = false;  ///< it accepts connections but does not reply

  /// Probes the server of a display such as ":0". `limit` applies to each reply.
  static DisplayProbe of(const std::string& display,
                         std::chrono::milliseconds limit = x11::Options::probeLimit);
};

/// What is known of the screen if the portal does not capture it.
struct ScreenProbe {
  CaptureBackend wanted = CaptureBackend::automatic;
  CaptureDecision decision = {};
  DisplayProbe server = {};  ///< without an error if it was not probed
  std::string display = {};  ///< such as ":0"

  /// Decides by what the session offers, and probes the X server if there is one. Blocks.
  static ScreenProbe of(CaptureBackend wanted, const CaptureEnvironment& environment);
};

/// Reports whether the X11 screen can be shared, or what is shown instead. Pure.
Findings judge(const ScreenProbe& probe);

}  // namespace tarvinel

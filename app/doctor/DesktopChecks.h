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

/// Where the program's icon would be.
struct TrayProbe {
  SessionProbe session = {};
  BusInquiry::State bus = BusInquiry::State::replies;  ///< the session's
  bool hasNotifierHost = false;                        ///< a panel shows status notifier items
  bool hasEmbeddingTray = false;                       ///< the X display has a tray for windows

  /// Looks. Blocks for some seconds at the most.
  static TrayProbe of(const SessionProbe& session);
};

/// Whether the program would be in a tray or in a window. Pure.
Findings judge(const TrayProbe& probe);

/// What there is to say of a build for the terminal only.
Findings withoutTray();

/// What an X server was found to offer.
struct DisplayProbe {
  enum class Extension : std::uint8_t { damage, composite, fixes, randr, resources, sharedMemory };

  std::string error = {};  ///< why it cannot be asked; empty when it replies
  int width = 0;           ///< of the whole screen, pixels
  int height = 0;
  int displays = 0;
  std::vector<Extension> missing = {};
  bool hangs = false;  ///< it takes connections but does not reply

  /// Asks the server of a display such as ":0". `limit` is for each reply.
  static DisplayProbe of(const std::string& display,
                         std::chrono::milliseconds limit = x11::Options::probeLimit);
};

/// What is known of the screen where it is not the portal's.
struct ScreenProbe {
  CaptureBackend wanted = CaptureBackend::automatic;
  CaptureDecision decision = {};
  DisplayProbe server = {};  ///< without an error where it was not asked
  std::string display = {};  ///< such as ":0"

  /// Decides by what the session offers, and asks the X server if there is one. Blocks.
  static ScreenProbe of(CaptureBackend wanted, const CaptureEnvironment& environment);
};

/// Whether the X11 screen can be shared, or what is shown in its place. Pure.
Findings judge(const ScreenProbe& probe);

}  // namespace tarvinel

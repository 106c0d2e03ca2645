#pragma once

#include "app/capture/CaptureServiceFactory.h"
#include "app/doctor/Doctor.h"

#include <string>

namespace tarvinel {

/// What the environment says of the desktop.
struct SessionProbe {
  CaptureEnvironment environment;
  std::string desktop = {};  ///< XDG_CURRENT_DESKTOP; empty when not set

  /// Of this process.
  static SessionProbe current();

  bool isWayland() const;
  bool hasDisplay() const;
};

/// Which kind of session the program would run in. Pure.
Findings judge(const SessionProbe& probe);

}  // namespace tarvinel

#pragma once

#include "app/capture/CaptureServiceFactory.h"
#include "app/doctor/Doctor.h"

#include <string>

namespace tarvinel {

/// The environment's variables on the desktop.
struct SessionProbe {
  CaptureEnvironment environment;
  std::string desktop = {};  ///< XDG_CURRENT_DESKTOP; empty if unset

  /// Returns the probe of this process.
  static SessionProbe current();

  bool isWayland() const;
  bool hasDisplay() const;
};

/// Reports the kind of session in which the program would run. Pure.
Findings judge(const SessionProbe& probe);

}  // namespace tarvinel

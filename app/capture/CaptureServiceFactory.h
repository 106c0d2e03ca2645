#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/portal/RestoreTokens.h"
#include "app/x11/Link.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarvinel {

class Log;

/// The backend that captures the screen.
enum class CaptureBackend : std::uint8_t { automatic, x11, portal, pattern };

/// The environment variables that describe the session; an unset one is empty.
struct CaptureEnvironment {
  std::string display;         ///< DISPLAY
  std::string waylandDisplay;  ///< WAYLAND_DISPLAY
  std::string sessionType;     ///< XDG_SESSION_TYPE

  /// Returns the environment of this process. Must be called before there are other threads.
  static CaptureEnvironment current();
};

/// A backend other than `automatic`, and the reason for it.
struct CaptureDecision {
  CaptureBackend backend = CaptureBackend::pattern;
  std::string reason;  ///< one sentence for people
};

/// Chooses the backend. `replies` returns whether an X server responds under a name; it is called
/// only when that matters. Otherwise pure.
CaptureDecision chooseCaptureBackend(CaptureBackend wanted, const CaptureEnvironment& environment,
                                     const std::function<bool(const std::string&)>& replies);

/// Returns whether an X server responds at a display such as ":0". May block for a few seconds.
bool xServerResponds(const std::string& display);

/// The objects that services share with their owner.
struct CaptureMeans {
  std::shared_ptr<portal::RestoreTokens> tokens;  ///< for the desktop's portal
  std::shared_ptr<x11::Interrupt> interrupt;      ///< ends every wait for an X server
};

/// Makes the service of a chosen backend on the capture queue, which must outlive it.
std::unique_ptr<ScreenCaptureService> makeCaptureService(CaptureBackend backend,
                                                         const CaptureEnvironment& environment,
                                                         const CaptureMeans& means, const Log& log,
                                                         SerialQueue& queue);

}  // namespace tarvinel

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

/// By which road pictures of the screen come.
enum class CaptureBackend : std::uint8_t { automatic, x11, portal, pattern };

/// What the environment says of the session; a variable that is not set is empty.
struct CaptureEnvironment {
  std::string display;         ///< DISPLAY
  std::string waylandDisplay;  ///< WAYLAND_DISPLAY
  std::string sessionType;     ///< XDG_SESSION_TYPE

  /// That of this process. Call it before there are other threads.
  static CaptureEnvironment current();
};

/// A road other than `automatic`, and why.
struct CaptureDecision {
  CaptureBackend backend = CaptureBackend::pattern;
  std::string reason;  ///< one sentence for people
};

/// Chooses the road. `answers` tells whether an X server answers under a name; it is asked only
/// when that matters. Otherwise pure.
CaptureDecision chooseCaptureBackend(CaptureBackend wanted, const CaptureEnvironment& environment,
                                     const std::function<bool(const std::string&)>& replies);

/// True when an X server answers under the name such as ":0". Blocks a few seconds when it hangs.
bool xServerResponds(const std::string& display);

/// What services share with their owner.
struct CaptureMeans {
  std::shared_ptr<portal::RestoreTokens> tokens;  ///< for the desktop's portal
  std::shared_ptr<x11::Interrupt> interrupt;      ///< ends every wait for an X server
};

/// Makes the service of a decided road on the capture queue, which must outlive it.
std::unique_ptr<ScreenCaptureService> makeCaptureService(CaptureBackend backend,
                                                         const CaptureEnvironment& environment,
                                                         const CaptureMeans& means, const Log& log,
                                                         SerialQueue& queue);

}  // namespace tarvinel

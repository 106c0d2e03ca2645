#include "app/capture/CaptureServiceFactory.h"

#include "app/capture/pattern/Service.h"
#include "app/capture/portal/Service.h"
#include "app/capture/x11/Service.h"
#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <cstdlib>

namespace tarvinel {

namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool isWayland(const CaptureEnvironment& environment) {
  return !environment.waylandDisplay.empty() || environment.sessionType == "wayland";
}

}  // namespace

CaptureEnvironment CaptureEnvironment::current() {
  return {variable("DISPLAY"), variable("WAYLAND_DISPLAY"), variable("XDG_SESSION_TYPE")};
}

CaptureDecision chooseCaptureBackend(CaptureBackend wanted, const CaptureEnvironment& environment,
                                     const std::function<bool(const std::string&)>& replies) {
  if (wanted == CaptureBackend::x11) return {wanted, "Capturing the X11 screen, as asked for."};
  if (wanted == CaptureBackend::portal) {
    return {wanted, "Capturing what the desktop's own dialog offers, as asked for."};
  }
  if (wanted == CaptureBackend::pattern)
    return {wanted, "Showing the built-in picture, as asked for."};
  // a Wayland session's X server does not see what Wayland programs show
  if (isWayland(environment)) {
    return {CaptureBackend::portal, "Capturing what this Wayland desktop's own dialog offers."};
  }
  if (environment.display.empty()) {
    return {CaptureBackend::pattern, "Showing the built-in picture: there is no screen here."};
  }
  if (!replies(environment.display)) {
    return {CaptureBackend::pattern, "Showing the built-in picture: the X server " +
                                         environment.display + " does not answer."};
  }
  return {CaptureBackend::x11, "Capturing the X11 screen " + environment.display + "."};
}

bool xServerResponds(const std::string& display) {
  try {
    const x11::Connection connection(display, {.replyTimeout = x11::Options::probeLimit});
    return true;
  } catch (const x11::Error&) {
    return false;
  }
}

std::unique_ptr<ScreenCaptureService> makeCaptureService(CaptureBackend backend,
                                                         const CaptureEnvironment& environment,
                                                         const CaptureMeans& means, const Log& log,
                                                         SerialQueue& queue) {
  if (backend == CaptureBackend::x11) {
    return std::make_unique<x11::Service>(queue, environment.display,
                                          x11::Options{.interrupt = means.interrupt});
  }
  if (backend == CaptureBackend::portal) {
    return std::make_unique<portal::Service>(queue, log.category("capture"), means.tokens);
  }
  return std::make_unique<pattern::Service>(queue);
}

}  // namespace tarvinel

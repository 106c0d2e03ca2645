#include "app/capture/portal/PortalError.h"

namespace tarvinel {

namespace {

const char* textOf(PortalError::Case kind) {
  switch (kind) {
    case PortalError::Case::noBus:
      return "there is no session bus to ask the desktop on";
    case PortalError::Case::noPortal:
      return "this desktop offers no sharing of its screen";
    case PortalError::Case::malformedAnswer:
      return "the desktop gave an answer that makes no sense";
    case PortalError::Case::notStarted:
      return "the desktop could not start sharing its screen";
    case PortalError::Case::portalGone:
      return "the desktop's screen sharing service ended";
    case PortalError::Case::sessionClosed:
      return "the desktop ended it";
    case PortalError::Case::noMediaServer:
      return "the desktop's media server (PipeWire) cannot be reached";
    case PortalError::Case::mediaServerGone:
      return "the desktop's media server (PipeWire) ended";
    case PortalError::Case::outOfMemory:
      return "there is not enough memory for a picture of the screen";
    case PortalError::Case::sourceGone:
      break;
  }
  return "the desktop ended it, or it is gone";
}

}  // namespace

PortalError::PortalError(Case kind) : std::runtime_error(textOf(kind)), kind_(kind) {}

std::exception_ptr portalFailure(PortalError::Case kind) {
  return std::make_exception_ptr(PortalError(kind));
}

}  // namespace tarvinel

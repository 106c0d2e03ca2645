#include "app/capture/portal/Error.h"

namespace tarvinel::portal {

namespace {

const char* textOf(Error::Case kind) {
  switch (kind) {
    case Error::Case::noBus:
      return "there is no session bus to ask the desktop on";
    case Error::Case::noPortal:
      return "this desktop offers no sharing of its screen";
    case Error::Case::malformedAnswer:
      return "the desktop gave an answer that makes no sense";
    case Error::Case::notStarted:
      return "the desktop could not start sharing its screen";
    case Error::Case::portalGone:
      return "the desktop's screen sharing service ended";
    case Error::Case::sessionClosed:
      return "the desktop ended it";
    case Error::Case::noMediaServer:
      return "the desktop's media server (PipeWire) cannot be reached";
    case Error::Case::mediaServerGone:
      return "the desktop's media server (PipeWire) ended";
    case Error::Case::outOfMemory:
      return "there is not enough memory for a picture of the screen";
    case Error::Case::sourceGone:
      break;
  }
  return "the desktop ended it, or it is gone";
}

}  // namespace

Error::Error(Case kind) : std::runtime_error(textOf(kind)), kind_(kind) {}

std::exception_ptr portalFailure(Error::Case kind) {
  return std::make_exception_ptr(Error(kind));
}

}  // namespace tarvinel::portal

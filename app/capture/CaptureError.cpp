#include "app/capture/CaptureError.h"

namespace tarvinel {

namespace {

const char* textOf(CaptureError::Case kind) {
  if (kind == CaptureError::Case::unknownSource) {
    return "That source is no longer available. Pick another.";
  }
  return "Screen Recording permission is required. Allow Tarvinel in System Settings › Privacy & "
         "Security › Screen & System Audio Recording, then relaunch Tarvinel.";
}

}  // namespace

CaptureError::CaptureError(Case kind) : std::runtime_error(textOf(kind)), kind_(kind) {}

}  // namespace tarvinel

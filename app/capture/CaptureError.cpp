#include "app/capture/CaptureError.h"

#include "core/support/Result.h"

#include <system_error>

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

bool isRefusal(const std::exception_ptr& error) {
  const auto failure = errorAs<std::system_error>(error);
  return failure && failure->code() == std::errc::operation_canceled;
}

}  // namespace tarvinel

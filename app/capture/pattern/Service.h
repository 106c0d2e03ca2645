#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/SerialQueue.h"

#include <memory>

namespace tarvinel::pattern {

/// A screen that is not there: one display of double density with the built-in moving picture, for
/// demonstrations, tests and machines whose screen cannot be captured. Lives on the capture queue,
/// which outlives it.
class Service final : public ScreenCaptureService {
 public:
  explicit Service(SerialQueue& queue) : queue_(queue) {}

  void shareableContent(Completion<ShareableContent> completion) override;

  /// Throws Error for anything but display 1.
  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override;

 private:
  SerialQueue& queue_;
};

}  // namespace tarvinel::pattern

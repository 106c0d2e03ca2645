#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/portal/RestoreTokens.h"
#include "core/dbus/MessageBus.h"
#include "core/support/Log.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <map>
#include <memory>

namespace tarvinel::portal {

/// Screen capture as a Wayland desktop grants it: one entry for each type of source, whose dialog
/// opens when it is shared. Lives on the capture queue, which outlives it.
class Service final : public ScreenCaptureService {
 public:
  Service(SerialQueue& queue, Logger logger, std::shared_ptr<RestoreTokens> tokens);

  void shareableContent(Completion<ShareableContent> completion) override;

  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override;

 private:
  SerialQueue& queue_;
  const Logger logger_;
  const std::shared_ptr<RestoreTokens> tokens_;
  std::map<std::uint64_t, std::unique_ptr<MessageBus>> questions_;  ///< that await their answer
  std::uint64_t asked_ = 0;
};

}  // namespace tarvinel::portal

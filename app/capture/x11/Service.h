#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/Stream.h"
#include "app/x11/Connection.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

namespace tarvinel::x11 {

/// Screen capture from an X server: displays, windows and applications. Lives on the capture queue,
/// which outlives it. Holds no connection itself: each listing and each stream has its own.
class Service final : public ScreenCaptureService {
 public:
  /// `server` is the display's name such as ":0", empty when the environment has none: listing and
  /// streams then fail with a text that says so.
  Service(SerialQueue& queue, std::string server, Options options = {});

  void shareableContent(Completion<ShareableContent> completion) override;

  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override;

 private:
  ShareableContent listContent();
  Stream::OpenSource opener(const ContentFilter& filter, bool showsCursor) const;
  std::int32_t listedProcess(std::uint32_t windowID) const;

  SerialQueue& queue_;
  const std::string server_;
  const Options options_;
  std::unordered_map<std::uint32_t, std::int32_t> listed_;  ///< process by window, when last listed
};

}  // namespace tarvinel::x11

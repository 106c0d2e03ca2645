#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/X11CaptureStream.h"
#include "app/capture/x11/X11Connection.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

namespace tarvinel {

/// Screen capture from an X server: displays, windows and applications. Lives on the capture queue,
/// which outlives it. Holds no connection itself: each listing and each stream has its own.
class X11CaptureService final : public ScreenCaptureService {
 public:
  /// `server` is the display's name such as ":0", empty when the environment has none: listing and
  /// streams then fail with a text that says so.
  X11CaptureService(SerialQueue& queue, std::string server, X11Options options = {});

  void shareableContent(Completion<ShareableContent> completion) override;

  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override;

 private:
  ShareableContent listContent();
  X11CaptureStream::OpenSource opener(const ContentFilter& filter, bool showsCursor) const;
  std::int32_t listedProcess(std::uint32_t windowID) const;

  SerialQueue& queue_;
  const std::string server_;
  const X11Options options_;
  std::unordered_map<std::uint32_t, std::int32_t> listed_;  ///< process by window, when last listed
};

}  // namespace tarvinel

#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/portal/Picture.h"
#include "app/capture/portal/PipeWireStream.h"
#include "app/capture/portal/RestoreTokens.h"
#include "app/capture/portal/Session.h"
#include "core/dbus/MessageBus.h"
#include "core/support/Geometry.h"
#include "core/support/Log.h"
#include "core/support/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <optional>

namespace tarvinel::portal {

/// How many pixels of the pictures make a point of what is shared. The desktop tells the size in
/// points but once, while windows grow and screens are turned: the density is what stays.
class PictureDensity {
 public:
  PictureDensity() = default;

  /// `told`: points of what is shared when its first picture is taken; absent: not known.
  explicit PictureDensity(const std::optional<Size>& told) : told_(told) {}

  /// The points of a picture of so many pixels, of which there is at least one; absent as told.
  std::optional<Size> points(std::size_t width, std::size_t height);

 private:
  std::optional<Size> told_;
  std::optional<double> pixelsPerPoint_;  ///< absent before the first picture
};

/// One share through the desktop's portal, from the dialog to the last picture. Lives on the
/// capture queue, which outlives it; made by std::make_shared.
class Stream final : public CaptureStream, public std::enable_shared_from_this<Stream> {
 public:
  struct Wish {
    SourceType type = SourceType::display;
    Entry entry = Entry::usual;
  };

  Stream(SerialQueue& queue, Logger logger, const Wish& wish,
         const StreamConfiguration& configuration, std::shared_ptr<RestoreTokens> tokens,
         StreamHandlers handlers);

  /// Completes once the presenter has chosen and pictures may come; fails with
  /// std::errc::operation_canceled when the presenter refused. May be called once.
  void start(Completion<void> completion) override;
  void stop(Completion<void> completion) override;

 private:
  template <class Step>
  auto whileRunning(Step step);
  void open();
  void granted(const StreamInfo& grant, UniqueFd mediaServer);
  void ready();
  void take(std::optional<CapturedFrame> frame);
  void deliver();
  void end(std::exception_ptr why);
  void close();

  SerialQueue& queue_;
  const Logger logger_;
  const Wish wish_;
  const StreamConfiguration configuration_;
  const std::shared_ptr<RestoreTokens> tokens_;
  const StreamHandlers handlers_;
  Completion<void> onStarted_;  ///< empty once it has been called
  std::unique_ptr<Session> session_;
  std::shared_ptr<PipeWireStream> stream_;
  Picture picture_;
  PictureDensity density_;
  std::optional<CapturedFrame> undelivered_;
  bool gaveToken_ = false;
  bool running_ = false;
};

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
  std::map<std::uint64_t, std::unique_ptr<MessageBus>> questions_;  ///< that await their reply
  std::uint64_t asked_ = 0;
};

}  // namespace tarvinel::portal

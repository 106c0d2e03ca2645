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

/// The number of pixels per point of what is shared. The desktop reports the size in points only
/// once, while windows grow and screens are rotated: the density is what stays.
class PictureDensity {
 public:
  PictureDensity() = default;

  /// `reported` is the size in points of what is shared at its first picture; nullopt: not known.
  explicit PictureDensity(const std::optional<Size>& reported) : reported_(reported) {}

  /// Returns the points of a picture of so many pixels, at least one; nullopt if `reported` was.
  std::optional<Size> points(std::size_t width, std::size_t height);

 private:
  std::optional<Size> reported_;
  std::optional<double> pixelsPerPoint_;  ///< nullopt before the first picture
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
  /// std::errc::operation_canceled if the presenter declined. May be called once.
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

/// Screen capture through a Wayland desktop's portal: one entry for each type of source, whose
/// dialog opens when it is shared. Lives on the capture queue, which outlives it.
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

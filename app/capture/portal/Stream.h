#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/portal/Picture.h"
#include "app/capture/portal/PictureDensity.h"
#include "app/capture/portal/PipeWireStream.h"
#include "app/capture/portal/RestoreTokens.h"
#include "app/capture/portal/Session.h"
#include "core/support/Log.h"
#include "core/support/SerialQueue.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>

namespace tarvinel::portal {

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

}  // namespace tarvinel::portal

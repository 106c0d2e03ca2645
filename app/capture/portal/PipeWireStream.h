#pragma once

#include "app/capture/portal/RawPicture.h"
#include "app/capture/portal/StreamBuffer.h"
#include "app/capture/portal/VideoFormat.h"
#include "app/capture/portal/VideoTransform.h"
#include "core/support/Geometry.h"
#include "core/support/Log.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"
#include "core/support/UniqueFd.h"

#include <asio/posix/stream_descriptor.hpp>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct pw_buffer;
struct spa_pod;

namespace tarvinel::portal {

/// Takes pictures from one node of a PipeWire media server. Its loop runs on the capture queue,
/// where everything is reported; the queue outlives it. Handlers other than `onPicture` may destroy
/// it; made by std::make_shared.
class PipeWireStream : public std::enable_shared_from_this<PipeWireStream> {
 public:
  using Rects = std::vector<PixelRect>;

  struct Handlers {
    /// Once: there is memory for pictures; they come whenever there is something new.
    std::function<void()> onReady;

    /// The newest picture, upright, valid during the call, and what has changed in it since the
    /// last one (not known: absent). Must not encode: the producer waits for its buffer.
    std::function<void(const RawPicture& picture, const std::optional<Rects>& changed)> onPicture;

    /// The cursor looks or stands different now (the picture's pixels; none: not to be seen). Only
    /// where it is told beside the pictures.
    std::function<void(const std::optional<CursorImage>& cursor)> onCursor;

    /// After all that had come was reported.
    std::function<void()> onRest;

    /// Once, with a Error; nothing follows.
    std::function<void(std::exception_ptr)> onEnd;
  };

  /// How the pictures are to come.
  struct Wish {
    std::int32_t framesPerSecond = 1;
    bool cursorIsApart = false;  ///< told beside the pictures
  };

  PipeWireStream(SerialQueue& queue, Logger logger, const Wish& wish, Handlers handlers);
  ~PipeWireStream();
  PipeWireStream(const PipeWireStream&) = delete;
  PipeWireStream& operator=(const PipeWireStream&) = delete;

  /// Connects; called once. Throws Error.
  void connect(UniqueFd mediaServer, std::uint32_t node);

 private:
  static constexpr int mostQuestions = 5;

  struct Connection;
  struct Events;

  void connectStream(std::uint32_t node);
  void awaitEvents();
  void awaitBuffers();
  void turn();
  void end(const std::exception_ptr& why);
  void streamEnded();
  void guarded(const std::function<void(PipeWireStream&)>& step);
  void serverEnded();
  void formatChanged(const spa_pod* format);
  void bufferCame(const pw_buffer& buffer);
  void lookLater();
  void look();
  void searchBuffers();
  void renegotiate();
  void restart();
  void takeBuffers();
  bool hasPicture(const pw_buffer& buffer);
  void noteDamage(const pw_buffer& buffer);
  void show(const pw_buffer& buffer);
  void loseTrack();
  void reportNonsense();
  void noteView(const PixelRect& content, const VideoTransform& transform);
  void noteCursor(const pw_buffer& buffer);
  void showCursor();
  PixelRect frameArea() const;

  SerialQueue& queue_;
  const Logger logger_;
  const Wish wish_;
  Handlers handlers_;
  StreamBuffers buffers_;
  std::unique_ptr<Connection> connection_;  ///< null once it ended
  std::uint32_t node_ = 0;
  OneShotTimer deadline_;  ///< for the first buffer
  OneShotTimer nextLook_;  ///< for a picture that nobody told of
  int looksLeft_ = 0;
  int questionsLeft_ = mostQuestions;  ///< of the format, until a picture comes
  bool hadPicture_ = false;
  bool mayBeHalted_ = false;  ///< there is another format, and no picture of it yet
  std::optional<asio::posix::stream_descriptor> descriptor_;
  std::optional<VideoFormat> format_;
  std::optional<Rects> damage_;  ///< since the last picture, frame's pixels; absent: not known
  PixelRect content_;            ///< where in the frame the last picture was
  CursorMetadata cursor_;
  bool serverAnswers_ = false;
  bool cursorChanged_ = false;  ///< and was not shown yet
  VideoTransform transform_;    ///< of the last picture
  bool toldLoss_ = false;
  bool toldNonsense_ = false;
  FrameRotator upright_;
  bool isReady_ = false;
  bool reportedReady_ = false;
  std::exception_ptr ended_;  ///< to be reported
};

}  // namespace tarvinel::portal

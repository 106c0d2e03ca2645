#pragma once

#include "app/capture/portal/FrameAccumulator.h"
#include "app/capture/portal/StreamBuffer.h"
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

/// Decides what to try next while no picture arrives: a stream can fall silent in three ways
/// although both sides consider it healthy. Pure.
class SilenceRecovery {
 public:
  enum class Action : std::uint8_t {
    search,       ///< a picture may lie in a buffer that nobody announced
    renegotiate,  ///< the buffers of a new format have no memory
    restart,      ///< the stream of a new format may be halted
    giveUp        ///< renegotiating did not help
  };

  static constexpr int maxPolls = 20;
  static constexpr int maxRenegotiations = 5;  ///< until a picture arrives

  void formatChanged();
  void bufferAdded() { pollsLeft_ = maxPolls; }
  void pictureArrived();

  /// Returns whether to poll again later, which uses up one of the polls that a new buffer allows.
  bool takePoll() { return pollsLeft_-- > 0; }

  /// Returns what to do at a poll.
  Action next(bool buffersLackMemory);

 private:
  enum class State : std::uint8_t { beforeFirstPicture, flowing, inNewFormat };

  State state_ = State::beforeFirstPicture;
  int pollsLeft_ = 0;
  int renegotiationsLeft_ = maxRenegotiations;
};

/// Receives pictures from one node of a PipeWire media server. Its loop runs on the capture queue,
/// where everything is reported; the queue outlives it. Handlers other than `onPicture` may destroy
/// it; made by std::make_shared.
class PipeWireStream : public std::enable_shared_from_this<PipeWireStream> {
 public:
  struct Handlers {
    /// Is called once: there is memory for pictures, which come whenever something changes.
    std::function<void()> onReady;

    /// These receive the newest picture and the cursor. They must not encode: the producer waits
    /// for its buffer. The cursor is reported only if it is sent as metadata.
    FrameAccumulator::Handlers frames;

    /// Is called after everything that had come was reported.
    std::function<void()> onRest;

    /// Is called once, with an Error; nothing follows.
    std::function<void(std::exception_ptr)> onEnd;
  };

  /// The requested properties of the stream.
  struct Wish {
    std::int32_t framesPerSecond = 1;
    bool cursorIsApart = false;  ///< sent as metadata
  };

  PipeWireStream(SerialQueue& queue, Logger logger, const Wish& wish, Handlers handlers);
  ~PipeWireStream();
  PipeWireStream(const PipeWireStream&) = delete;
  PipeWireStream& operator=(const PipeWireStream&) = delete;

  /// Connects; called once. Throws Error.
  void connect(UniqueFd mediaServer, std::uint32_t node);

 private:
  struct Connection;
  struct Events;
  enum class Readiness : std::uint8_t { waiting, ready, reported };

  void connectStream(std::uint32_t node);
  void awaitEvents();
  void awaitBuffers();
  void dispatch();
  void end(const std::exception_ptr& why);
  void streamEnded();
  void guarded(const std::function<void(PipeWireStream&)>& step);
  void serverEnded();
  void formatChanged(const spa_pod* format);
  void bufferAdded(const pw_buffer& buffer);
  void schedulePoll();
  void pollBuffers();
  void recover();
  void searchBuffers();
  void renegotiate();
  void restart();
  void takeBuffers();

  SerialQueue& queue_;
  const Wish wish_;
  Handlers handlers_;
  StreamBuffers buffers_;
  std::uint32_t node_ = 0;
  std::unique_ptr<Connection> connection_;  ///< null once it has ended
  OneShotTimer deadline_;                   ///< for the first buffer
  OneShotTimer nextPoll_;                   ///< for a picture that was not announced
  std::optional<asio::posix::stream_descriptor> descriptor_;
  FrameAccumulator frames_;
  SilenceRecovery recovery_;
  bool serverResponded_ = false;
  Readiness readiness_ = Readiness::waiting;
  std::exception_ptr ended_;  ///< to be reported
};

}  // namespace tarvinel::portal

#include "app/capture/portal/PipeWireStream.h"

#include "app/capture/portal/Error.h"
#include "app/capture/portal/StreamBuffer.h"

#include <fcntl.h>
#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <new>
#include <system_error>
#include <utility>

// the library's calls are macros with statement expressions
#ifdef __clang__
#pragma clang diagnostic ignored "-Wgnu-statement-expression"
#endif

namespace tarvinel::portal {

namespace {

constexpr std::uint32_t maxDamageRects = 16;
constexpr std::chrono::seconds maxTimeToBegin{10};
constexpr std::chrono::milliseconds betweenPolls{250};

template <class T>
T* orThrow(T* made) {
  if (made == nullptr) throw Error(Error::Case::noMediaServer);
  return made;
}

int duplicateOf(int fd) {
  const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
  if (copy < 0) throw std::system_error(errno, std::generic_category(), "screen capture");
  return copy;
}

// Returns the kind of memory in which pictures shall come, and the metadata beside them.
std::vector<StreamParameter> wantedParameters(bool withCursor) {
  constexpr std::uint32_t header = sizeof(spa_meta_header);
  constexpr std::uint32_t region = sizeof(spa_meta_region);
  constexpr std::uint32_t transform = sizeof(spa_meta_videotransform);
  constexpr std::uint32_t usualCursor = 64;
  std::vector<StreamParameter> wanted{
      StreamParameter::buffers(), StreamParameter::metadata(SPA_META_Header, header, header),
      StreamParameter::metadata(SPA_META_VideoCrop, region, region),
      StreamParameter::metadata(SPA_META_VideoTransform, transform, transform),
      StreamParameter::metadata(SPA_META_VideoDamage, region, region * maxDamageRects)};
  if (withCursor) {
    wanted.push_back(StreamParameter::metadata(
        SPA_META_Cursor, static_cast<std::uint32_t>(CursorMetadata::bytesFor(usualCursor)),
        static_cast<std::uint32_t>(CursorMetadata::bytesFor(CursorMetadata::longest))));
  }
  return wanted;
}

}  // namespace

/// The library's objects of the stream; made and destroyed on the capture queue.
struct PipeWireStream::Connection {
  struct Library {
    Library() { pw_init(nullptr, nullptr); }
    ~Library() { pw_deinit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
  };

  Connection() : loop(pw_loop_new(nullptr)) {
    if (loop == nullptr) return;
    pw_loop_enter(loop);
    context = pw_context_new(loop, nullptr, 0);
  }

  ~Connection() {
    if (stream != nullptr) {
      spa_hook_remove(&streamHook);
      pw_stream_destroy(stream);
    }
    if (registry != nullptr) {
      spa_hook_remove(&registryHook);
      pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    if (core != nullptr) {
      spa_hook_remove(&coreHook);
      pw_core_disconnect(core);
    }
    if (context != nullptr) pw_context_destroy(context);
    if (loop != nullptr) {
      pw_loop_leave(loop);
      pw_loop_destroy(loop);
    }
  }

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const Library library;
  pw_loop* const loop;  // any may be null
  pw_context* context = nullptr;
  pw_core* core = nullptr;
  pw_registry* registry = nullptr;
  pw_stream* stream = nullptr;
  spa_hook coreHook{};
  spa_hook registryHook{};
  spa_hook streamHook{};
};

/// The library's callbacks.
struct PipeWireStream::Events {
  static void coreInfo(void* self, const pw_core_info* /*info*/) {
    static_cast<PipeWireStream*>(self)->serverResponded_ = true;
  }

  static void coreError(void* self, std::uint32_t id, int /*sequence*/, int result,
                        const char* /*message*/) {
    if (id == PW_ID_CORE && result == -EPIPE) static_cast<PipeWireStream*>(self)->serverEnded();
  }

  /// A session manager may leave a stream whose source is gone as it is.
  static void objectRemoved(void* self, std::uint32_t id) {
    auto& stream = *static_cast<PipeWireStream*>(self);
    if (id == stream.node_) stream.streamEnded();
  }

  static void stateChanged(void* self, pw_stream_state /*before*/, pw_stream_state state,
                           const char* /*error*/) {
    auto& stream = *static_cast<PipeWireStream*>(self);
    if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
      stream.streamEnded();
    }
  }

  static void parameterChanged(void* self, std::uint32_t id, const spa_pod* parameter) {
    if (id != SPA_PARAM_Format) return;
    static_cast<PipeWireStream*>(self)->guarded(
        [parameter](PipeWireStream& stream) { stream.formatChanged(parameter); });
  }

  static void bufferAdded(void* self, pw_buffer* buffer) {
    static_cast<PipeWireStream*>(self)->guarded(
        [buffer](PipeWireStream& stream) { stream.bufferAdded(*buffer); });
  }

  static void bufferRemoved(void* self, pw_buffer* buffer) {
    static_cast<PipeWireStream*>(self)->buffers_.remove(*buffer);
  }

  static void process(void* self) {
    static_cast<PipeWireStream*>(self)->guarded(
        [](PipeWireStream& stream) { stream.takeBuffers(); });
  }

  static const pw_core_events& ofCore() {
    static const pw_core_events events = [] {
      pw_core_events made{};
      made.version = PW_VERSION_CORE_EVENTS;
      made.info = coreInfo;
      made.error = coreError;
      return made;
    }();
    return events;
  }

  static const pw_registry_events& ofRegistry() {
    static const pw_registry_events events = [] {
      pw_registry_events made{};
      made.version = PW_VERSION_REGISTRY_EVENTS;
      made.global_remove = objectRemoved;
      return made;
    }();
    return events;
  }

  static const pw_stream_events& ofStream() {
    static const pw_stream_events events = [] {
      pw_stream_events made{};
      made.version = PW_VERSION_STREAM_EVENTS;
      made.state_changed = stateChanged;
      made.param_changed = parameterChanged;
      made.add_buffer = bufferAdded;
      made.remove_buffer = bufferRemoved;
      made.process = process;
      return made;
    }();
    return events;
  }
};

void SilenceRecovery::formatChanged() {
  if (state_ != State::beforeFirstPicture) state_ = State::inNewFormat;
}

void SilenceRecovery::pictureArrived() {
  state_ = State::flowing;
  renegotiationsLeft_ = maxRenegotiations;
}

SilenceRecovery::Action SilenceRecovery::next(bool buffersLackMemory) {
  if (buffersLackMemory) return renegotiationsLeft_-- > 0 ? Action::renegotiate : Action::giveUp;
  if (state_ != State::inNewFormat) return Action::search;
  state_ = State::flowing;
  return Action::restart;
}

PipeWireStream::PipeWireStream(SerialQueue& queue, Logger logger, const Wish& wish,
                               Handlers handlers)
    : queue_(queue),
      wish_(wish),
      handlers_(std::move(handlers)),
      deadline_(queue),
      nextPoll_(queue),
      frames_(std::move(logger), handlers_.frames) {}

PipeWireStream::~PipeWireStream() = default;

void PipeWireStream::connect(UniqueFd mediaServer, std::uint32_t node) {
  queue_.assertCurrent();
  connection_ = std::make_unique<Connection>();
  Connection& made = *connection_;
  pw_context* context = orThrow(made.context);
  // the library closes the descriptor, even if it fails
  made.core = orThrow(pw_context_connect_fd(context, mediaServer.release(), nullptr, 0));
  pw_core_add_listener(made.core, &made.coreHook, &Events::ofCore(), this);
  node_ = node;
  made.registry = orThrow(pw_core_get_registry(made.core, PW_VERSION_REGISTRY, 0));
  pw_registry_add_listener(made.registry, &made.registryHook, &Events::ofRegistry(), this);
  pw_properties* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY,
                                                "Capture", PW_KEY_MEDIA_ROLE, "Screen", nullptr);
  made.stream = orThrow(pw_stream_new(made.core, "Tarvinel", properties));
  pw_stream_add_listener(made.stream, &made.streamHook, &Events::ofStream(), this);
  connectStream(node);
  descriptor_.emplace(queue_.context(), duplicateOf(pw_loop_get_fd(made.loop)));
  awaitEvents();
  awaitBuffers();
}

void PipeWireStream::connectStream(std::uint32_t node) {
  const auto formats = StreamParameter::formats(wish_.framesPerSecond);
  std::array<const spa_pod*, 1> parameters{formats.pod()};
  const auto flags = static_cast<pw_stream_flags>(
      PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_DONT_RECONNECT);
  if (pw_stream_connect(connection_->stream, PW_DIRECTION_INPUT, node, flags, parameters.data(),
                        parameters.size()) < 0) {
    throw Error(Error::Case::noMediaServer);
  }
}

void PipeWireStream::awaitEvents() {
  descriptor_->async_wait(asio::posix::descriptor_base::wait_read,
                          [weak = weak_from_this()](const std::error_code& ec) {
                            const auto self = weak.lock();
                            if (!ec && self) self->dispatch();
                          });
}

/// Sets a timeout: nobody reports a lack of formats or memory that suit both sides.
void PipeWireStream::awaitBuffers() {
  deadline_.start(maxTimeToBegin, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->end(portalFailure(self->serverResponded_ ? Error::Case::notStarted
                                                   : Error::Case::noMediaServer));
  });
}

void PipeWireStream::dispatch() {
  pw_loop_iterate(connection_->loop, 0);
  if (ended_) return end(ended_);
  awaitEvents();
  if (readiness_ == Readiness::ready) {
    readiness_ = Readiness::reported;
    deadline_.cancel();
    handlers_.onReady();
  }
  handlers_.onRest();
}

void PipeWireStream::end(const std::exception_ptr& why) {
  deadline_.cancel();
  nextPoll_.cancel();
  descriptor_.reset();
  connection_.reset();
  handlers_.onEnd(why);
}

void PipeWireStream::streamEnded() {
  if (!ended_) ended_ = portalFailure(Error::Case::sourceGone);
}

/// What a producer sends may need more memory than there is. No exception passes through the
/// library: the stream ends once the library has returned.
void PipeWireStream::guarded(const std::function<void(PipeWireStream&)>& step) {
  try {
    step(*this);
  } catch (const std::bad_alloc&) {
    ended_ = portalFailure(Error::Case::outOfMemory);
  } catch (...) {
    ended_ = std::current_exception();
  }
}

void PipeWireStream::serverEnded() {
  ended_ = portalFailure(Error::Case::mediaServerGone);
}

/// In an unsupported format nothing is shown until the next one comes.
void PipeWireStream::formatChanged(const spa_pod* format) {
  frames_.setFormat(format != nullptr ? VideoFormat::read(*format) : std::nullopt);
  recovery_.formatChanged();
  if (!frames_.format()) return;
  const auto wanted = wantedParameters(wish_.cursorIsApart);
  std::vector<const spa_pod*> parameters(wanted.size());
  std::transform(wanted.begin(), wanted.end(), parameters.begin(),
                 [](const StreamParameter& parameter) { return parameter.pod(); });
  pw_stream_update_params(connection_->stream, parameters.data(),
                          static_cast<std::uint32_t>(parameters.size()));
}

void PipeWireStream::bufferAdded(const pw_buffer& buffer) {
  if (readiness_ == Readiness::waiting) readiness_ = Readiness::ready;
  buffers_.add(buffer);
  recovery_.bufferAdded();
  schedulePoll();
}

void PipeWireStream::schedulePoll() {
  if (!recovery_.takePoll()) return;
  nextPoll_.start(betweenPolls, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self) self->pollBuffers();
  });
}

void PipeWireStream::pollBuffers() {
  guarded([](PipeWireStream& stream) { stream.recover(); });
  if (ended_) end(ended_);
}

void PipeWireStream::recover() {
  schedulePoll();
  switch (recovery_.next(buffers_.lackMemory())) {
    case SilenceRecovery::Action::search:
      return searchBuffers();
    case SilenceRecovery::Action::renegotiate:
      return renegotiate();
    case SilenceRecovery::Action::restart:
      return restart();
    case SilenceRecovery::Action::giveUp:
      return nextPoll_.cancel();
  }
}

/// A producer may send its first picture in new buffers before these have arrived on this side. The
/// media server then notifies nobody, and a still screen sends no other picture: it remains in its
/// buffer.
void PipeWireStream::searchBuffers() {
  const pw_buffer* newest = frames_.format() ? buffers_.newest(*frames_.format()) : nullptr;
  if (newest == nullptr) return;
  frames_.showFound(*newest);
  handlers_.onRest();
}

/// When one format follows another, the media server may hand over the new buffers before their
/// producer has given them memory. No picture then ever comes, unless the format is renegotiated.
void PipeWireStream::renegotiate() {
  const auto formats = StreamParameter::formats(wish_.framesPerSecond);
  std::array<const spa_pod*, 1> parameters{formats.pod()};
  pw_stream_update_params(connection_->stream, parameters.data(), parameters.size());
}

/// When one format follows another, the media server may leave the path from the producer to this
/// side closed. Both sides consider the stream healthy, and no picture ever comes.
void PipeWireStream::restart() {
  pw_stream_set_active(connection_->stream, false);
  pw_stream_set_active(connection_->stream, true);
}

/// Shows the newest of the waiting buffers; those before it only report what changed.
void PipeWireStream::takeBuffers() {
  pw_stream* stream = connection_->stream;
  pw_buffer* newest = nullptr;
  while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream)) {
    pw_buffer* done = buffer;
    if (frames_.add(*buffer)) done = std::exchange(newest, buffer);
    if (done != nullptr) pw_stream_queue_buffer(stream, done);
  }
  if (newest != nullptr) {
    nextPoll_.cancel();
    recovery_.pictureArrived();
    frames_.show(*newest);
    pw_stream_queue_buffer(stream, newest);
  }
  frames_.showCursor();
}

}  // namespace tarvinel::portal

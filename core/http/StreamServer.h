#pragma once

#include "core/config/BrandConfig.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/http/BrandResponses.h"
#include "core/http/ClientConnection.h"
#include "core/http/LingeringSockets.h"
#include "core/http/Listener.h"
#include "core/http/PeerWatch.h"
#include "core/http/StatusSnapshot.h"
#include "core/http/ThrottledLine.h"
#include "core/http/VanishedViewers.h"
#include "core/support/BlockingPool.h"
#include "core/support/Log.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/Result.h"
#include "core/support/SerialQueue.h"
#include "core/support/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace tarvinel {

/// Why a server did not start.
class StreamServerError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    bindFailed,      ///< the port could not be listened on; `code` says why
    alreadyRunning,  ///< there is a listener already
    cancelled,       ///< it was stopped before it listened
  };

  static StreamServerError bindFailed(std::error_code code) {
    return {Case::bindFailed, code, code.message()};
  }
  static StreamServerError alreadyRunning() {
    return {Case::alreadyRunning, {}, "the server is already running"};
  }
  static StreamServerError cancelled() {
    return {Case::cancelled, {}, "the server was stopped before it was ready"};
  }

  Case kind() const { return kind_; }
  std::error_code code() const { return code_; }

 private:
  StreamServerError(Case kind, std::error_code code, const std::string& text)
      : std::runtime_error(text), kind_(kind), code_(code) {}

  Case kind_;
  std::error_code code_;
};

/// The built-in web server: listens, admits connections up to a cap and keeps them until they
/// close.
///
/// Owns the queue ".server", on which the listener and every connection live; its own operations
/// may be called from any other thread.
class StreamServer {
 public:
  /// Another way to a listening socket when this process lacks the permission for the port. May
  /// block a few seconds. Throws std::system_error with what to report: the refusal it is given,
  /// unless it knows better.
  using ListenerFallback = std::function<UniqueFd(std::error_code refusal)>;

  struct Options {
    std::uint16_t port = 80;  ///< 0: any free one
    std::chrono::duration<double> headTimeout{15};
    std::size_t maxConnections = 256;
    /// A viewer whose machine has not been heard of for so long has vanished. Longer than the ten
    /// seconds after which it is asked, shorter than the thirty after which the kernel gives it up.
    std::chrono::milliseconds silenceLimit{25000};
    std::function<StatusSnapshot()> status;  ///< fills "/status"; called on the queue, never blocks
    std::optional<BrandConfig> brand = {};   ///< marks the pages
    std::string hostname = {};               ///< named by the help page
    /// Under which it may be asked for besides those that `AllowedHosts` admits anyway.
    std::vector<std::string> allowedHosts = {};
    ListenerFallback listenerFallback = {};  ///< called on a queue of its own; may be absent
  };

  /// Opens nothing yet. The broadcaster outlives the server.
  StreamServer(FrameBroadcaster& broadcaster, Logger logger, Options options);
  ~StreamServer();
  StreamServer(const StreamServer&) = delete;
  StreamServer& operator=(const StreamServer&) = delete;

  /// Reads the brand's files, then opens the listener. Completes on the queue with the port that is
  /// listened on, or with a StreamServerError.
  void start(Completion<std::uint16_t> completion);

  /// Closes the listener and every connection; afterwards the server may be started again.
  void stop();

  /// Takes files of participants from now on, or with null no more. Connections that were accepted
  /// before keep what they were given.
  void setUploads(std::shared_ptr<UploadController> uploads);

  /// Live connections.
  std::size_t debugConnectionCount();

  /// 1 when any viewer has a frame waiting behind the one in flight, else 0.
  std::size_t debugMaxPendingFrames();

 private:
  struct Start {
    std::uint64_t stopsBefore = 0;
    BrandResponses brandAnswers;
    Completion<std::uint16_t> completion;
  };

  void tryToListen(const Start& start);
  void requestFallback(const Start& start, std::error_code refusal);
  void finish(const Start& start, const Result<std::shared_ptr<Listener>>& listener);
  std::uint16_t listen(const Start& start, const Result<std::shared_ptr<Listener>>& listener);
  void accept(asio::ip::tcp::socket socket);
  void listenerFailed(std::error_code error);
  void closeVanished();
  void closeAll();

  /// One for each upload, one for each that has given way and may still wait for its disk, one for
  /// admission and some to spare.
  static constexpr std::size_t blockingThreads = 16;

  BlockingPool blockingPool_{blockingThreads};  // outlives what waits on queue_ for its files
  SerialQueue queue_{".server"};
  /// Reads the brand's files and waits for the fallback: neither holds anybody up.
  SerialQueue startQueue_{".start"};
  PooledQueue admissionQueue_{blockingPool_, ".upload-admission"};
  const Logger logger_;
  const Options options_;
  std::atomic<std::uint64_t> stops_ = 0;  ///< how often the server was stopped

  // on queue_
  PeerWatch peerWatch_{queue_};
  LingeringSockets lingeringSockets_;
  VanishedViewers vanishedViewers_;
  ThrottledLine refusals_;  ///< about connections over the cap
  ThrottledLine lateHeads_;
  ThrottledLine longHeads_;
  Bytes readBuffer_;
  ConnectionEnvironment environment_;
  std::shared_ptr<UploadController> uploads_;  ///< null: there are none
  std::shared_ptr<Listener> listener_;
  std::unordered_map<ClientConnection*, std::shared_ptr<ClientConnection>> connections_;
  QueueTimer vanishedTimer_;
};

}  // namespace tarvinel

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
#include "core/http/TileFeed.h"
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

/// The error of a server that did not start.
class StreamServerError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    bindFailed,      ///< listening on the port failed; `code` is the reason
    alreadyRunning,  ///< there already is a listener
    cancelled,       ///< the server was stopped before it listened
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

/// The built-in web server: listens, accepts connections up to a limit and keeps them until they
/// close.
///
/// Owns the queue ".server", on which the listener and every connection live; its own operations
/// can be called from any other thread.
class StreamServer {
 public:
  /// Gets a listening socket by another way if this process lacks the permission for the port. Can
  /// block for a few seconds. Throws std::system_error with the error to report: the one that it is
  /// passed, unless it has a more precise one.
  using ListenerFallback = std::function<UniqueFd(std::error_code refusal)>;

  struct Options {
    std::uint16_t port = 80;  ///< 0: any free port
    std::chrono::duration<double> headTimeout{15};
    std::size_t maxConnections = 256;
    /// A viewer whose machine has been silent for this long has vanished. Longer than the ten
    /// seconds after which it is probed, shorter than the thirty after which the kernel drops it.
    std::chrono::milliseconds silenceLimit{25000};
    std::function<StatusSnapshot()> status;  ///< fills "/status"; called on the queue, never blocks
    std::optional<BrandConfig> brand = {};   ///< marks the pages
    std::string hostname = {};               ///< named by the help page
    /// The server's names in addition to those that `AllowedHosts` always admits.
    std::vector<std::string> allowedHosts = {};
    ListenerFallback listenerFallback = {};  ///< called on a queue of its own; optional
  };

  /// Does not listen yet. The broadcaster outlives the server.
  StreamServer(FrameBroadcaster& broadcaster, Logger logger, Options options);
  ~StreamServer();
  StreamServer(const StreamServer&) = delete;
  StreamServer& operator=(const StreamServer&) = delete;

  /// Reads the brand's files, then starts listening. Completes on the queue with the bound port or
  /// with a StreamServerError.
  void start(Completion<std::uint16_t> completion);

  /// Closes the listener and every connection; afterwards the server can be started again.
  void stop();

  /// Accepts files of participants from now on, or no more if null. Connections that were accepted
  /// before keep their controller.
  void setUploads(std::shared_ptr<UploadController> uploads);

  /// Returns the number of live connections.
  std::size_t debugConnectionCount();

  /// Returns 1 if any viewer has a frame waiting behind the one in flight, else 0.
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

  /// One for each upload, one for each that was replaced and may still wait for its disk, one for
  /// admission and some spare.
  static constexpr std::size_t blockingThreads = 16;

  BlockingPool blockingPool_{blockingThreads};  // outlives those that wait on queue_ for its files
  SerialQueue queue_{".server"};
  /// Reads the brand's files and waits for the fallback, so that neither blocks the server.
  SerialQueue startQueue_{".start"};
  PooledQueue admissionQueue_{blockingPool_, ".upload-admission"};
  const Logger logger_;
  const Options options_;
  std::atomic<std::uint64_t> stops_ = 0;  ///< how often the server was stopped

  // on queue_
  PeerWatch peerWatch_{queue_};
  LingeringSockets lingeringSockets_;
  VanishedViewers vanishedViewers_;
  TileUpdates tileUpdates_;
  ThrottledLine refusals_;  ///< about connections over the cap
  ThrottledLine lateHeads_;
  ThrottledLine longHeads_;
  Bytes readBuffer_;
  ConnectionEnvironment environment_;
  std::shared_ptr<UploadController> uploads_;  ///< null if there are no uploads
  std::shared_ptr<Listener> listener_;
  std::unordered_map<ClientConnection*, std::shared_ptr<ClientConnection>> connections_;
  QueueTimer vanishedTimer_;
};

}  // namespace tarvinel

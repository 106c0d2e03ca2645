#pragma once

#include "core/config/BrandConfig.h"
#include "core/frames/Frame.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/http/BrandResponses.h"
#include "core/http/HTTPRequest.h"
#include "core/http/LingeringSockets.h"
#include "core/http/PeerWatch.h"
#include "core/http/Router.h"
#include "core/http/StatusSnapshot.h"
#include "core/http/ThrottledLine.h"
#include "core/http/TileFeed.h"
#include "core/http/UploadTransfer.h"
#include "core/http/VanishedViewers.h"
#include "core/support/Log.h"
#include "core/support/SerialQueue.h"
#include "core/support/UUID.h"

#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

/// The objects that a server shares with its connections, which it outlives. Used on its queue.
struct ConnectionEnvironment {
  SerialQueue& queue;
  FrameBroadcaster& broadcaster;
  Logger logger;
  ThrottledLine& lateHeads;  ///< about heads that were not received in time
  ThrottledLine& longHeads;  ///< about heads over the limit
  std::chrono::duration<double> headTimeout;
  std::function<StatusSnapshot()> status;  ///< called on the queue, must not block
  std::optional<BrandConfig> brand;        ///< marks the pages
  std::string hostname;                    ///< named by the help page
  AllowedHosts allowedHosts;               ///< requests for other hosts are redirected
  BrandResponses brandAnswers;             ///< filled when the server starts
  PeerWatch& peerWatch;
  LingeringSockets& lingeringSockets;
  VanishedViewers& vanishedViewers;
  TileUpdates& tileUpdates;
  Bytes& readBuffer;  ///< one for all connections: it holds nothing between two reads
  UploadQueues uploadQueues;
};

/// Serves one accepted connection: reads one request head, responds once, closes. "/stream" stays
/// open and is sent one part at a time; while one is in flight only the newest picture waits.
///
/// Lives on the server's queue. The server's table holds the only lasting strong
/// reference; every callback holds the connection weakly.
class ClientConnection : public std::enable_shared_from_this<ClientConnection> {
 public:
  using CloseHandler = std::function<void(ClientConnection&)>;

  /// The largest incomplete head and the largest single read, in bytes.
  static constexpr std::size_t maxHeadBytes = 16384;
  static constexpr std::size_t maxReadBytes = 262144;

  /// If `uploads` is null, this connection accepts no uploads.
  ClientConnection(asio::ip::tcp::socket connection, const ConnectionEnvironment& environment,
                   std::shared_ptr<UploadController> uploads);

  /// Called once, when the connection closes.
  void setOnClose(CloseHandler onClose) { onClose_ = std::move(onClose); }

  /// Starts reading; the head must be complete within the head timeout.
  void start();

  /// Closes the connection if its viewer has vanished, but keeps the socket for its return.
  void closeIfVanished();

  /// Ends the connection; idempotent.
  void close();

  /// Returns whether a frame waits for the one in flight.
  bool hasPendingFrame() const { return pendingFrame_ != nullptr; }

 private:
  /// Head, body and end of a part, or what remains of them.
  using Part = std::array<asio::const_buffer, 3>;

  void scheduleHeadDeadline();
  void receive();
  void readable(std::error_code error);
  void consume(std::string_view data);
  void headIncomplete();

  void handle(const HTTPRequest& request, std::string_view initialBody);
  void redirect(const HTTPRequest& request);
  void sendStatus();
  void respondWith(const std::shared_ptr<const Bytes>& file);
  void sendAndClose(Bytes response);
  void sendLast(asio::const_buffer response);
  void finish();

  void sendUploadPage();
  void sendUploadStatus();
  void startUpload(const Route& route, const HTTPRequest& request, std::string_view initialBody);

  void startStream(const HTTPRequest& request);
  void subscribe();
  void subscribeToTiles();
  void sendNext();
  void sendNextTiles();
  void sendWhenDue();
  void sendPart(const TileFeed::Part& next);
  void sendRest(const Part& part);
  void partSent(std::error_code error);
  void peerChanged(PeerWatch::Event event);
  void probe();
  void sendOpening();

  const ConnectionEnvironment& environment_;
  asio::ip::tcp::socket connection_;
  const std::string remote_;
  const std::shared_ptr<UploadController> uploads_;  ///< null if there are no uploads
  CloseHandler onClose_;

  std::string buffer_;  ///< received while the head is incomplete
  asio::steady_timer headDeadline_;
  bool handled_ = false;
  bool closed_ = false;

  std::shared_ptr<UploadTransfer> upload_;  ///< set once a file was announced

  Bytes response_;  ///< a complete response, or the head of the stream, while it is sent
  std::shared_ptr<const Bytes> sharedResponse_;  ///< the same, if shared with other viewers
  std::optional<UUID> subscription_;
  bool sendInFlight_ = false;
  bool openingSent_ = false;               ///< the next part's opening was already sent
  std::string partHead_;                   ///< of the part in flight
  std::shared_ptr<const Bytes> partBody_;  ///< of the part in flight
  Frame pendingFrame_;                     ///< the newest frame that arrived meanwhile
  std::optional<TileFeed> tileFeed_;       ///< of a viewer of tiles
  asio::steady_timer pace_;  ///< runs until the next part for a viewer of tiles is due
};

}  // namespace tarvinel

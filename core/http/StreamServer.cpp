#include "core/http/StreamServer.h"

#include "core/http/StreamServerError.h"
#include "core/http/ViewerSocket.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tarvinel {

StreamServer::StreamServer(FrameBroadcaster& broadcaster, Logger logger, Options options)
    : logger_(std::move(logger)),
      options_(std::move(options)),
      readBuffer_(ClientConnection::maxReadBytes),
      environment_{queue_,
                   broadcaster,
                   logger_,
                   options_.headTimeout,
                   options_.status,
                   peerWatch_,
                   lingeringSockets_,
                   readBuffer_,
                   {queue_, admissionQueue_, blockingPool_}} {}

StreamServer::~StreamServer() {
  stop();
  queue_.stop();
  blockingPool_.finish();  // removes what uploads that were cut off have written
}

void StreamServer::start(Completion<std::uint16_t> completion) {
  queue_.post([this, completion = std::move(completion)] {
    completion(resultOf([this] { return listen(); }));
  });
}

std::uint16_t StreamServer::listen() {
  if (listener_) throw StreamServerError::alreadyRunning();
  try {
    listener_ = std::make_shared<Listener>(queue_, options_.port);
  } catch (const std::system_error& error) {
    logger_->error("listener failed: {}", error.code().message());
    throw StreamServerError::bindFailed(error.code());
  }
  listener_->start([this](asio::ip::tcp::socket socket) { accept(std::move(socket)); },
                   [this](std::error_code error) { listenerFailed(error); });
  logger_->info("listening on port {}", listener_->port());
  return listener_->port();
}

void StreamServer::accept(asio::ip::tcp::socket socket) {
  if (connections_.size() >= options_.maxConnections) {
    logger_->info("connection cap ({}) reached; refusing {}", options_.maxConnections,
                  remoteEndpointText(socket));
    return;  // dropping the socket closes it
  }
  const auto connection =
      std::make_shared<ClientConnection>(std::move(socket), environment_, uploads_);
  connection->setOnClose([this](ClientConnection& closed) { connections_.erase(&closed); });
  connections_.emplace(connection.get(), connection);
  connection->start();
}

void StreamServer::listenerFailed(std::error_code error) {
  logger_->error("listener failed: {}", error.message());
  listener_.reset();
}

void StreamServer::stop() {
  queue_.sync([this] {
    listener_.reset();
    closeAll();
    lingeringSockets_.clear();
  });
}

void StreamServer::closeAll() {
  const auto connections = std::exchange(connections_, {});
  for (const auto& [key, connection] : connections)
    connection->close();
}

void StreamServer::setUploads(std::shared_ptr<UploadController> uploads) {
  queue_.sync([&] { uploads_ = std::move(uploads); });
}

std::size_t StreamServer::debugConnectionCount() {
  return queue_.sync([this] { return connections_.size(); });
}

std::size_t StreamServer::debugMaxPendingFrames() {
  return queue_.sync([this] {
    const bool any = std::ranges::any_of(
        connections_, [](const auto& entry) { return entry.second->hasPendingFrame(); });
    return any ? std::size_t{1} : std::size_t{0};
  });
}

}  // namespace tarvinel

#include "core/http/StreamServer.h"

#include "core/http/StreamServerError.h"
#include "core/http/ViewerSocket.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::seconds vanishedInterval{2};

}  // namespace

StreamServer::StreamServer(FrameBroadcaster& broadcaster, Logger logger, Options options)
    : logger_(std::move(logger)),
      options_(std::move(options)),
      vanishedViewers_(queue_, options_.silenceLimit),
      readBuffer_(ClientConnection::maxReadBytes),
      environment_{queue_,          broadcaster, logger_,           options_.headTimeout,
                   options_.status, peerWatch_,  lingeringSockets_, vanishedViewers_,
                   readBuffer_},
      vanishedTimer_(queue_, vanishedInterval, [this] { closeVanished(); }) {}

StreamServer::~StreamServer() {
  stop();
  queue_.stop();
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
  vanishedTimer_.run(true);
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
  const auto connection = std::make_shared<ClientConnection>(std::move(socket), environment_);
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
    vanishedViewers_.clear();
    vanishedTimer_.run(false);
  });
}

void StreamServer::closeVanished() {
  const auto connections = connections_;  // one that closes leaves the table
  for (const auto& [key, connection] : connections)
    connection->closeIfVanished();
}

void StreamServer::closeAll() {
  const auto connections = std::exchange(connections_, {});
  for (const auto& [key, connection] : connections)
    connection->close();
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

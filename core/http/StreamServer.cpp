#include "core/http/StreamServer.h"

#include "core/http/ViewerSocket.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::seconds vanishedInterval{2};

/// Returns the error of a listener that could not be made.
std::error_code codeOf(const Result<std::shared_ptr<Listener>>& listener) {
  try {
    listener.value();
    return {};
  } catch (const std::system_error& error) {
    return error.code();
  }
}

}  // namespace

StreamServer::StreamServer(FrameBroadcaster& broadcaster, Logger logger, Options options)
    : logger_(std::move(logger)),
      options_(std::move(options)),
      vanishedViewers_(queue_, options_.silenceLimit),
      refusals_(queue_, logger_, spdlog::level::info),
      lateHeads_(queue_, logger_, spdlog::level::info),
      longHeads_(queue_, logger_, spdlog::level::err),
      readBuffer_(ClientConnection::maxReadBytes),
      environment_{.queue = queue_,
                   .broadcaster = broadcaster,
                   .logger = logger_,
                   .lateHeads = lateHeads_,
                   .longHeads = longHeads_,
                   .headTimeout = options_.headTimeout,
                   .status = options_.status,
                   .brand = options_.brand,
                   .hostname = options_.hostname,
                   .allowedHosts = AllowedHosts(options_.allowedHosts),
                   .brandAnswers = {},
                   .peerWatch = peerWatch_,
                   .lingeringSockets = lingeringSockets_,
                   .vanishedViewers = vanishedViewers_,
                   .tileUpdates = tileUpdates_,
                   .readBuffer = readBuffer_,
                   .uploadQueues = {queue_, admissionQueue_, blockingPool_}},
      vanishedTimer_(queue_, vanishedInterval, [this] { closeVanished(); }) {}

StreamServer::~StreamServer() {
  stop();
  startQueue_.stop();
  queue_.stop();
  blockingPool_.finish();  // removes the partial files of interrupted uploads
}

void StreamServer::start(Completion<std::uint16_t> completion) {
  startQueue_.post([this, stops = stops_.load(), completion = std::move(completion)] {
    const Start start{stops, BrandResponses::load(options_.brand), completion};
    queue_.post([this, start] { tryToListen(start); });
  });
}

void StreamServer::tryToListen(const Start& start) {
  const auto listener =
      resultOf([this] { return std::make_shared<Listener>(queue_, options_.port); });
  const std::error_code refusal = codeOf(listener);
  if (refusal == std::errc::permission_denied && options_.listenerFallback) {
    requestFallback(start, refusal);
  } else {
    finish(start, listener);
  }
}

void StreamServer::requestFallback(const Start& start, std::error_code refusal) {
  startQueue_.post([this, start, refusal] {
    const auto listener = resultOf(
        [&] { return std::make_shared<Listener>(queue_, options_.listenerFallback(refusal)); });
    queue_.post([this, start, listener] { finish(start, listener); });
  });
}

void StreamServer::finish(const Start& start, const Result<std::shared_ptr<Listener>>& listener) {
  start.completion(resultOf([&] { return listen(start, listener); }));
}

std::uint16_t StreamServer::listen(const Start& start,
                                   const Result<std::shared_ptr<Listener>>& listener) {
  if (stops_ != start.stopsBefore) throw StreamServerError::cancelled();
  if (listener_) throw StreamServerError::alreadyRunning();
  if (const std::error_code refusal = codeOf(listener)) {
    logger_->error("listener failed: {}", refusal.message());
    throw StreamServerError::bindFailed(refusal);
  }
  environment_.brandAnswers = start.brandAnswers;
  listener_ = listener.value();
  vanishedTimer_.run(true);
  listener_->start([this](asio::ip::tcp::socket socket) { accept(std::move(socket)); },
                   [this](std::error_code error) { listenerFailed(error); });
  logger_->info("listening on port {}", listener_->port());
  return listener_->port();
}

void StreamServer::accept(asio::ip::tcp::socket socket) {
  if (connections_.size() >= options_.maxConnections) {
    refusals_.log(fmt::format("connection cap ({}) reached; refusing {}", options_.maxConnections,
                              remoteEndpointText(socket)));
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
  ++stops_;
  queue_.sync([this] {
    listener_.reset();
    closeAll();
    lingeringSockets_.clear();
    vanishedViewers_.clear();
    vanishedTimer_.run(false);
    for (ThrottledLine* line : {&refusals_, &lateHeads_, &longHeads_})
      line->finish();
  });
}

void StreamServer::closeVanished() {
  const auto connections = connections_;  // a copy: a connection that closes leaves the table
  for (const auto& [key, connection] : connections)
    connection->closeIfVanished();
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

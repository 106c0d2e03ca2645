#include "core/http/ClientConnection.h"

#include "core/http/HTTPResponse.h"
#include "core/http/MJPEGFramer.h"
#include "core/http/PercentEncoding.h"
#include "core/http/Router.h"
#include "core/http/ViewerSocket.h"
#include "core/pages/HelpPage.h"
#include "core/pages/UploadPage.h"
#include "core/pages/ViewerPage.h"
#include "core/support/UnicodeText.h"

#include <asio/write.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

/// A completion condition that requests the whole rest in each send: Asio's own limits a send to 64
/// KiB, which costs a second send for an ordinary frame and half again the time.
std::size_t wholeRest(const std::error_code& error, std::size_t /*sent*/) {
  return error ? 0 : std::numeric_limits<std::size_t>::max();
}

/// Removes the first `count` bytes.
void drop(std::size_t count, std::array<asio::const_buffer, 3>& part) {
  for (asio::const_buffer& piece : part) {
    const std::size_t dropped = std::min(count, piece.size());
    piece += dropped;
    count -= dropped;
  }
}

/// Returns whether a script reads the stream itself, which it indicates with exactly this header.
bool wantsScriptStream(const HTTPRequest& request) {
  return request.header("accept") == "application/octet-stream";
}

/// Returns whether the script also understands tiles.
bool wantsTiles(const HTTPRequest& request) {
  return request.header("accept") == MJPEGFramer::tilesType;
}

}  // namespace

ClientConnection::ClientConnection(asio::ip::tcp::socket connection,
                                   const ConnectionEnvironment& environment,
                                   std::shared_ptr<UploadController> uploads)
    : environment_(environment),
      connection_(std::move(connection)),
      remote_(remoteEndpointText(connection_)),
      uploads_(std::move(uploads)),
      headDeadline_(connection_.get_executor()),
      pace_(connection_.get_executor()) {
  prepareViewerSocket(connection_);
}

void ClientConnection::start() {
  environment_.queue.assertCurrent();
  environment_.peerWatch.add(connection_.native_handle(),
                             [weak = weak_from_this()](PeerWatch::Event event) {
                               if (const auto self = weak.lock()) self->peerChanged(event);
                             });
  scheduleHeadDeadline();
  receive();
}

void ClientConnection::scheduleHeadDeadline() {
  headDeadline_.expires_after(
      std::chrono::duration_cast<std::chrono::steady_clock::duration>(environment_.headTimeout));
  headDeadline_.async_wait([weak = weak_from_this()](std::error_code) {
    const auto self = weak.lock();
    if (!self || self->handled_ || self->closed_) return;
    self->environment_.lateHeads.log(
        fmt::format("request head not received in {:f}s from {}; closing",
                    self->environment_.headTimeout.count(), self->remote_));
    self->close();
  });
}

void ClientConnection::receive() {
  connection_.async_wait(asio::ip::tcp::socket::wait_read,
                         [weak = weak_from_this()](std::error_code error) {
                           if (const auto self = weak.lock()) self->readable(error);
                         });
}

void ClientConnection::readable(std::error_code error) {
  if (closed_) return;
  std::size_t count = 0;
  if (!error) count = connection_.read_some(asio::buffer(environment_.readBuffer), error);
  if (error == asio::error::would_block) {
    receive();
  } else if (error) {
    close();  // the peer ended its side, or the connection broke, before the head was complete
  } else {
    consume({reinterpret_cast<const char*>(environment_.readBuffer.data()), count});
  }
}

void ClientConnection::consume(std::string_view data) {
  buffer_.append(data);
  const auto request = HTTPRequest::parse(buffer_);
  if (!request) {
    headIncomplete();
    return;
  }
  handled_ = true;
  headDeadline_.cancel();
  const std::string received = std::exchange(buffer_, {});
  const auto headLength = static_cast<std::size_t>(request->headLength);
  handle(*request, std::string_view(received).substr(headLength));
}

void ClientConnection::headIncomplete() {
  if (buffer_.size() <= maxHeadBytes) {
    receive();
    return;
  }
  environment_.longHeads.log(fmt::format("request head over 16 KiB from {}; closing", remote_));
  close();
}

void ClientConnection::handle(const HTTPRequest& request, std::string_view initialBody) {
  if (environment_.logger->should_log(spdlog::level::debug)) {
    environment_.logger->debug("{} {} from {}", withEscapedControls(request.method),
                               withEscapedControls(request.path), remote_);
  }
  if (!environment_.allowedHosts.admits(request.header("host"))) {
    redirect(request);
    return;
  }
  const Route route = Router::route(request);
  switch (route.kind) {
    case Route::Kind::uploadFile:
      startUpload(route, request, initialBody);
      break;
    case Route::Kind::index:
      sendAndClose(HTTPResponse::html(ViewerPage::html(environment_.brand)));
      break;
    case Route::Kind::stream:
      startStream(request);
      break;
    case Route::Kind::status:
      sendStatus();
      break;
    case Route::Kind::brandImage:
      respondWith(environment_.brandAnswers.image);
      break;
    case Route::Kind::brandFont:
      respondWith(environment_.brandAnswers.font);
      break;
    case Route::Kind::help:
      sendAndClose(HTTPResponse::html(HelpPage::html(environment_.brand, environment_.hostname)));
      break;
    case Route::Kind::methodNotAllowed:
      sendAndClose(HTTPResponse::methodNotAllowed());
      break;
    case Route::Kind::uploadPage:
      sendUploadPage();
      break;
    case Route::Kind::uploadStatus:
      sendUploadStatus();
      break;
    case Route::Kind::notFound:
      sendAndClose(HTTPResponse::notFound());
      break;
  }
}

// At the numeric address a person sees the requested page, and a foreign page can read nothing.
void ClientConnection::redirect(const HTTPRequest& request) {
  const auto here = localURL(connection_);
  if (!here) {
    close();
    return;
  }
  const std::string location = *here + percentEncodedPath(request.path).substr(1);
  environment_.logger->debug("{} was asked for under the name {}; redirecting to {}", remote_,
                             withEscapedControls(request.header("host")), location);
  sendAndClose(HTTPResponse::temporaryRedirect(location));
}

void ClientConnection::sendStatus() {
  StatusSnapshot snapshot = environment_.status();
  snapshot.viewers = static_cast<std::int64_t>(environment_.broadcaster.viewerCount());
  sendAndClose(HTTPResponse::json(snapshot.json()));
}

void ClientConnection::respondWith(const std::shared_ptr<const Bytes>& file) {
  if (!file) {
    sendAndClose(HTTPResponse::notFound());
    return;
  }
  sharedResponse_ = file;
  sendLast(asio::buffer(*sharedResponse_));
}

void ClientConnection::sendUploadPage() {
  sendAndClose(uploads_ ? HTTPResponse::html(UploadPage::html(environment_.brand))
                        : HTTPResponse::notFound());
}

void ClientConnection::sendUploadStatus() {
  sendAndClose(uploads_ ? HTTPResponse::json(uploads_->snapshot().json())
                        : HTTPResponse::notFound());
}

void ClientConnection::startUpload(const Route& route, const HTTPRequest& request,
                                   std::string_view initialBody) {
  if (!uploads_) {
    sendAndClose(HTTPResponse::notFound());
    return;
  }
  UploadTransfer::Connection connection{connection_, remote_, remoteAddressText(connection_),
                                        [weak = weak_from_this()](Bytes response) {
                                          const auto self = weak.lock();
                                          if (self) self->sendAndClose(std::move(response));
                                        },
                                        [weak = weak_from_this()] {
                                          if (const auto self = weak.lock()) self->close();
                                        }};
  upload_ =
      std::make_shared<UploadTransfer>(environment_.uploadQueues, std::move(connection), uploads_);
  upload_->start(route, request, initialBody);
}

void ClientConnection::sendAndClose(Bytes response) {
  response_ = std::move(response);
  sendLast(asio::buffer(response_));
}

void ClientConnection::sendLast(asio::const_buffer response) {
  asio::async_write(connection_, response, wholeRest,
                    [weak = weak_from_this()](std::error_code error, std::size_t) {
                      const auto self = weak.lock();
                      if (!self || self->closed_) return;
                      if (!error) self->finish();
                      self->close();
                    });
}

// The connection is finished for the server; only its socket lingers.
void ClientConnection::finish() {
  environment_.peerWatch.remove(connection_.native_handle());
  environment_.lingeringSockets.adopt(
      std::move(connection_), upload_ ? LingeringSockets::forUploads : LingeringSockets::ordinary);
}

void ClientConnection::startStream(const HTTPRequest& request) {
  const bool tiles = wantsTiles(request);
  response_ = tiles || wantsScriptStream(request) ? HTTPResponse::scriptStreamHead()
                                                  : HTTPResponse::mjpegHead();
  asio::async_write(connection_, asio::buffer(response_), wholeRest,
                    [weak = weak_from_this(), tiles](std::error_code error, std::size_t) {
                      const auto self = weak.lock();
                      if (!self || self->closed_) return;
                      self->response_ = {};
                      if (error) {
                        self->close();
                      } else if (tiles) {
                        self->subscribeToTiles();
                      } else {
                        self->subscribe();
                      }
                    });
}

// The broadcaster's lock is only ever held for as long as it takes to post to this queue, so it is
// called directly.
void ClientConnection::subscribe() {
  subscription_ = environment_.broadcaster.subscribe(
      [&queue = environment_.queue, weak = weak_from_this()](const Frame& jpeg) {
        queue.post([weak, jpeg] {
          const auto self = weak.lock();
          if (!self || self->closed_) return;
          self->pendingFrame_ = jpeg;
          self->sendNext();
        });
      });
}

void ClientConnection::subscribeToTiles() {
  tileFeed_.emplace(environment_.tileUpdates);
  leaveLittleUnsent(connection_);
  subscription_ = environment_.broadcaster.subscribeToTiles(
      [&queue = environment_.queue, weak = weak_from_this()](const TilePicture& picture) {
        queue.post([weak, picture] {
          const auto self = weak.lock();
          if (!self || self->closed_) return;
          self->tileFeed_->offer(picture);
          self->sendNext();
        });
      });
}

void ClientConnection::sendNext() {
  if (sendInFlight_) return;
  if (tileFeed_) {
    sendNextTiles();
  } else if (pendingFrame_) {
    sendPart({MJPEGFramer::jpegType, std::exchange(pendingFrame_, nullptr)});
  }
}

void ClientConnection::sendNextTiles() {
  const auto now = TileFeed::Clock::now();
  if (!tileFeed_->hasNext()) return;
  if (tileFeed_->due() > now) {
    sendWhenDue();
    return;
  }
  const auto next = tileFeed_->take(now, environment_.broadcaster.tileByteRate());
  if (!next) {
    environment_.broadcaster.requestTiles();
    return;
  }
  if (next->contentType == MJPEGFramer::tilesType) {
    environment_.broadcaster.addTileBytes(next->body->size());
  }
  sendPart(*next);
}

void ClientConnection::sendWhenDue() {
  if (pace_.expiry() == tileFeed_->due()) return;
  pace_.expires_at(tileFeed_->due());
  pace_.async_wait([weak = weak_from_this()](std::error_code cancelled) {
    const auto self = weak.lock();
    if (!cancelled && self && !self->closed_) self->sendNext();
  });
}

// The kernel accepts an ordinary frame as a whole for a viewer that keeps up. Trying that first
// avoids the reactor: an allocation and a second turn of the queue for each viewer and frame.
void ClientConnection::sendPart(const TileFeed::Part& next) {
  sendInFlight_ = true;
  partBody_ = next.body;
  partHead_ = MJPEGFramer::partHead(partBody_->size(), next.contentType);
  if (std::exchange(openingSent_, false)) partHead_.erase(0, MJPEGFramer::partOpening.size());
  Part part{asio::buffer(partHead_), asio::buffer(*partBody_),
            asio::const_buffer(MJPEGFramer::partEnd.data(), MJPEGFramer::partEnd.size())};
  std::error_code reportedAgain;  // the send of the rest reports it
  drop(connection_.write_some(part, reportedAgain), part);
  if (asio::buffer_size(part) == 0) {
    partSent({});
  } else {
    sendRest(part);
  }
}

void ClientConnection::sendRest(const Part& part) {
  asio::async_write(connection_, part, wholeRest,
                    [weak = weak_from_this()](std::error_code error, std::size_t) {
                      if (const auto self = weak.lock()) self->partSent(error);
                    });
}

void ClientConnection::partSent(std::error_code error) {
  sendInFlight_ = false;
  partBody_.reset();
  if (closed_) return;
  if (error) {
    close();
  } else {
    sendNext();
  }
}

void ClientConnection::peerChanged(PeerWatch::Event event) {
  if (closed_) return;
  if (event == PeerWatch::Event::gone) {
    close();
  } else if (subscription_) {
    probe();
  }
}

// A viewer that has ended its side may have left or may still be watching. Only sending shows
// which: the kernel of one that left replies with a reset. A send in flight shows it as well.
void ClientConnection::probe() {
  if (sendInFlight_) return;
  const Frame retained = tileFeed_ ? nullptr : environment_.broadcaster.latest();
  if (retained) {
    sendPart({MJPEGFramer::jpegType, retained});
  } else {
    sendOpening();
  }
}

// Before anything was shared there is no frame to send again, and tiles are not sent twice. The
// first bytes of the next part serve as well, since they are the same for any content.
void ClientConnection::sendOpening() {
  if (std::exchange(openingSent_, true)) return;
  sendInFlight_ = true;
  asio::async_write(
      connection_,
      asio::const_buffer(MJPEGFramer::partOpening.data(), MJPEGFramer::partOpening.size()),
      wholeRest, [weak = weak_from_this()](std::error_code error, std::size_t) {
        if (const auto self = weak.lock()) self->partSent(error);
      });
}

void ClientConnection::closeIfVanished() {
  if (!subscription_ || !environment_.vanishedViewers.isMissing(connection_)) return;
  environment_.peerWatch.remove(connection_.native_handle());
  std::error_code ignored;
  connection_.cancel(ignored);  // operations in flight use memory of this object
  environment_.vanishedViewers.adopt(std::move(connection_));
  close();
}

void ClientConnection::close() {
  if (std::exchange(closed_, true)) return;
  headDeadline_.cancel();
  pace_.cancel();
  pendingFrame_.reset();
  tileFeed_.reset();
  if (upload_) upload_->connectionClosed();
  if (const auto identifier = std::exchange(subscription_, std::nullopt)) {
    environment_.broadcaster.unsubscribe(*identifier);
  }
  if (connection_.is_open()) {
    environment_.peerWatch.remove(connection_.native_handle());
    std::error_code ignored;
    connection_.close(ignored);
  }
  if (const auto onClose = std::exchange(onClose_, nullptr)) onClose(*this);
}

}  // namespace tarvinel

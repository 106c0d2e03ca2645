#include "core/http/UploadTransfer.h"

#include "core/http/HTTPResponse.h"

#include <nlohmann/json.hpp>

#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

/// An admitted upload that nobody takes must not be left to a destructor on the server's queue.
void discard(const AdmissionOutcome& outcome) {
  if (const auto* upload = std::get_if<std::shared_ptr<ActiveUpload>>(&outcome)) {
    (*upload)->abandon([] {});
  }
}

}  // namespace

UploadTransfer::UploadTransfer(UploadQueues queues, Connection connection,
                               std::shared_ptr<UploadController> controller)
    : queues_(queues), connection_(std::move(connection)), controller_(std::move(controller)) {}

template <class Argument>
std::function<void(Argument)> UploadTransfer::onServer(
    std::function<void(UploadTransfer&, Argument)> step) {
  return [weak = weak_from_this(), &server = queues_.server,
          step = std::move(step)](Argument argument) {
    server.post([weak, step, argument = std::move(argument)] {
      const auto self = weak.lock();
      if (self && !self->closed_) step(*self, argument);
    });
  };
}

void UploadTransfer::start(const Route& route, const HTTPRequest& request,
                           std::string_view initialBody) {
  auto checked = UploadRequest::check(route.participant, route.filename, request,
                                      controller_->limits().maxBytes);
  if (const auto* refusal = std::get_if<UploadRefusal>(&checked)) {
    answer(*refusal);
    return;
  }
  buffer_ = std::make_shared<Bytes>(bytesOf(initialBody));
  requestAdmission(std::get<UploadRequest>(checked));
}

// Nothing is read meanwhile: what the client sends, its end included, waits in the kernel.
void UploadTransfer::requestAdmission(const UploadRequest& request) {
  filename_ = request.filename;
  const auto place = std::make_shared<const UploadPlace>(
      UploadPlace{connection_.address, failing(UploadRefusal::busy())});
  const auto onStall = failing({"408 Request Timeout", "connection stalled, retry"});
  queues_.admission.post([weak = weak_from_this(), queues = queues_, controller = controller_,
                          request, place, onStall] {
    queues.server.post(
        [weak, outcome = performAdmission(controller, request, place, queues.blocking, onStall)] {
          const auto self = weak.lock();
          if (self && !self->closed_) {
            self->completeAdmission(outcome);
          } else {
            discard(outcome);
          }
        });
  });
}

/// Ends the upload that way; can be called on any queue.
std::function<void()> UploadTransfer::failing(const UploadRefusal& refusal) {
  return [weak = weak_from_this(), &server = queues_.server, refusal] {
    server.post([weak, refusal] {
      if (const auto self = weak.lock()) self->fail(refusal);
    });
  };
}

void UploadTransfer::completeAdmission(const AdmissionOutcome& outcome) {
  if (const auto* refusal = std::get_if<UploadRefusal>(&outcome)) {
    answer(*refusal);
    return;
  }
  upload_ = std::get<std::shared_ptr<ActiveUpload>>(outcome);
  controller_->logger()->info("start {} {} {} bytes from {}", upload_->participant(), filename_,
                              upload_->declaredBytes(), connection_.remote);
  if (buffer_->empty()) {
    receive();
  } else {
    feed(buffer_->size());
  }
}

void UploadTransfer::feed(std::size_t count) {
  const auto size = static_cast<std::int64_t>(count);
  if (size > upload_->declaredBytes() - received_) {
    fail({"400 Bad Request", "body longer than Content-Length"});
    return;
  }
  received_ += size;
  auto completion =
      onServer<Result<void>>([buffer = buffer_](UploadTransfer& self, const Result<void>& outcome) {
        self.written(outcome);
      });
  upload_->write({buffer_->data(), count}, std::move(completion));
}

void UploadTransfer::written(const Result<void>& outcome) {
  if (!upload_) return;
  if (!outcome.ok()) {
    controller_->logger()->error("write failed: {}", describe(outcome.error()));
    fail({UploadRefusal::internalError, "could not write the file"});
  } else if (received_ == upload_->declaredBytes()) {
    complete();
  } else {
    readable({});  // mostly more has come while the disk wrote
  }
}

void UploadTransfer::receive() {
  connection_.socket.async_wait(asio::ip::tcp::socket::wait_read,
                                [weak = weak_from_this()](std::error_code error) {
                                  if (const auto self = weak.lock()) self->readable(error);
                                });
}

void UploadTransfer::readable(std::error_code error) {
  if (!upload_ || closed_) return;
  std::size_t count = 0;
  buffer_->resize(maxChunkBytes);
  if (!error) count = connection_.socket.read_some(asio::buffer(*buffer_), error);
  if (error == asio::error::would_block) {
    receive();
  } else if (error) {
    connection_.close();  // the client ended its side, or the connection broke
  } else {
    feed(count);
  }
}

void UploadTransfer::complete() {
  const auto upload = std::exchange(upload_, nullptr);
  upload->complete(onServer<ActiveUpload::Outcome>(&UploadTransfer::completed));
}

void UploadTransfer::completed(const ActiveUpload::Outcome& outcome) {
  if (const auto* name = std::get_if<std::string>(&outcome)) {
    connection_.answer(HTTPResponse::json("201 Created", nlohmann::json{{"file", *name}}.dump()));
    return;
  }
  const bool written = std::get<ActiveUpload::Failure>(outcome) == ActiveUpload::Failure::place;
  const UploadRefusal refusal{UploadRefusal::internalError,
                              written ? "could not place the file" : "could not write the file"};
  logAbort(refusal);
  answer(refusal);
}

void UploadTransfer::fail(const UploadRefusal& refusal) {
  const auto upload = std::exchange(upload_, nullptr);
  if (!upload) return;  // it has ended by another way
  logAbort(refusal);
  upload->abandon([answerOnServer = onServer<UploadRefusal>(&UploadTransfer::answer), refusal] {
    answerOnServer(refusal);
  });
}

void UploadTransfer::logAbort(const UploadRefusal& refusal) const {
  controller_->logger()->info("abort ({}): {}", refusal.status, refusal.message);
}

void UploadTransfer::answer(const UploadRefusal& refusal) {
  connection_.answer(HTTPResponse::jsonError(refusal.status, refusal.message));
}

void UploadTransfer::connectionClosed() {
  closed_ = true;
  const auto upload = std::exchange(upload_, nullptr);
  if (!upload) return;
  controller_->logger()->info("connection closed after {} of {} bytes; dropping partial", received_,
                              upload->declaredBytes());
  upload->abandon([] {});
}

}  // namespace tarvinel

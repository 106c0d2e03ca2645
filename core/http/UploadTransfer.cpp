#include "core/http/UploadTransfer.h"

#include "core/http/HTTPResponse.h"
#include "core/support/FatalError.h"
#include "core/support/Result.h"
#include "core/uploads/UploadController.h"
#include "core/uploads/UploadNaming.h"

#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <optional>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

/// An admitted upload whose transfer has ended must not be destroyed on the server's queue.
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
    response(*refusal);
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

/// Returns a function that fails the upload with this error; it can be called on any queue.
std::function<void()> UploadTransfer::failing(const UploadRefusal& refusal) {
  return [weak = weak_from_this(), &server = queues_.server, refusal] {
    server.post([weak, refusal] {
      if (const auto self = weak.lock()) self->fail(refusal);
    });
  };
}

void UploadTransfer::completeAdmission(const AdmissionOutcome& outcome) {
  if (const auto* refusal = std::get_if<UploadRefusal>(&outcome)) {
    response(*refusal);
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
    readable({});  // usually more has arrived during the write
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
    connection_.response(HTTPResponse::json("201 Created", nlohmann::json{{"file", *name}}.dump()));
    return;
  }
  const bool written = std::get<ActiveUpload::Failure>(outcome) == ActiveUpload::Failure::place;
  const UploadRefusal refusal{UploadRefusal::internalError,
                              written ? "could not place the file" : "could not write the file"};
  logAbort(refusal);
  response(refusal);
}

void UploadTransfer::fail(const UploadRefusal& refusal) {
  const auto upload = std::exchange(upload_, nullptr);
  if (!upload) return;  // it has already ended
  logAbort(refusal);
  upload->abandon([respondOnServer = onServer<UploadRefusal>(&UploadTransfer::response), refusal] {
    respondOnServer(refusal);
  });
}

void UploadTransfer::logAbort(const UploadRefusal& refusal) const {
  controller_->logger()->info("abort ({}): {}", refusal.status, refusal.message);
}

void UploadTransfer::response(const UploadRefusal& refusal) {
  connection_.response(HTTPResponse::jsonError(refusal.status, refusal.message));
}

void UploadTransfer::connectionClosed() {
  closed_ = true;
  const auto upload = std::exchange(upload_, nullptr);
  if (!upload) return;
  controller_->logger()->info("connection closed after {} of {} bytes; dropping partial", received_,
                              upload->declaredBytes());
  upload->abandon([] {});
}

namespace {

UploadRefusal refusalFor(UploadController::Admission admission) {
  switch (admission) {
    case UploadController::Admission::disabled:
      return {"403 Forbidden", "Uploads are closed right now, ask your Pro to open them"};
    case UploadController::Admission::busy:
      return UploadRefusal::busy();
    case UploadController::Admission::noSpace:
      return {"507 Insufficient Storage", "not enough space on the Pro's disk"};
    case UploadController::Admission::admitted:
      break;
  }
  fatalError("an admitted upload is not refused");
}

UploadRefusal couldNotReserve(const UploadRequest& request, const std::exception_ptr& error,
                              const Logger& logger) {
  logger->error("reserve {}/{} failed: {}", request.label, request.filename, describe(error));
  return {UploadRefusal::internalError, "could not create the file"};
}

UploadRefusal couldNotOpen(const std::string& file, const std::exception_ptr& error,
                           const Logger& logger) {
  logger->error("open {} failed: {}", file, describe(error));
  return {UploadRefusal::internalError, "could not write the file"};
}

/// Opens the file of the first free name. Another program that uses the folder can have taken a
/// name that the store has reserved; then the next name is tried.
AdmissionOutcome openUpload(
    UploadSlot slot, const std::shared_ptr<UploadStore>& store, const UploadRequest& request,
    const Logger& logger,
    const std::function<std::shared_ptr<UploadSink>(const UploadStore::Reservation&)>& openSink) {
  for (int attempt = 1;;) {
    const auto reserved =
        resultOf([&] { return store->reserve(request.label, request.filename, attempt); });
    if (!reserved.ok()) return couldNotReserve(request, reserved.error(), logger);
    const UploadStore::Reservation& reservation = reserved.value();
    const auto sink = resultOf([&] { return openSink(reservation); });
    if (sink.ok() && sink.value()) {
      return std::make_shared<ActiveUpload>(std::move(slot), store, reservation, sink.value(),
                                            logger);
    }
    store->release(reservation);
    if (!sink.ok()) return couldNotOpen(reservation.partialName(), sink.error(), logger);
    attempt = reservation.attempt + 1;
  }
}

}  // namespace

AdmissionOutcome performAdmission(const std::shared_ptr<UploadController>& controller,
                                  const UploadRequest& request,
                                  const std::shared_ptr<const UploadPlace>& place,
                                  BlockingPool& pool, const std::function<void()>& onStall) {
  const auto admission = controller->admit(request.declaredBytes, place);
  if (admission != UploadController::Admission::admitted) return refusalFor(admission);
  UploadSlot slot(controller, request.declaredBytes, place);
  const Logger& logger = controller->logger();
  return openUpload(std::move(slot), controller->store(), request, logger,
                    [&](const UploadStore::Reservation& reservation) {
                      return UploadSink::open(pool, reservation, controller->limits().stall,
                                              onStall, logger);
                    });
}

namespace {

constexpr std::string_view badRequest = "400 Bad Request";
constexpr std::int64_t gigabyte = 1073741824;

UploadRefusal refusalOfName(std::string_view filename) {
  const std::string_view extension = UploadNaming::pathExtension(filename);
  if (!extension.empty() && !UploadNaming::isAllowedExtension(extension)) {
    return {"415 Unsupported Media Type",
            "file type not accepted; allowed: " + UploadNaming::listOfAllowedExtensions()};
  }
  return {badRequest, "file name must contain letters or digits and an extension"};
}

std::optional<UploadRefusal> refusalOfSize(std::optional<std::int64_t> bytes,
                                           std::int64_t maxBytes) {
  if (!bytes) return UploadRefusal{"411 Length Required", "Content-Length required"};
  if (*bytes < 1) return UploadRefusal{badRequest, "empty file"};
  if (*bytes <= maxBytes) return std::nullopt;
  return UploadRefusal{"413 Payload Too Large",
                       fmt::format("files over {} GB are not accepted", maxBytes / gigabyte)};
}

}  // namespace

std::variant<UploadRequest, UploadRefusal> UploadRequest::check(std::string_view participant,
                                                                std::string_view filename,
                                                                const HTTPRequest& request,
                                                                std::int64_t maxBytes) {
  const auto label = UploadNaming::participantLabel(participant);
  if (!label) return UploadRefusal{badRequest, "name must contain letters or digits"};
  const auto file = UploadNaming::fileName(filename);
  if (!file) return refusalOfName(filename);
  const auto length = request.contentLength();
  if (const auto refusal = refusalOfSize(length, maxBytes)) return *refusal;
  return UploadRequest{*label, *file, *length};
}

}  // namespace tarvinel

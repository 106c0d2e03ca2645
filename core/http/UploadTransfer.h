#pragma once

#include "core/http/HTTPRequest.h"
#include "core/http/Router.h"
#include "core/support/BlockingPool.h"
#include "core/support/Bytes.h"
#include "core/support/SerialQueue.h"
#include "core/uploads/ActiveUpload.h"
#include "core/uploads/UploadController.h"

#include <asio/ip/tcp.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace tarvinel {

/// The reason why an upload is rejected, as reported to its participant.
struct UploadRefusal {
  static constexpr std::string_view internalError = "500 Internal Server Error";

  std::string_view status;  ///< the text that follows "HTTP/1.1 "
  std::string message;

  /// The only error after which the page retries by itself.
  static UploadRefusal busy() {
    return {"503 Service Unavailable", "busy, retry in a few seconds"};
  }

  bool operator==(const UploadRefusal&) const = default;
};

/// An upload that can request admission. A plain value.
struct UploadRequest {
  std::string label;               ///< the participant's name, sanitized
  std::string filename;            ///< sanitized, with an allowed extension
  std::int64_t declaredBytes = 0;  ///< at least 1

  /// Checks names, type and size, in this order; the first error is returned. Pure.
  static std::variant<UploadRequest, UploadRefusal> check(std::string_view participant,
                                                          std::string_view filename,
                                                          const HTTPRequest& request,
                                                          std::int64_t maxBytes);
};

/// An upload whose file is open, or the reason why there is none.
using AdmissionOutcome = std::variant<std::shared_ptr<ActiveUpload>, UploadRefusal>;

/// Requests admission, reserves a name, opens the file. Blocks as long as the disk does: runs on
/// the queue ".upload-admission". `onStall` is called at most once, on the queue of the upload's
/// sink.
AdmissionOutcome performAdmission(const std::shared_ptr<UploadController>& controller,
                                  const UploadRequest& request,
                                  const std::shared_ptr<const UploadPlace>& place,
                                  BlockingPool& pool, const std::function<void()>& onStall);

/// The queues that uploads use; they outlive all transfers.
struct UploadQueues {
  SerialQueue& server;
  PooledQueue& admission;
  BlockingPool& blocking;  ///< every upload makes its own queue on it
};

/// One upload on one connection: checks the request, requests admission, writes the body chunk by
/// chunk, responds. No chunk is read from the network before the last one has been written, so the
/// disk paces the client and at most one chunk is in memory.
///
/// The response is sent once the disk is done: a participant who reads "201 Created" has a file
/// that survives a power cut; for one who reads a failure the name is free again.
///
/// Lives on the server's queue, where it never touches the disk. Owned by the connection; every
/// callback holds it weakly.
class UploadTransfer : public std::enable_shared_from_this<UploadTransfer> {
 public:
  /// The parts of its connection. `response` and `close` may destroy the transfer.
  struct Connection {
    asio::ip::tcp::socket& socket;
    std::string remote;                   ///< the endpoint, for the log
    std::string address;                  ///< of the client's computer
    std::function<void(Bytes)> response;  ///< sends a response and closes
    std::function<void()> close;
  };

  static constexpr std::size_t maxChunkBytes = 262144;

  UploadTransfer(UploadQueues queues, Connection connection,
                 std::shared_ptr<UploadController> controller);

  /// Starts with an upload request and the bytes of the body that came with it.
  void start(const Route& route, const HTTPRequest& request, std::string_view initialBody);

  /// Handles the end of the connection: drops the partial file, unless the body is complete; the
  /// file is then kept although nobody is notified. Idempotent.
  void connectionClosed();

 private:
  void requestAdmission(const UploadRequest& request);
  void completeAdmission(const AdmissionOutcome& outcome);
  void receive();
  void readable(std::error_code error);
  void feed(std::size_t count);
  void written(const Result<void>& outcome);
  void complete();
  void completed(const ActiveUpload::Outcome& outcome);
  void fail(const UploadRefusal& refusal);
  std::function<void()> failing(const UploadRefusal& refusal);
  void logAbort(const UploadRefusal& refusal) const;
  void response(const UploadRefusal& refusal);

  /// Wraps a step so that it can be called on any queue: it runs on the server's, provided that the
  /// transfer still exists and its connection is open.
  template <class Argument>
  std::function<void(Argument)> onServer(std::function<void(UploadTransfer&, Argument)> step);

  const UploadQueues queues_;
  const Connection connection_;
  const std::shared_ptr<UploadController> controller_;
  bool closed_ = false;
  std::string filename_;                  ///< as requested
  std::shared_ptr<ActiveUpload> upload_;  ///< from admission until the body is complete
  std::shared_ptr<Bytes> buffer_;         ///< holds the chunk being read or written
  std::int64_t received_ = 0;             ///< bytes of the body
};

}  // namespace tarvinel

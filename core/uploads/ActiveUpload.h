#pragma once

#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/uploads/UploadController.h"
#include "core/uploads/UploadSink.h"
#include "core/uploads/UploadStore.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <variant>

namespace tarvinel {

/// One admitted upload: its place, its reserved name and its open file, which end together, by
/// `complete` or by `abandon`, or at destruction if neither is called.
///
/// Its operations return at once and can be called from any thread, one after the other. Their disk
/// operations and completions run on the sink's queue.
class ActiveUpload : public std::enable_shared_from_this<ActiveUpload> {
 public:
  enum class Failure : std::uint8_t {
    write,  ///< the last bytes did not reach the disk
    place,  ///< the complete file could not be given its name
  };
  /// The name under which the file is stored, or the reason why it is not.
  using Outcome = std::variant<std::string, Failure>;

  ActiveUpload(UploadSlot slot, std::shared_ptr<UploadStore> store,
               UploadStore::Reservation reservation, std::shared_ptr<UploadSink> sink,
               Logger logger);
  ~ActiveUpload();
  ActiveUpload(const ActiveUpload&) = delete;
  ActiveUpload& operator=(const ActiveUpload&) = delete;

  const std::string& participant() const { return reservation_.participant; }
  std::int64_t declaredBytes() const { return slot_.declaredBytes(); }

  /// Appends a chunk, which must stay valid until the completion.
  void write(std::span<const std::uint8_t> chunk, Completion<void> completion);

  /// Makes the file durable and visible. Continues even if nobody waits for the outcome.
  void complete(std::function<void(Outcome)> done);

  /// Removes the partial file; `done` is called when it is gone.
  void abandon(std::function<void()> done);

 private:
  Outcome finished(const Result<void>& flushed);
  std::string commit();
  void discard();

  UploadSlot slot_;
  const std::shared_ptr<UploadStore> store_;
  const UploadStore::Reservation reservation_;
  const std::shared_ptr<UploadSink> sink_;
  const Logger logger_;
  const std::chrono::steady_clock::time_point startedAt_ = std::chrono::steady_clock::now();
  bool ended_ = false;  ///< used on the sink's queue
};

}  // namespace tarvinel

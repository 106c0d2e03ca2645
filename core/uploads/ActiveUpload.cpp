#include "core/uploads/ActiveUpload.h"

#include <utility>

namespace tarvinel {

ActiveUpload::ActiveUpload(UploadSlot slot, std::shared_ptr<UploadStore> store,
                           UploadStore::Reservation reservation, std::shared_ptr<UploadSink> sink,
                           Logger logger)
    : slot_(std::move(slot)),
      store_(std::move(store)),
      reservation_(std::move(reservation)),
      sink_(std::move(sink)),
      logger_(std::move(logger)) {}

ActiveUpload::~ActiveUpload() {
  discard();
}

void ActiveUpload::write(std::span<const std::uint8_t> chunk, Completion<void> completion) {
  sink_->write(chunk, std::move(completion));
}

void ActiveUpload::complete(std::function<void(Outcome)> done) {
  sink_->finish([self = shared_from_this(), done = std::move(done)](const Result<void>& flushed) {
    done(self->finished(flushed));
  });
}

ActiveUpload::Outcome ActiveUpload::finished(const Result<void>& flushed) {
  if (!flushed.ok()) {
    logger_->error("finish failed: {}", describe(flushed.error()));
    discard();
    return Failure::write;
  }
  const Result<std::string> committed = resultOf([this] { return commit(); });
  if (committed.ok()) return committed.value();
  logger_->error("commit failed: {}", describe(committed.error()));
  discard();
  return Failure::place;
}

std::string ActiveUpload::commit() {
  const std::int64_t bytes = sink_->bytesWritten();
  std::string name = store_->commit(reservation_, sink_->file(), bytes).filename();
  ended_ = true;
  slot_.release();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - startedAt_;
  logger_->info("done {} {} {} bytes in {:.1f} s", participant(), name, bytes, elapsed.count());
  return name;
}

void ActiveUpload::abandon(std::function<void()> done) {
  sink_->abort([self = shared_from_this(), done = std::move(done)] {
    self->discard();
    done();
  });
}

void ActiveUpload::discard() {
  if (std::exchange(ended_, true)) return;
  store_->abort(reservation_, sink_->file());
  slot_.release();
}

}  // namespace tarvinel

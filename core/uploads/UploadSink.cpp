#include "core/uploads/UploadSink.h"

#include "core/support/UUID.h"

#include <optional>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

std::optional<PartialFile> partialFileOf(const UploadStore::Reservation& reservation) {
  try {
    return PartialFile::create(reservation.directory, reservation.partialName());
  } catch (const std::system_error&) {
    throw UploadSinkError::couldNotOpen(reservation.partialPath());
  }
}

}  // namespace

std::shared_ptr<UploadSink> UploadSink::open(BlockingPool& pool,
                                             const UploadStore::Reservation& reservation,
                                             const StallRule& rule, std::function<void()> onStall,
                                             Logger logger) {
  auto file = partialFileOf(reservation);
  if (!file) return nullptr;
  std::shared_ptr<UploadSink> sink(
      new UploadSink(pool, std::move(*file), rule, std::move(onStall), std::move(logger)));
  sink->queue_.post([sink] { sink->awaitCheck(); });
  return sink;
}

UploadSink::UploadSink(BlockingPool& pool, PartialFile file, const StallRule& rule,
                       std::function<void()> onStall, Logger logger)
    : queue_(pool, ".upload." + UUID::random().text()),
      rule_(rule),
      onStall_(std::move(onStall)),
      logger_(std::move(logger)),
      file_(std::move(file)),
      timer_(queue_.executor()) {}

void UploadSink::write(std::span<const std::uint8_t> chunk, Completion<void> completion) {
  queue_.post([self = shared_from_this(), chunk, completion = std::move(completion)] {
    completion(resultOf([&] { self->append(chunk); }));
  });
}

void UploadSink::append(std::span<const std::uint8_t> chunk) {
  if (closed_) throw UploadSinkError::closed();
  try {
    file_.append(chunk);
  } catch (const std::system_error& error) {
    throw UploadSinkError::ioFailure(error.code().message());
  }
  bytesWritten_ += static_cast<std::int64_t>(chunk.size());
  lastByteAt_ = Clock::now();
}

void UploadSink::finish(Completion<void> completion) {
  queue_.post([self = shared_from_this(), completion = std::move(completion)] {
    completion(resultOf([&] { self->finishFile(); }));
  });
}

void UploadSink::finishFile() {
  if (closed_) throw UploadSinkError::closed();
  end();
  try {
    file_.finish();
  } catch (const std::system_error& error) {
    throw UploadSinkError::ioFailure(error.code().message());
  }
}

void UploadSink::abort(std::function<void()> done) {
  queue_.post([self = shared_from_this(), done = std::move(done)] {
    self->end();
    done();
  });
}

void UploadSink::end() {
  closed_ = true;
  timer_.cancel();
}

void UploadSink::awaitCheck() {
  if (closed_) return;
  timer_.expires_after(std::chrono::duration_cast<Clock::duration>(rule_.checkInterval()));
  timer_.async_wait([weak = weak_from_this()](std::error_code cancelled) {
    const auto self = weak.lock();
    if (cancelled || !self) return;
    self->checkStall();
    self->awaitCheck();
  });
}

void UploadSink::checkStall() {
  if (closed_) return;
  const auto now = Clock::now();
  const StallRule::Seconds idle = now - lastByteAt_;
  const StallRule::Seconds age = now - startedAt_;
  if (!rule_.isStalled(idle, age, bytesWritten_)) return;
  logger_->info("upload stalled: idle {:f}s, age {:f}s", idle.count(), age.count());
  end();
  onStall_();
}

}  // namespace tarvinel

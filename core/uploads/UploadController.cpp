#include "core/uploads/UploadController.h"

#include <algorithm>
#include <utility>

namespace tarvinel {

UploadController::UploadController(std::shared_ptr<UploadStore> store, bool isEnabled,
                                   Limits limits, Logger logger, FreeSpace freeSpace)
    : limits_(limits),
      logger_(std::move(logger)),
      freeSpaceOverride_(std::move(freeSpace)),
      isEnabled_(isEnabled),
      store_(std::move(store)) {}

bool UploadController::isEnabled() const {
  const std::scoped_lock lock(mutex_);
  return isEnabled_;
}

void UploadController::setEnabled(bool isEnabled) {
  const std::scoped_lock lock(mutex_);
  isEnabled_ = isEnabled;
}

std::shared_ptr<UploadStore> UploadController::store() const {
  const std::scoped_lock lock(mutex_);
  return store_;
}

void UploadController::setStore(std::shared_ptr<UploadStore> store) {
  const std::scoped_lock lock(mutex_);
  store_ = std::move(store);
}

// Nothing but another decision takes a place, so what was free before the disk was asked is free
// afterwards; only the gate may have been closed meanwhile.
UploadController::Admission UploadController::admit(std::int64_t declaredBytes) {
  const std::scoped_lock oneDecision(admissionMutex_);
  if (const auto refusal = refusalWithoutAskingTheDisk()) return *refusal;
  const auto free = freeSpace();
  const std::scoped_lock lock(mutex_);
  if (!isEnabled_) return Admission::disabled;
  if (!free || *free - reservedBytes_ < declaredBytes + headroom) return Admission::noSpace;
  ++inFlight_;
  reservedBytes_ += declaredBytes;
  return Admission::admitted;
}

std::optional<UploadController::Admission> UploadController::refusalWithoutAskingTheDisk() const {
  const std::scoped_lock lock(mutex_);
  if (!isEnabled_) return Admission::disabled;
  if (inFlight_ >= limits_.maxInFlight) return Admission::busy;
  return std::nullopt;
}

std::optional<std::int64_t> UploadController::freeSpace() const {
  return freeSpaceOverride_ ? freeSpaceOverride_() : store()->freeSpace();
}

void UploadController::release(std::int64_t declaredBytes) {
  const std::scoped_lock lock(mutex_);
  inFlight_ = std::max(inFlight_ - 1, 0);
  reservedBytes_ = std::max(reservedBytes_ - declaredBytes, std::int64_t{0});
}

UploadStatus UploadController::snapshot() const {
  const bool enabled = isEnabled();
  const UploadStore::Stats stats = store()->stats();
  return {enabled,
          stats.files,
          stats.bytes,
          stats.participants,
          stats.lastParticipant,
          stats.lastParticipantFiles};
}

int UploadController::debugInFlight() const {
  const std::scoped_lock lock(mutex_);
  return inFlight_;
}

std::int64_t UploadController::debugReservedBytes() const {
  const std::scoped_lock lock(mutex_);
  return reservedBytes_;
}

}  // namespace tarvinel

#include "core/uploads/UploadController.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
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

// Only another decision takes a place, so one that was free before the disk query is still free
// afterwards; only uploads may have been closed meanwhile.
UploadController::Admission UploadController::admit(
    std::int64_t declaredBytes, const std::shared_ptr<const UploadPlace>& place) {
  const std::scoped_lock oneDecision(admissionMutex_);
  if (const auto refusal = refusalWithoutAskingTheDisk(place.get())) return *refusal;
  const auto free = freeSpace();
  std::shared_ptr<const UploadPlace> yielding;
  {
    const std::scoped_lock lock(mutex_);
    if (!isEnabled_) return Admission::disabled;
    if (!free || *free - reservedBytes_ < declaredBytes + headroom) return Admission::noSpace;
    if (isFull()) {
      const auto found = placeThatYieldsTo(place.get());
      yielding = *found;
      places_.erase(found);
    }
    places_.push_back(place);
    reservedBytes_ += declaredBytes;
  }
  if (yielding) yielding->yield();
  return Admission::admitted;
}

std::optional<UploadController::Admission> UploadController::refusalWithoutAskingTheDisk(
    const UploadPlace* place) const {
  const std::scoped_lock lock(mutex_);
  if (!isEnabled_) return Admission::disabled;
  if (isFull() && placeThatYieldsTo(place) == places_.end()) return Admission::busy;
  return std::nullopt;
}

bool UploadController::isFull() const {
  return places_.size() >= static_cast<std::size_t>(limits_.maxInFlight);
}

std::int64_t UploadController::placesOf(const std::string& address) const {
  return std::ranges::count_if(places_,
                               [&](const auto& held) { return held && held->address == address; });
}

UploadController::Places::const_iterator UploadController::placeThatYieldsTo(
    const UploadPlace* place) const {
  const std::int64_t half = limits_.maxInFlight / 2;
  if (place == nullptr || placesOf(place->address) >= half) return places_.end();
  const auto newest = std::find_if(places_.rbegin(), places_.rend(), [&](const auto& held) {
    return held && placesOf(held->address) > half;
  });
  return newest == places_.rend() ? places_.end() : std::prev(newest.base());
}

std::optional<std::int64_t> UploadController::freeSpace() const {
  return freeSpaceOverride_ ? freeSpaceOverride_() : store()->freeSpace();
}

void UploadController::release(std::int64_t declaredBytes,
                               const std::shared_ptr<const UploadPlace>& place) {
  const std::scoped_lock lock(mutex_);
  const auto held = std::ranges::find(places_, place);  // end(): it has yielded
  if (held != places_.end()) places_.erase(held);
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
  return static_cast<int>(places_.size());
}

std::int64_t UploadController::debugReservedBytes() const {
  const std::scoped_lock lock(mutex_);
  return reservedBytes_;
}

std::string UploadStatus::json() const {
  nlohmann::ordered_json document{
      {"enabled", enabled}, {"files", files}, {"bytes", bytes}, {"participants", participants}};
  if (lastParticipant) document["lastParticipant"] = *lastParticipant;
  document["lastParticipantFiles"] = lastParticipantFiles;
  return document.dump();
}

}  // namespace tarvinel

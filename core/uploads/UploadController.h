#pragma once

#include "core/support/Log.h"
#include "core/uploads/UploadSink.h"
#include "core/uploads/UploadStore.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

/// The state that the upload page polls and the presenter is shown. A plain value.
struct UploadStatus {
  bool enabled = false;
  std::int64_t files = 0;
  std::int64_t bytes = 0;
  std::int64_t participants = 0;
  std::optional<std::string> lastParticipant;  ///< absent until a file has arrived
  std::int64_t lastParticipantFiles = 0;

  bool operator==(const UploadStatus&) const = default;

  /// Returns the document of "/upload/status"; without a last participant its key is omitted.
  std::string json() const;
};

/// One of the places for uploads, as requested and held.
struct UploadPlace {
  std::string address;  ///< of the client's computer
  /// Ends the upload in favour of a client at another address; never blocks.
  std::function<void()> yield;
};

/// The admission control of all uploads: whether uploads are open, how many run at once, whether
/// the disk has room.
///
/// One address may hold all places while nobody else wants one. To others it yields those beyond
/// half of them, the newest first, so that no single computer keeps everybody else out.
///
/// Safe from any thread. `admit` queries the disk and blocks as long as it does; nothing else waits
/// for that, so the rest can be called where nothing may block.
class UploadController {
 public:
  struct Limits {
    int maxInFlight = 8;                             ///< uploads admitted at the same time
    std::int64_t maxBytes = std::int64_t{2} << 30U;  ///< the largest upload
    StallRule stall;
  };

  /// Returns the bytes that can still be written, or nullopt if unknown.
  using FreeSpace = std::function<std::optional<std::int64_t>()>;

  enum class Admission : std::uint8_t { admitted, disabled, busy, noSpace };

  /// Kept free beyond what every admitted upload can still take, in bytes.
  static constexpr std::int64_t headroom = std::int64_t{1} << 30U;

  /// `freeSpace`, if given, is called instead of the store's.
  UploadController(std::shared_ptr<UploadStore> store, bool isEnabled, Limits limits, Logger logger,
                   FreeSpace freeSpace = {});

  const Limits& limits() const { return limits_; }
  const Logger& logger() const { return logger_; }

  bool isEnabled() const;
  void setEnabled(bool isEnabled);

  std::shared_ptr<UploadStore> store() const;

  /// Sets the store of future uploads; those in progress keep the store that named them.
  void setStore(std::shared_ptr<UploadStore> store);

  /// Decides about an upload of this size. One that is `admitted` holds a place until exactly one
  /// `release` with the same arguments. Without a `place` it neither yields to others nor do others
  /// yield to it.
  Admission admit(std::int64_t declaredBytes, const std::shared_ptr<const UploadPlace>& place = {});
  void release(std::int64_t declaredBytes, const std::shared_ptr<const UploadPlace>& place = {});

  UploadStatus snapshot() const;

  int debugInFlight() const;
  std::int64_t debugReservedBytes() const;

 private:
  using Places = std::vector<std::shared_ptr<const UploadPlace>>;

  std::optional<Admission> refusalWithoutAskingTheDisk(const UploadPlace* place) const;
  std::optional<std::int64_t> freeSpace() const;
  bool isFull() const;
  std::int64_t placesOf(const std::string& address) const;
  Places::const_iterator placeThatYieldsTo(const UploadPlace* place) const;

  const Limits limits_;
  const Logger logger_;
  const FreeSpace freeSpaceOverride_;

  std::mutex admissionMutex_;  ///< one decision at a time, including its disk query

  mutable std::mutex mutex_;            ///< never held during a disk query
  bool isEnabled_;                      // guarded by mutex_
  std::shared_ptr<UploadStore> store_;  // guarded by mutex_
  Places places_;                       // guarded by mutex_; the newest last
  std::int64_t reservedBytes_ = 0;      // guarded by mutex_
};

/// The resources of one admitted upload, a place and room on the disk; releases them when it is
/// destroyed. Movable value.
class UploadSlot {
 public:
  /// Takes over what `admit` has just granted.
  UploadSlot(std::shared_ptr<UploadController> controller, std::int64_t declaredBytes,
             std::shared_ptr<const UploadPlace> place = {})
      : controller_(std::move(controller)),
        declaredBytes_(declaredBytes),
        place_(std::move(place)) {}
  ~UploadSlot() { release(); }
  UploadSlot(UploadSlot&&) = default;
  UploadSlot& operator=(UploadSlot&&) = delete;
  UploadSlot(const UploadSlot&) = delete;
  UploadSlot& operator=(const UploadSlot&) = delete;

  std::int64_t declaredBytes() const { return declaredBytes_; }

  /// Releases the resources; idempotent.
  void release() {
    if (const auto controller = std::exchange(controller_, nullptr)) {
      controller->release(declaredBytes_, place_);
    }
  }

 private:
  std::shared_ptr<UploadController> controller_;
  std::int64_t declaredBytes_;
  std::shared_ptr<const UploadPlace> place_;
};

}  // namespace tarvinel

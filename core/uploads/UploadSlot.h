#pragma once

#include "core/uploads/UploadController.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace tarvinel {

/// What one admitted upload holds, a place and room on the disk; gives it back when it goes.
/// Movable value.
class UploadSlot {
 public:
  /// Takes over what `admit` has just given.
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

  /// Idempotent.
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

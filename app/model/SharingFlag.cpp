#include "app/model/SharingFlag.h"

#include "core/support/Version.h"

#include <utility>

namespace tarvinel {

void SharingFlag::startSharing(std::string source) {
  const std::scoped_lock lock(mutex_);
  source_ = std::move(source);
}

void SharingFlag::stopSharing() {
  const std::scoped_lock lock(mutex_);
  source_.reset();
}

void SharingFlag::setMotionFPS(std::int64_t motionFPS) {
  const std::scoped_lock lock(mutex_);
  motionFPS_ = motionFPS;
}

StatusSnapshot SharingFlag::snapshot() const {
  const std::scoped_lock lock(mutex_);
  return {source_.has_value(),  0, source_, motionFPS_, std::string(appVersion),
          std::string(appBuild)};
}

}  // namespace tarvinel

#include "core/uploads/UploadStores.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tarvinel {

std::shared_ptr<UploadStore> UploadStores::open(const std::filesystem::path& root,
                                                bool perParticipant) {
  std::error_code unreachable;
  const bool wasThere = std::filesystem::is_directory(root, unreachable);
  auto opened = std::make_shared<UploadStore>(root, perParticipant, logger_);
  if (auto known = wasThere ? storeBefore(*opened) : nullptr) {
    known->freeSpace();  // notes that a problem that it had is over
    return known;
  }
  stores_.push_back(opened);
  return opened;
}

std::shared_ptr<UploadStore> UploadStores::storeBefore(const UploadStore& opened) const {
  const auto newest = std::find_if(stores_.rbegin(), stores_.rend(),
                                   [&](const auto& store) { return store->isContinuedBy(opened); });
  return newest == stores_.rend() ? nullptr : *newest;
}

}  // namespace tarvinel

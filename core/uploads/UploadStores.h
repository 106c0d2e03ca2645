#pragma once

#include "core/support/Log.h"
#include "core/uploads/UploadStore.h"

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace tarvinel {

/// The stores of one run, so that a folder that is opened again goes on counting where it was:
/// uploads that are under way still end in the store that named them.
///
/// Not safe from several threads at once.
class UploadStores {
 public:
  explicit UploadStores(Logger logger) : logger_(std::move(logger)) {}

  /// Opens a folder as a new store does, and returns the store that it had before, if it is still
  /// the same folder used in the same way. Blocks as long as the disk does. Throws
  /// UploadStoreError.
  std::shared_ptr<UploadStore> open(const std::filesystem::path& root, bool perParticipant);

 private:
  std::shared_ptr<UploadStore> storeBefore(const UploadStore& opened) const;

  const Logger logger_;
  std::vector<std::shared_ptr<UploadStore>> stores_;  ///< the newest last
};

}  // namespace tarvinel

#pragma once

#include "app/model/ModelPart.h"
#include "app/platform/Desktop.h"
#include "app/platform/UserDefaults.h"
#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/support/SerialQueue.h"
#include "core/uploads/UploadController.h"
#include "core/uploads/UploadStore.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

/// The uploads as lines of text for the presenter. Static and pure.
class UploadLines {
 public:
  UploadLines() = delete;

  /// Returns how much has arrived, or nullopt if uploads are closed and nothing has.
  static std::optional<std::string> statusLine(const UploadStatus& status);

  /// Returns who uploaded last, or nullopt if nobody has.
  static std::optional<std::string> lastLine(const UploadStatus& status);
};

/// Manages uploads: the folder, whether they are open, and their state for the presenter. Lives on
/// the main queue. Its destructor waits for the disk.
class UploadsModel : public ModelPart<UploadsModel> {
 public:
  struct Dependencies {
    MainQueue& mainQueue;
    Desktop& desktop;
    UserDefaults& userDefaults;  ///< outlives the model, like the two above
    Log log;
    std::function<void()> onChange;
    /// Called once, when a folder has been opened for the first time.
    std::function<void(std::shared_ptr<UploadController>)> useController;
    /// Called whenever an attempt to open a folder has ended.
    std::function<void()> folderOpened;
  };

  /// The state of uploads at launch.
  struct Launch {
    std::filesystem::path defaultFolder;          ///< used if the presenter has chosen none
    std::optional<std::filesystem::path> folder;  ///< for this run, overrides the choice
    bool open = false;
  };

  UploadsModel(Dependencies dependencies, const Launch& launch);

  /// Opens the folder for the first time.
  void begin() { reloadStore(); }

  /// Ends reports. Does not wait for disks.
  void end() { endCallbacks(); }

  bool isEnabled() const { return isEnabled_; }
  const std::filesystem::path& folder() const { return folder_; }
  bool isPerParticipant() const { return isPerParticipant_; }
  const std::optional<UploadStatus>& status() const { return status_; }
  const std::optional<std::string>& error() const { return error_; }

  /// Opens uploads once the folder is usable, or closes them at once.
  void toggle();

  /// Switches between one folder per participant and one for all; the choice is saved.
  void togglePerParticipant();

  /// Sends new uploads to another folder; the choice is saved. Uploads in progress stay in the
  /// folder where they started.
  void chooseFolder(const std::filesystem::path& folder);

  /// Does the same with the folder that the presenter chooses in a dialog.
  void chooseFolder();

  void revealFolder();

  void refreshStatus();

 private:
  void reloadStore();
  void storeOpened(const Result<std::shared_ptr<UploadStore>>& store);
  void useStore(const std::shared_ptr<UploadStore>& store);
  void applyEnabled();
  void showProblem(const std::optional<std::string>& reason);

  const Dependencies dependencies_;
  const Logger logger_;
  SerialQueue folderQueue_{".upload-folder"};   ///< opens upload folders
  const std::shared_ptr<UploadStores> stores_;  ///< accessed only on folderQueue_
  bool isEnabled_;
  std::filesystem::path folder_;
  bool isPerParticipant_;
  std::optional<UploadStatus> status_;
  std::optional<std::string> error_;
  bool isFolderUnusable_ = false;  ///< the latest choice; uploads are rejected meanwhile
  std::shared_ptr<UploadController> controller_;  ///< null until a folder could be used

  /// Counts attempts to open a folder, so that the outcome of an earlier one is ignored.
  std::uint64_t currentReload_ = 0;
};

}  // namespace tarvinel

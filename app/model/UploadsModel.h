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

/// What the presenter is shown of the uploads, as lines of text. Static and pure.
class UploadLines {
 public:
  UploadLines() = delete;

  /// How much has arrived; nothing while uploads are closed and nothing has.
  static std::optional<std::string> statusLine(const UploadStatus& status);

  /// Who sent last; nothing until someone did.
  static std::optional<std::string> lastLine(const UploadStatus& status);
};

/// Which folder uploads go into, whether they are open, and what the presenter is shown of them.
/// Lives on the main queue. Its destructor waits for the disk.
class UploadsModel : public ModelPart<UploadsModel> {
 public:
  struct Dependencies {
    MainQueue& mainQueue;
    Desktop& desktop;
    UserDefaults& userDefaults;  ///< outlives the model, like the two above
    Log log;
    std::function<void()> onChange;
    /// Called once, when the first folder could be used.
    std::function<void(std::shared_ptr<UploadController>)> useController;
    /// Called whenever the outcome of opening a folder is known.
    std::function<void()> folderOpened;
  };

  /// What becomes of uploads at launch.
  struct Launch {
    std::filesystem::path defaultFolder;          ///< when the presenter has chosen none
    std::optional<std::filesystem::path> folder;  ///< for this run, whatever was chosen
    bool open = false;
  };

  UploadsModel(Dependencies dependencies, const Launch& launch);

  /// Opens the folder for the first time.
  void begin() { reloadStore(); }

  /// Nothing is reported from then on. Waits for no disk.
  void end() { endCallbacks(); }

  bool isEnabled() const { return isEnabled_; }
  const std::filesystem::path& folder() const { return folder_; }
  bool isPerParticipant() const { return isPerParticipant_; }
  const std::optional<UploadStatus>& status() const { return status_; }
  const std::optional<std::string>& error() const { return error_; }

  /// Opens uploads once the folder can be used, or closes them at once.
  void toggle();

  /// Gives each participant a folder, or none; remembered.
  void togglePerParticipant();

  /// Takes uploads into another folder; remembered. Uploads under way end where they began.
  void chooseFolder(const std::filesystem::path& folder);

  /// The same, with the folder that the presenter points out.
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
  const std::shared_ptr<UploadStores> stores_;  ///< used on folderQueue_ alone
  bool isEnabled_;
  std::filesystem::path folder_;
  bool isPerParticipant_;
  std::optional<UploadStatus> status_;
  std::optional<std::string> error_;
  bool isFolderUnusable_ = false;  ///< the newest choice: nothing is accepted meanwhile
  std::shared_ptr<UploadController> controller_;  ///< once a folder could be used

  /// Counts openings, so that the outcome of an earlier one is not taken for the newest one's.
  std::uint64_t currentReload_ = 0;
};

}  // namespace tarvinel

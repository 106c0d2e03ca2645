#include "app/model/AppModel.h"
#include "app/model/UploadLines.h"

#include <fmt/format.h>

#include <utility>

// The model's part in uploads: which folder they go into, and whether they are open.

namespace tarvinel {

namespace {

const std::string perParticipantKey = "uploadPerParticipant";

std::string folderError(const std::string& reason) {
  return "Can't use upload folder: " + reason;
}

}  // namespace

void AppModel::readUploadDefaults(const UploadLaunch& launch) {
  uploadsEnabled_ = launch.open;
  uploadPerParticipant_ = userDefaults_.boolean(perParticipantKey);
  if (launch.folder) {
    uploadFolder_ = *launch.folder;
  } else if (const auto chosen = userDefaults_.text(UserDefaults::uploadFolder)) {
    uploadFolder_ = *chosen;
  } else {
    uploadFolder_ = launch.defaultFolder;
  }
}

void AppModel::toggleUploads() {
  update(uploadsEnabled_, !uploadsEnabled_);
  if (!uploadsEnabled_) applyUploadsEnabled();  // at once: a slow disk does not keep them open
  reloadUploadStore();
  logger_->info("uploads {} into {}", uploadsEnabled_ ? "enabled" : "disabled",
                uploadFolder_.string());
}

void AppModel::toggleUploadPerParticipant() {
  update(uploadPerParticipant_, !uploadPerParticipant_);
  userDefaults_.set(perParticipantKey, uploadPerParticipant_);
  reloadUploadStore();
}

void AppModel::chooseUploadFolder(const std::filesystem::path& folder) {
  update(uploadFolder_, folder);
  userDefaults_.set(UserDefaults::uploadFolder, folder.string());
  reloadUploadStore();
  logger_->info("upload folder set to {}", folder.string());
}

void AppModel::chooseUploadFolder() {
  platform_.desktop.chooseFolder(
      uploadFolder_,
      onMain<std::filesystem::path>([](AppModel& self, const std::filesystem::path& folder) {
        self.chooseUploadFolder(folder);
      }));
}

void AppModel::revealUploadFolder() {
  platform_.desktop.revealFolder(uploadFolder_);
}

// Opening a folder asks the disk, which may take its time.
void AppModel::reloadUploadStore() {
  const std::uint64_t reload = ++currentReload_;
  auto opened = onMain<Result<std::shared_ptr<UploadStore>>>(
      [reload](AppModel& self, const Result<std::shared_ptr<UploadStore>>& store) {
        if (reload == self.currentReload_) self.uploadStoreOpened(store);
      });
  uploadFolderQueue_.post([folder = uploadFolder_, perParticipant = uploadPerParticipant_,
                           stores = uploadStores_, opened = std::move(opened)] {
    const auto store = resultOf([&] { return stores->open(folder, perParticipant); });
    opened(store);
    if (store.ok()) store.value()->removeLeftOversOfOtherDays();
  });
}

void AppModel::uploadStoreOpened(const Result<std::shared_ptr<UploadStore>>& store) {
  uploadFolderRefused_ = !store.ok();
  if (store.ok()) {
    useUploadStore(store.value());
    update(uploadError_, {});
  } else {
    const std::string reason = describe(store.error());
    logger_->error("upload store at {} failed: {}", uploadFolder_.string(), reason);
    update(uploadError_, std::optional(folderError(reason)));
  }
  applyUploadsEnabled();
  startServer();
}

void AppModel::useUploadStore(const std::shared_ptr<UploadStore>& store) {
  if (uploadController_) {
    uploadController_->setStore(store);
    return;
  }
  uploadController_ = std::make_shared<UploadController>(store, false, UploadController::Limits{},
                                                         platform_.log.category("upload"));
  server_.setUploads(uploadController_);
}

// With a folder that cannot be used nothing is taken, lest it goes where it was not wanted.
void AppModel::applyUploadsEnabled() {
  if (!uploadController_) return;
  uploadController_->setEnabled(uploadsEnabled_ && !uploadFolderRefused_);
  refreshUploadStatus();
}

void AppModel::refreshUploadStatus() {
  if (!uploadController_) return;
  update(uploadStatus_, std::optional(uploadController_->snapshot()));
  if (!uploadFolderRefused_) tellUploadProblem(uploadController_->store()->problem());
}

// The presenter may be looking at something else while photos are refused. Uploads stay open: they
// are taken as soon as the folder is back.
void AppModel::tellUploadProblem(const std::optional<std::string>& reason) {
  const auto error = reason ? std::optional(folderError(*reason)) : std::nullopt;
  if (error == uploadError_) return;
  update(uploadError_, error);
  if (error) platform_.desktop.notify("Tarvinel", *error);
}

std::optional<std::string> AppModel::uploadURL() const {
  if (!serverURL_) return std::nullopt;
  return *serverURL_ + "upload";
}

std::optional<std::string> AppModel::uploadStatusLine() const {
  return uploadStatus_ ? UploadLines::statusLine(*uploadStatus_) : std::nullopt;
}

std::optional<std::string> AppModel::uploadLastLine() const {
  return uploadStatus_ ? UploadLines::lastLine(*uploadStatus_) : std::nullopt;
}

}  // namespace tarvinel

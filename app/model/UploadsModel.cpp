#include "app/model/UploadsModel.h"

#include <fmt/format.h>

#include <utility>

namespace tarvinel {

namespace {

const std::string perParticipantKey = "uploadPerParticipant";

std::string folderError(const std::string& reason) {
  return "Can't use upload folder: " + reason;
}

std::filesystem::path folderAtLaunch(const UploadsModel::Launch& launch,
                                     const UserDefaults& userDefaults) {
  if (launch.folder) return *launch.folder;
  if (const auto chosen = userDefaults.text(UserDefaults::uploadFolder)) return *chosen;
  return launch.defaultFolder;
}

}  // namespace

UploadsModel::UploadsModel(Dependencies dependencies, const Launch& launch)
    : ModelPart(dependencies.mainQueue, dependencies.onChange),
      dependencies_(std::move(dependencies)),
      logger_(dependencies_.log.category("app")),
      stores_(std::make_shared<UploadStores>(dependencies_.log.category("upload"))),
      isEnabled_(launch.open),
      folder_(folderAtLaunch(launch, dependencies_.userDefaults)),
      isPerParticipant_(dependencies_.userDefaults.boolean(perParticipantKey)) {}

void UploadsModel::toggle() {
  update(isEnabled_, !isEnabled_);
  if (!isEnabled_) applyEnabled();  // at once: a slow disk must not keep them open
  reloadStore();
  logger_->info("uploads {} into {}", isEnabled_ ? "enabled" : "disabled", folder_.string());
}

void UploadsModel::togglePerParticipant() {
  update(isPerParticipant_, !isPerParticipant_);
  dependencies_.userDefaults.set(perParticipantKey, isPerParticipant_);
  reloadStore();
}

void UploadsModel::chooseFolder(const std::filesystem::path& folder) {
  update(folder_, folder);
  dependencies_.userDefaults.set(UserDefaults::uploadFolder, folder.string());
  reloadStore();
  logger_->info("upload folder set to {}", folder.string());
}

void UploadsModel::chooseFolder() {
  dependencies_.desktop.chooseFolder(
      folder_,
      onMain<std::filesystem::path>([](UploadsModel& self, const std::filesystem::path& folder) {
        self.chooseFolder(folder);
      }));
}

void UploadsModel::revealFolder() {
  dependencies_.desktop.revealFolder(folder_);
}

// Opens the folder on a queue of its own, since the disk may be slow.
void UploadsModel::reloadStore() {
  const std::uint64_t reload = ++currentReload_;
  auto opened = onMain<Result<std::shared_ptr<UploadStore>>>(
      [reload](UploadsModel& self, const Result<std::shared_ptr<UploadStore>>& store) {
        if (reload == self.currentReload_) self.storeOpened(store);
      });
  folderQueue_.post([folder = folder_, perParticipant = isPerParticipant_, stores = stores_,
                     opened = std::move(opened)] {
    const auto store = resultOf([&] { return stores->open(folder, perParticipant); });
    opened(store);
    if (store.ok()) store.value()->removeLeftOversOfOtherDays();
  });
}

void UploadsModel::storeOpened(const Result<std::shared_ptr<UploadStore>>& store) {
  isFolderUnusable_ = !store.ok();
  if (store.ok()) {
    useStore(store.value());
    update(error_, {});
  } else {
    const std::string reason = describe(store.error());
    logger_->error("upload store at {} failed: {}", folder_.string(), reason);
    update(error_, std::optional(folderError(reason)));
  }
  applyEnabled();
  dependencies_.folderOpened();
}

void UploadsModel::useStore(const std::shared_ptr<UploadStore>& store) {
  if (controller_) {
    controller_->setStore(store);
    return;
  }
  controller_ = std::make_shared<UploadController>(store, false, UploadController::Limits{},
                                                   dependencies_.log.category("upload"));
  dependencies_.useController(controller_);
}

// Rejects uploads while the chosen folder is unusable: they must not go into the previous one.
void UploadsModel::applyEnabled() {
  if (!controller_) return;
  controller_->setEnabled(isEnabled_ && !isFolderUnusable_);
  refreshStatus();
}

void UploadsModel::refreshStatus() {
  if (!controller_) return;
  update(status_, std::optional(controller_->snapshot()));
  if (!isFolderUnusable_) showProblem(controller_->store()->problem());
}

// Notifies the presenter, who may be looking at something else while photos are rejected. Uploads
// stay open, so that they are accepted as soon as the folder is back.
void UploadsModel::showProblem(const std::optional<std::string>& reason) {
  const auto error = reason ? std::optional(folderError(*reason)) : std::nullopt;
  if (error == error_) return;
  update(error_, error);
  if (error) dependencies_.desktop.notify("Tarvinel", *error);
}

namespace {

std::string counted(std::int64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string sizeText(std::int64_t bytes) {
  const double megabytes = static_cast<double>(bytes) / 1'000'000;
  return megabytes < 1000 ? fmt::format("{:.0f} MB", megabytes)
                          : fmt::format("{:.1f} GB", megabytes / 1000);
}

}  // namespace

std::optional<std::string> UploadLines::statusLine(const UploadStatus& status) {
  if (!status.enabled && status.files == 0) return std::nullopt;
  return fmt::format("Uploads: {}, {}, {}", counted(status.files, "file"), sizeText(status.bytes),
                     counted(status.participants, "participant"));
}

std::optional<std::string> UploadLines::lastLine(const UploadStatus& status) {
  if (!status.lastParticipant) return std::nullopt;
  return fmt::format("Last: {} ({})", *status.lastParticipant,
                     counted(status.lastParticipantFiles, "file"));
}

}  // namespace tarvinel

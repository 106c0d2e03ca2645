#include "core/uploads/UploadStore.h"

#include "core/support/FatalError.h"
#include "core/support/Result.h"
#include "core/uploads/PartialFile.h"
#include "core/uploads/UploadFolderScan.h"
#include "core/uploads/UploadNaming.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

/// Makes the folder and those above it that are missing.
void makeDirectories(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) return;
  if (path.has_parent_path()) makeDirectories(path.parent_path());
  std::filesystem::create_directory(path);
  Directory::open(std::filesystem::canonical(path.parent_path())).sync();
}

/// Makes the folder and returns its path without symbolic links.
std::filesystem::path preparedRoot(const std::filesystem::path& root) {
  try {
    makeDirectories(std::filesystem::absolute(root).lexically_normal());
    return std::filesystem::canonical(root);
  } catch (const std::system_error&) {
    throw UploadStoreError::rootUnavailable(root);
  }
}

/// A file is placed by its name, so the name must still refer to what was uploaded.
void requireInPlace(const PartialFile& file, const UploadStore::Reservation& reservation) {
  if (file.hasName(reservation.partialName())) return;
  throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory),
                          reservation.partialPath().string() + " was removed or replaced");
}

void add(std::int64_t& sum, std::int64_t amount) {
  if (__builtin_add_overflow(sum, amount, &sum)) fatalError("upload counts beyond 64 bits");
}

}  // namespace

std::string UploadStore::Reservation::partialName() const {
  return UploadNaming::partialName(finalName);
}

UploadStore::UploadStore(const std::filesystem::path& root, bool perParticipant, Logger logger)
    : root_(preparedRoot(root)), perParticipant_(perParticipant), logger_(std::move(logger)) {
  const Directory directory = openRoot();
  const auto status = directory.find(".");
  if (!status || !directory.isWritable()) throw UploadStoreError::rootUnavailable(root);
  identity_ = {status->st_dev, status->st_ino};
  removeLeftOvers(directory, perParticipant_);
  UploadFolderCount found = countUploads(directory, perParticipant_);
  stats_.files = found.files;
  stats_.bytes = found.bytes;
  stats_.participants = static_cast<std::int64_t>(found.perParticipant.size());
  participantFileCounts_ = std::move(found.perParticipant);
}

bool UploadStore::isContinuedBy(const UploadStore& later) const {
  return root_ == later.root_ && perParticipant_ == later.perParticipant_ &&
         identity_ == later.identity_;
}

// The folder is opened again for each upload, so that none is held open while nothing arrives: a
// removable disk can be taken out. Opening fails if a link in its path leads elsewhere.
Directory UploadStore::openRoot() {
  try {
    return Directory::open(root_);
  } catch (const std::system_error&) {
    const auto error = UploadStoreError::rootUnavailable(root_);
    noteProblem(error.what());
    throw error;
  }
}

// Logs a problem once, however many participants encounter it.
void UploadStore::noteProblem(const std::optional<std::string>& problem) {
  {
    const std::scoped_lock lock(statsMutex_);
    if (problem == problem_) return;
    problem_ = problem;
  }
  if (problem) {
    logger_->error("upload store at {} failed: {}", root_.string(), *problem);
  } else {
    logger_->info("upload store at {} can be used again", root_.string());
  }
}

void UploadStore::removeLeftOversOfOtherDays() {
  const auto directory = resultOf([this] { return openRoot(); });
  if (directory.ok()) tarvinel::removeLeftOversOfOtherDays(directory.value());
}

UploadStore::Reservation UploadStore::reserve(const std::string& participant,
                                              const std::string& filename, int firstAttempt) {
  const std::scoped_lock lock(namesMutex_);
  const auto directory = std::make_shared<const Directory>(directoryOf(participant));
  const std::string baseName =
      perParticipant_ ? filename : UploadNaming::flatName(participant, filename);
  for (int attempt = firstAttempt; attempt <= UploadNaming::maxAttempts; ++attempt) {
    std::string name = UploadNaming::collisionName(baseName, attempt);
    requireInsideRoot(directory->path(), name);
    if (!isFree(*directory, name)) continue;
    reservedPaths_.insert(directory->path() / name);
    return {participant, directory, baseName, std::move(name), attempt};
  }
  throw UploadStoreError::collisionExhausted(baseName);
}

Directory UploadStore::directoryOf(const std::string& participant) {
  Directory root = openRoot();
  if (!perParticipant_) return root;
  requireInsideRoot(root_, participant);
  try {
    return root.madeSubdirectory(participant);
  } catch (const std::system_error&) {
    throw UploadStoreError::rootUnavailable(root_ / participant);
  }
}

// Names from UploadNaming cannot lead out of the folder; this is a second line of defence.
void UploadStore::requireInsideRoot(const std::filesystem::path& directory,
                                    const std::string& name) const {
  const std::filesystem::path path = directory / name;
  const std::string prefix = (root_ / "").string();
  const bool inside = path.string().starts_with(prefix) && path.lexically_normal() == path &&
                      path.parent_path() == directory;
  if (!inside) throw UploadStoreError::pathEscapesRoot(path);
}

bool UploadStore::isFree(const Directory& directory, const std::string& name) const {
  return !reservedPaths_.contains(directory.path() / name) && !directory.find(name);
}

std::filesystem::path UploadStore::commit(const Reservation& reservation, const PartialFile& file,
                                          std::int64_t bytes) {
  const std::string name = place(reservation, file);
  try {
    reservation.directory->sync();
  } catch (const std::system_error&) {
    // the participant sees a failure and sends it again; a file that cannot be removed counts
    if (!file.removeName(name)) recordCommit(reservation.participant, bytes);
    throw;
  }
  recordCommit(reservation.participant, bytes);
  logger_->info("committed {} ({} bytes) for {}", name, bytes, reservation.participant);
  return reservation.directory->path() / name;
}

std::string UploadStore::place(const Reservation& reservation, const PartialFile& file) {
  const std::scoped_lock lock(namesMutex_);
  reservedPaths_.erase(reservation.finalPath());
  for (int attempt = reservation.attempt; attempt <= UploadNaming::maxAttempts; ++attempt) {
    std::string name = UploadNaming::collisionName(reservation.baseName, attempt);
    requireInsideRoot(reservation.directory->path(), name);
    requireInPlace(file, reservation);
    const auto outcome = Placement::place(*reservation.directory, reservation.partialName(), name);
    if (outcome == Placement::Outcome::placed) return name;
  }
  throw UploadStoreError::collisionExhausted(reservation.baseName);
}

void UploadStore::abort(const Reservation& reservation, const PartialFile& file) noexcept {
  file.removeName(reservation.partialName());
  release(reservation);
  logger_->info("aborted {} for {}", reservation.finalName, reservation.participant);
}

void UploadStore::release(const Reservation& reservation) {
  const std::scoped_lock lock(namesMutex_);
  reservedPaths_.erase(reservation.finalPath());
}

std::optional<std::int64_t> UploadStore::freeSpace() {
  try {
    const std::int64_t bytes = openRoot().freeBytes();
    noteProblem({});
    return bytes;
  } catch (const UploadStoreError&) {  // already recorded
  } catch (const std::system_error& error) {
    noteProblem(error.what());
  }
  return std::nullopt;
}

void UploadStore::recordCommit(const std::string& participant, std::int64_t bytes) {
  const std::scoped_lock lock(statsMutex_);
  std::int64_t& files = participantFileCounts_[participant];
  if (files == 0) add(stats_.participants, 1);
  add(files, 1);
  add(stats_.files, 1);
  add(stats_.bytes, bytes);
  stats_.lastParticipant = participant;
  stats_.lastParticipantFiles = files;
}

UploadStore::Stats UploadStore::stats() const {
  const std::scoped_lock lock(statsMutex_);
  return stats_;
}

std::optional<std::string> UploadStore::problem() const {
  const std::scoped_lock lock(statsMutex_);
  return problem_;
}

UploadStoreError UploadStoreError::pathEscapesRoot(const std::filesystem::path& path) {
  return {Case::pathEscapesRoot,
          fmt::format(R"(resolved path "{}" is outside the upload root)", path.string())};
}

UploadStoreError UploadStoreError::collisionExhausted(const std::string& name) {
  return {Case::collisionExhausted,
          fmt::format(R"(could not find a free name for "{}" after {} attempts)", name,
                      UploadNaming::maxAttempts)};
}

UploadStoreError UploadStoreError::rootUnavailable(const std::filesystem::path& path) {
  return {Case::rootUnavailable,
          fmt::format(R"(could not create or use upload root "{}")", path.string())};
}

std::shared_ptr<UploadStore> UploadStores::open(const std::filesystem::path& root,
                                                bool perParticipant) {
  std::error_code unreachable;
  const bool wasThere = std::filesystem::is_directory(root, unreachable);
  auto opened = std::make_shared<UploadStore>(root, perParticipant, logger_);
  if (auto known = wasThere ? storeBefore(*opened) : nullptr) {
    known->freeSpace();  // records that a former problem is over
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

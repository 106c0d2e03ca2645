#include "core/uploads/PartialFile.h"
#include "core/uploads/UploadNaming.h"
#include "core/uploads/UploadStore.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;
using test::whileCallsFail;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Refusal {
  UploadStoreError::Case which;
  std::string text;
};

std::optional<Refusal> refusalOf(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const UploadStoreError& error) {
    return Refusal{error.kind(), error.what()};
  }
  return std::nullopt;
}

class UploadStoreTest : public testing::Test {
 protected:
  UploadStore& open(bool perParticipant = false) {
    store = std::make_unique<UploadStore>(root, perParticipant, log.category("upload"));
    return *store;
  }

  /// Does what a sink does: the file stays locked until the returned object is destroyed.
  static PartialFile written(const UploadStore::Reservation& reservation,
                             std::string_view content = "photo") {
    auto file = PartialFile::create(reservation.directory, reservation.partialName()).value();
    file.append({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    file.finish();
    return file;
  }

  std::string uploaded(const std::string& participant, const std::string& file,
                       std::string_view content = "photo") {
    const auto reservation = store->reserve(participant, file);
    const PartialFile partial = written(reservation, content);
    return store->commit(reservation, partial, static_cast<std::int64_t>(content.size()))
        .filename();
  }

  TemporaryFolder folder;
  std::filesystem::path root = folder / "uploads";
  CapturedLog log;
  std::unique_ptr<UploadStore> store;
};

// Opening

TEST_F(UploadStoreTest, MakesItsFolderAndThoseAbove) {
  root = folder / "a/b/c";
  open();
  EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
  EXPECT_EQ(store->stats(), UploadStore::Stats{});
}

TEST_F(UploadStoreTest, AFolderThatCannotBeMadeIsNamed) {
  folder.write("file", "");
  root = folder / "file/uploads";
  const auto refusal = refusalOf([&] { open(); });
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->which, UploadStoreError::Case::rootUnavailable);
  EXPECT_EQ(refusal->text, "could not create or use upload root \"" + root.string() + "\"");
}

TEST_F(UploadStoreTest, AFileInPlaceOfTheFolderIsRefused) {
  folder.write("uploads", "");
  EXPECT_TRUE(refusalOf([&] { open(); }));
}

TEST_F(UploadStoreTest, CountsTheVisibleFilesOfAFlatFolder) {
  folder.write("uploads/a.jpg", "123");
  folder.write("uploads/b.jpg", "4567");
  folder.write("uploads/notes.txt", "8");
  folder.write("uploads/.Sam-c.jpg.partial", "half");
  folder.write("uploads/folder/d.jpg", "not counted");
  EXPECT_EQ(open().stats(), (UploadStore::Stats{3, 8, 0, std::nullopt, 0}));
}

TEST_F(UploadStoreTest, CountsTheFilesOfEachParticipant) {
  folder.write("uploads/Sam/a.jpg", "123");
  folder.write("uploads/Sam/b.jpg", "4567");
  folder.write("uploads/Sam/.c.jpg.partial", "half");
  folder.write("uploads/Sam/deeper/d.jpg", "not counted");
  folder.write("uploads/loose.jpg", "not counted");
  folder.write("uploads/.hidden/e.jpg", "not counted");
  std::filesystem::create_directories(root / "Alex");
  EXPECT_EQ(open(true).stats(), (UploadStore::Stats{2, 7, 1, std::nullopt, 0}));
  uploaded("Sam", "e.jpg");
  EXPECT_EQ(store->stats(), (UploadStore::Stats{3, 12, 1, "Sam", 3}));
}

TEST_F(UploadStoreTest, RemovesTheLeftOversOfACrashAndNothingElse) {
  folder.write("uploads/.Sam-c.jpg.partial", "half");
  folder.write("uploads/.Sam-c-2.jpg.partial", "half");
  folder.write("uploads/.notes.partial", "not ours");
  folder.write("uploads/.a,b.jpg.partial", "not ours");
  folder.write("uploads/Sam-a.jpg.partial", "visible");
  folder.write("uploads/.Sam-a.jpg", "hidden");
  folder.write("uploads/Sam/.d.jpg.partial", "in a folder that is not ours");
  std::filesystem::create_directory(root / ".e.jpg.partial");
  folder.write("outside.jpg", "outside");
  std::filesystem::create_symlink(folder / "outside.jpg", root / ".f.jpg.partial");
  open();
  EXPECT_THAT(folder.files(),
              ElementsAre("outside.jpg", "uploads/.Sam-a.jpg", "uploads/.a,b.jpg.partial",
                          "uploads/.f.jpg.partial", "uploads/.notes.partial",
                          "uploads/Sam-a.jpg.partial", "uploads/Sam/.d.jpg.partial"));
  EXPECT_TRUE(std::filesystem::is_directory(root / ".e.jpg.partial"));
}

TEST_F(UploadStoreTest, RemovesTheLeftOversOfEveryParticipant) {
  folder.write("uploads/Sam/.c.jpg.partial", "half");
  folder.write("uploads/Alex/.c.jpg.partial", "half");
  folder.write("uploads/.Sam-c.jpg.partial", "half");
  open(true);
  EXPECT_THAT(folder.files(), IsEmpty());
}

TEST_F(UploadStoreTest, RemovesTheLeftOversOfOtherDays) {
  const std::string days = "Tarvinel Uploads/";
  folder.write(days + "2026-11-13/.Sam-a.jpg.partial", "half");
  folder.write(days + "2026-11-13/Sam-a.jpg", "whole");
  folder.write(days + "2026-11-14/Sam/.a.jpg.partial", "half");
  folder.write(days + "2026-11-16/.Sam-a.jpg.partial", "half: the clock was wrong");
  folder.write(days + "2026-11-16b/.Sam-a.jpg.partial", "no day");
  folder.write(days + ".Sam-a.jpg.partial", "above the days");
  root = folder / (days + "2026-11-12");
  UploadStore other(root, false, log.category("upload"));
  const auto reservation = other.reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  root = folder / (days + "2026-11-15");
  open().removeLeftOversOfOtherDays();
  EXPECT_THAT(folder.files(),
              ElementsAre(days + ".Sam-a.jpg.partial", days + "2026-11-12/.Sam-a.jpg.partial",
                          days + "2026-11-13/Sam-a.jpg", days + "2026-11-16b/.Sam-a.jpg.partial"));
}

TEST_F(UploadStoreTest, FoldersBesideOneThatThePresenterChoseAreNotSearched) {
  folder.write("weddings/2026-11-14/.Sam-a.jpg.partial", "of another program");
  folder.write("Tarvinel Uploads/2026-11-14/.Sam-a.jpg.partial", "beside no day");
  for (const char* chosen : {"weddings/2026-11-15", "Tarvinel Uploads/wedding"}) {
    root = folder / chosen;
    open().removeLeftOversOfOtherDays();
  }
  EXPECT_THAT(folder.files(), ElementsAre("Tarvinel Uploads/2026-11-14/.Sam-a.jpg.partial",
                                          "weddings/2026-11-14/.Sam-a.jpg.partial"));
}

TEST_F(UploadStoreTest, AFileThatIsBeingWrittenIsNoLeftOver) {
  const auto reservation = open().reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  UploadStore second(root, false, log.category("upload"));
  EXPECT_EQ(store->commit(reservation, held, 5), root / "Sam-a.jpg");
}

// Reserving

TEST_F(UploadStoreTest, ReservedNamesAreNotGivenTwice) {
  open();
  const auto first = store->reserve("Sam", "DSC_1234.NEF");
  EXPECT_EQ(first.finalPath(), root / "Sam-DSC_1234.NEF");
  EXPECT_EQ(first.partialPath(), root / ".Sam-DSC_1234.NEF.partial");
  EXPECT_EQ(first.directory->path(), root);
  EXPECT_EQ(first.baseName, "Sam-DSC_1234.NEF");
  EXPECT_EQ(first.participant, "Sam");
  EXPECT_EQ(first.attempt, 1);
  const auto second = store->reserve("Sam", "DSC_1234.NEF");
  EXPECT_EQ(second.finalPath(), root / "Sam-DSC_1234-2.NEF");
  EXPECT_EQ(second.attempt, 2);
}

TEST_F(UploadStoreTest, AReleasedNameIsFreeAgain) {
  open();
  const auto first = store->reserve("Sam", "DSC_1234.NEF");
  const auto second = store->reserve("Sam", "DSC_1234.NEF");
  store->commit(first, written(first), 5);
  store->abort(second, written(second));
  EXPECT_EQ(store->reserve("Sam", "DSC_1234.NEF").finalName, "Sam-DSC_1234-2.NEF");
}

TEST_F(UploadStoreTest, EachParticipantCanHaveAFolder) {
  open(true);
  EXPECT_EQ(store->reserve("Sam", "a.jpg").finalPath(), root / "Sam/a.jpg");
  EXPECT_EQ(store->reserve("Sam", "a.jpg").finalPath(), root / "Sam/a-2.jpg");
  EXPECT_EQ(store->reserve("Alex", "a.jpg").finalPath(), root / "Alex/a.jpg");
  EXPECT_TRUE(std::filesystem::is_directory(root / "Sam"));
}

TEST_F(UploadStoreTest, With100NamesTakenThereIsNoMore) {
  open();
  for (int attempt = 1; attempt <= 100; ++attempt) {
    folder.write("uploads/" + UploadNaming::collisionName("Sam-DSC_1234.NEF", attempt), "");
  }
  const auto refusal = refusalOf([&] { store->reserve("Sam", "DSC_1234.NEF"); });
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->which, UploadStoreError::Case::collisionExhausted);
  EXPECT_EQ(refusal->text,
            "could not find a free name for \"Sam-DSC_1234.NEF\" after 100 attempts");
  std::filesystem::remove(root / "Sam-DSC_1234-100.NEF");
  EXPECT_EQ(store->reserve("Sam", "DSC_1234.NEF").attempt, 100);
}

TEST_F(UploadStoreTest, AnythingUnderTheNameMakesItTaken) {
  open();
  std::filesystem::create_directory(root / "Sam-a.jpg");
  std::filesystem::create_symlink("nowhere", root / "Sam-a-2.jpg");
  EXPECT_EQ(store->reserve("Sam", "a.jpg").finalName, "Sam-a-3.jpg");
}

TEST_F(UploadStoreTest, ALeftOverOfACrashDoesNotMakeItTaken) {
  open();
  folder.write("uploads/.Sam-a.jpg.partial", "half of an earlier upload");
  EXPECT_EQ(uploaded("Sam", "a.jpg"), "Sam-a.jpg");
  EXPECT_EQ(folder.read("uploads/Sam-a.jpg"), "photo");
}

TEST_F(UploadStoreTest, NamesBeforeTheFirstToTryAreLeftOut) {
  open();
  EXPECT_EQ(store->reserve("Sam", "a.jpg", 3).finalName, "Sam-a-3.jpg");
  EXPECT_EQ(refusalOf([&] { store->reserve("Sam", "a.jpg", 101); })->which,
            UploadStoreError::Case::collisionExhausted);
}

// Another program with the same folder

TEST_F(UploadStoreTest, AFileThatAnotherProgramMadeUnderTheReservedNameIsLeftToIt) {
  open();
  UploadStore other(root, false, log.category("upload"));
  const auto ours = store->reserve("Sam", "a.jpg");
  const auto theirs = other.reserve("Sam", "a.jpg");
  ASSERT_EQ(ours.finalName, theirs.finalName);
  const PartialFile held = written(theirs, "theirs");
  EXPECT_FALSE(PartialFile::create(ours.directory, ours.partialName()));
  store->release(ours);
  other.commit(theirs, held, 6);
  EXPECT_EQ(folder.read("uploads/Sam-a.jpg"), "theirs");
  EXPECT_EQ(store->reserve("Sam", "a.jpg").finalName, "Sam-a-2.jpg");
}

TEST_F(UploadStoreTest, APartialFileThatWasReplacedIsNeitherPlacedNorRemoved) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  const PartialFile ours = written(reservation, "ours");
  std::filesystem::remove(reservation.partialPath());
  const PartialFile theirs = written(reservation, "theirs");
  EXPECT_THROW(store->commit(reservation, ours, 4), std::system_error);
  store->abort(reservation, ours);
  EXPECT_THAT(folder.files(), ElementsAre("uploads/.Sam-a.jpg.partial"));
  EXPECT_EQ(folder.read("uploads/.Sam-a.jpg.partial"), "theirs");
  EXPECT_EQ(store->stats(), UploadStore::Stats{});
}

TEST_F(UploadStoreTest, NamesThatLeadOutAreRefused) {
  open(true);
  for (const char* participant : {"..", ".", "../outside", "/etc"}) {
    const auto refusal = refusalOf([&] { store->reserve(participant, "a.jpg"); });
    ASSERT_TRUE(refusal) << participant;
    EXPECT_EQ(refusal->which, UploadStoreError::Case::pathEscapesRoot);
  }
  const auto refusal = refusalOf([&] { store->reserve("Sam", "../a.jpg"); });
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->text, "resolved path \"" + (root / "Sam/../a.jpg").string() +
                               "\" is outside the upload root");
}

TEST_F(UploadStoreTest, AFolderThatIsALinkIsNotWrittenInto) {
  open(true);
  std::filesystem::create_directory(folder / "outside");
  std::filesystem::create_directory_symlink(folder / "outside", root / "Sam");
  const auto refusal = refusalOf([&] { store->reserve("Sam", "a.jpg"); });
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->which, UploadStoreError::Case::rootUnavailable);
  EXPECT_EQ(refusal->text,
            "could not create or use upload root \"" + (root / "Sam").string() + "\"");
}

TEST_F(UploadStoreTest, ARootThatIsALinkIsUsedWhereItLedWhenItWasOpened) {
  std::filesystem::create_directory(folder / "disk");
  std::filesystem::create_directory_symlink(folder / "disk", root);
  open();
  std::filesystem::remove(root);
  EXPECT_EQ(uploaded("Sam", "a.jpg"), "Sam-a.jpg");
  EXPECT_THAT(folder.files(), ElementsAre("disk/Sam-a.jpg"));
}

TEST_F(UploadStoreTest, ARemovedRootIsUnavailable) {
  open();
  std::filesystem::remove(root);
  EXPECT_EQ(refusalOf([&] { store->reserve("Sam", "a.jpg"); })->which,
            UploadStoreError::Case::rootUnavailable);
  EXPECT_EQ(store->freeSpace(), std::nullopt);
}

TEST_F(UploadStoreTest, AProblemWithTheFolderIsNotedOnceUntilItIsOver) {
  open();
  EXPECT_NE(store->freeSpace(), std::nullopt);
  EXPECT_EQ(store->problem(), std::nullopt);
  std::filesystem::rename(root, folder / "elsewhere");
  EXPECT_EQ(store->freeSpace(), std::nullopt);
  EXPECT_EQ(store->freeSpace(), std::nullopt);
  const std::string problem = "could not create or use upload root \"" + root.string() + "\"";
  EXPECT_EQ(store->problem(), problem);
  std::filesystem::rename(folder / "elsewhere", root);
  EXPECT_NE(store->freeSpace(), std::nullopt);
  EXPECT_EQ(store->problem(), std::nullopt);
  EXPECT_THAT(log.lines(),
              ElementsAre("upload|error|upload store at " + root.string() + " failed: " + problem,
                          "upload|info|upload store at " + root.string() + " can be used again"));
}

TEST_F(UploadStoreTest, ADiskThatDoesNotTellItsFreeSpaceIsAProblem) {
  open();
  whileCallsFail({SYS_fstatfs}, EIO, [&] {
    EXPECT_EQ(store->freeSpace(), std::nullopt);
    EXPECT_EQ(store->freeSpace(), std::nullopt);
  });
  EXPECT_THAT(store->problem().value(), HasSubstr("Input/output error"));
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(UploadStoreTest, ARootReplacedByALinkDuringAnUploadLeadsNothingElsewhere) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  std::filesystem::create_directory(folder / "outside");
  std::filesystem::rename(root, folder / "moved");
  std::filesystem::create_directory_symlink(folder / "outside", root);
  {
    const PartialFile held = written(reservation);
    store->commit(reservation, held, 5);
  }
  EXPECT_EQ(refusalOf([&] { store->reserve("Sam", "b.jpg"); })->which,
            UploadStoreError::Case::rootUnavailable);
  EXPECT_THAT(folder.files(), ElementsAre("moved/Sam-a.jpg"));
}

// Committing

TEST_F(UploadStoreTest, ACommittedFileIsVisibleCompleteAndOrdinary) {
  open();
  EXPECT_EQ(uploaded("Sam", "a.jpg", "all of it"), "Sam-a.jpg");
  EXPECT_THAT(folder.files(), ElementsAre("uploads/Sam-a.jpg"));
  EXPECT_EQ(folder.read("uploads/Sam-a.jpg"), "all of it");
  const mode_t mask = umask(0);
  umask(mask);
  struct stat status{};
  ASSERT_EQ(stat((root / "Sam-a.jpg").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0666U & ~mask);
  EXPECT_THAT(log.lines(), Contains("upload|info|committed Sam-a.jpg (9 bytes) for Sam"));
}

TEST_F(UploadStoreTest, AFilePutThereMeanwhileIsNotOverwritten) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  folder.write("uploads/Sam-a.jpg", "by hand");
  folder.write("uploads/Sam-a-2.jpg", "by hand");
  EXPECT_EQ(store->commit(reservation, held, 5), root / "Sam-a-3.jpg");
  EXPECT_EQ(folder.read("uploads/Sam-a.jpg"), "by hand");
  EXPECT_EQ(folder.read("uploads/Sam-a-2.jpg"), "by hand");
  EXPECT_EQ(folder.read("uploads/Sam-a-3.jpg"), "photo");
}

TEST_F(UploadStoreTest, With100FilesPutThereMeanwhileTheCommitFailsAndCountsNothing) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  for (int attempt = 1; attempt <= 100; ++attempt) {
    folder.write("uploads/" + UploadNaming::collisionName("Sam-a.jpg", attempt), "");
  }
  EXPECT_EQ(refusalOf([&] { store->commit(reservation, held, 5); })->which,
            UploadStoreError::Case::collisionExhausted);
  EXPECT_EQ(store->stats(), UploadStore::Stats{});
  EXPECT_TRUE(std::filesystem::exists(reservation.partialPath()));
  store->abort(reservation, held);
  EXPECT_FALSE(std::filesystem::exists(reservation.partialPath()));
  EXPECT_THAT(log.lines(), Contains("upload|info|aborted Sam-a.jpg for Sam"));
}

TEST_F(UploadStoreTest, AFailedCommitGivesTheNameBackAndPassesTheErrorOn) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  std::filesystem::remove(reservation.partialPath());
  try {
    store->commit(reservation, held, 5);
    FAIL();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
  }
  EXPECT_EQ(store->stats(), UploadStore::Stats{});
  EXPECT_EQ(store->reserve("Sam", "a.jpg").attempt, 1);
}

TEST_F(UploadStoreTest, AFileWhoseNameMightNotSurviveAPowerCutIsTakenBack) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  whileCallsFail({SYS_fsync}, EIO,
                 [&] { EXPECT_THROW(store->commit(reservation, held, 5), std::system_error); });
  EXPECT_THAT(folder.files(), IsEmpty());
  EXPECT_EQ(store->stats(), UploadStore::Stats{});
  EXPECT_EQ(uploaded("Sam", "a.jpg"), "Sam-a.jpg");
}

TEST_F(UploadStoreTest, IfItCannotBeTakenBackItCounts) {
  open();
  const auto reservation = store->reserve("Sam", "a.jpg");
  const PartialFile held = written(reservation);
  whileCallsFail({SYS_fsync, SYS_unlinkat}, EIO,
                 [&] { EXPECT_THROW(store->commit(reservation, held, 5), std::system_error); });
  store->abort(reservation, held);
  EXPECT_THAT(folder.files(), ElementsAre("uploads/Sam-a.jpg"));
  EXPECT_EQ(store->stats(), (UploadStore::Stats{1, 5, 1, "Sam", 1}));
}

TEST_F(UploadStoreTest, CountsWhoSentWhat) {
  open();
  uploaded("Sam", "a.jpg", "123");
  uploaded("Sam", "b.jpg", "4567");
  EXPECT_EQ(store->stats(), (UploadStore::Stats{2, 7, 1, "Sam", 2}));
  uploaded("Alex", "a.jpg", "8");
  EXPECT_EQ(store->stats(), (UploadStore::Stats{3, 8, 2, "Alex", 1}));
}

TEST_F(UploadStoreTest, ManyAtOnceGetNamesOfTheirOwn) {
  open();
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([this] {
      for (int j = 0; j < 10; ++j)
        uploaded("Sam", "a.jpg");
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(folder.files().size(), 80U);
  EXPECT_EQ(store->stats(), (UploadStore::Stats{80, 400, 1, "Sam", 80}));
}

TEST_F(UploadStoreTest, TellsTheFreeSpace) {
  open();
  constexpr double gigabyte = 1e9;  // other programs write to this disk as well
  EXPECT_NEAR(static_cast<double>(store->freeSpace().value()),
              static_cast<double>(std::filesystem::space(root).available), 10 * gigabyte);
}

}  // namespace
}  // namespace tarvinel

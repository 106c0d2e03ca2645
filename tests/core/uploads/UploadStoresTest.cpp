#include "core/uploads/PartialFile.h"
#include "core/uploads/UploadStore.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;

class UploadStoresTest : public testing::Test {
 protected:
  std::shared_ptr<UploadStore> open(bool perParticipant = false) {
    return stores.open(root, perParticipant);
  }

  static PartialFile fileOf(const UploadStore::Reservation& reservation) {
    return PartialFile::create(reservation.directory, reservation.partialName()).value();
  }

  static void upload(UploadStore& store, const std::string& participant) {
    const auto reservation = store.reserve(participant, "a.jpg");
    store.commit(reservation, fileOf(reservation), 5);
  }

  TemporaryFolder folder;
  std::filesystem::path root = folder / "uploads";
  CapturedLog log;
  UploadStores stores{log.category("upload")};
};

TEST_F(UploadStoresTest, TheSameFolderAgainKeepsItsCountsAndParticipants) {
  upload(*open(), "Sam");
  upload(*open(), "Alex");
  EXPECT_EQ(open()->stats(), (UploadStore::Stats{2, 10, 2, "Alex", 1}));
}

TEST_F(UploadStoresTest, AnUploadUnderWayIsCountedWhenItEnds) {
  const auto before = open();
  const auto reservation = before->reserve("Sam", "a.jpg");
  const PartialFile file = fileOf(reservation);
  const auto after = open();
  before->commit(reservation, file, 5);
  EXPECT_EQ(after->stats(), (UploadStore::Stats{1, 5, 1, "Sam", 1}));
}

TEST_F(UploadStoresTest, ItIsTheSameFolderByWhateverPathAndAfterAnother) {
  const auto first = open();
  root = folder / "elsewhere";
  EXPECT_NE(open(), first);
  std::filesystem::create_directory_symlink(folder / "uploads", folder / "link");
  for (const char* path : {"uploads", "link", "elsewhere/../uploads/"}) {
    root = folder / path;
    EXPECT_EQ(open(), first) << path;
  }
}

TEST_F(UploadStoresTest, AFolderForEachParticipantCountsForItself) {
  upload(*open(), "Sam");
  EXPECT_EQ(open(true)->stats(), UploadStore::Stats{});
  upload(*open(true), "Alex");
  EXPECT_EQ(open(true)->stats(), (UploadStore::Stats{1, 5, 1, "Alex", 1}));
  EXPECT_EQ(open()->stats(), (UploadStore::Stats{1, 5, 1, "Sam", 1}));
}

TEST_F(UploadStoresTest, AFolderThatIsMadeAnewBeginsAnew) {
  upload(*open(), "Sam");
  for (int i = 0; i < 2; ++i) {
    std::filesystem::remove_all(root);
    EXPECT_EQ(open()->stats(), UploadStore::Stats{});
    upload(*open(), "Alex");
    EXPECT_EQ(open()->stats(), (UploadStore::Stats{1, 5, 1, "Alex", 1}));
  }
}

TEST_F(UploadStoresTest, AnotherFolderInItsPlaceIsCounted) {
  upload(*open(), "Sam");
  std::filesystem::rename(root, folder / "moved");
  folder.write("uploads/b.jpg", "123");
  EXPECT_EQ(open()->stats(), (UploadStore::Stats{1, 3, 0, std::nullopt, 0}));
}

TEST_F(UploadStoresTest, AFolderThatIsBackIsAProblemNoLonger) {
  const auto store = open();
  std::filesystem::rename(root, folder / "elsewhere");
  store->freeSpace();
  EXPECT_NE(store->problem(), std::nullopt);
  std::filesystem::rename(folder / "elsewhere", root);
  EXPECT_EQ(open(), store);
  EXPECT_EQ(store->problem(), std::nullopt);
}

}  // namespace
}  // namespace tarvinel

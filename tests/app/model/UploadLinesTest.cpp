#include "app/model/UploadsModel.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

std::optional<std::string> lineFor(std::int64_t files, std::int64_t bytes,
                                   std::int64_t participants, bool enabled = true) {
  return UploadLines::statusLine({enabled, files, bytes, participants, std::nullopt, 0});
}

TEST(UploadLines, CountsFilesBytesAndParticipants) {
  EXPECT_EQ(lineFor(14, 230'000'000, 5), "Uploads: 14 files, 230 MB, 5 participants");
  EXPECT_EQ(lineFor(1, 1'500'000'000, 1), "Uploads: 1 file, 1.5 GB, 1 participant");
  EXPECT_EQ(lineFor(0, 0, 0), "Uploads: 0 files, 0 MB, 0 participants");
}

TEST(UploadLines, ChangesFromMegabytesToGigabytesAtAThousand) {
  EXPECT_EQ(lineFor(2, 999'999'999, 2), "Uploads: 2 files, 1000 MB, 2 participants");
  EXPECT_EQ(lineFor(2, 1'000'000'000, 2), "Uploads: 2 files, 1.0 GB, 2 participants");
}

TEST(UploadLines, WhileClosedThereIsALineOnlyForFilesThatArrived) {
  EXPECT_EQ(lineFor(0, 0, 0, false), std::nullopt);
  EXPECT_EQ(lineFor(1, 0, 1, false), "Uploads: 1 file, 0 MB, 1 participant");
}

TEST(UploadLines, NamesWhoSentLast) {
  EXPECT_EQ(UploadLines::lastLine({true, 3, 0, 1, "Sam", 3}), "Last: Sam (3 files)");
  EXPECT_EQ(UploadLines::lastLine({true, 3, 0, 1, "Sam", 1}), "Last: Sam (1 file)");
  EXPECT_EQ(UploadLines::lastLine({}), std::nullopt);
}

}  // namespace
}  // namespace tarvinel

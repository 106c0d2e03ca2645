#include "app/doctor/FileChecks.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Folder = UploadProbe::Folder;

UploadProbe metadataOf(const std::filesystem::path& folder) {
  CommandLineOptions options;
  options.uploadFolder = folder;
  return UploadProbe::of(options);
}

const std::vector<std::string> choose{
    "Choose another folder in the menu, or with --upload-folder."};

TEST(UploadCheck, WherePhotosGo) {
  EXPECT_EQ(judge(UploadProbe{"/p", Folder::usable, 12'340'000'000}),
            (Findings{{fine, "Photos go to /p, 12.3 GB free.", {}}}));
  EXPECT_EQ(judge(UploadProbe{"/p", Folder::willBeMade, {}}),
            (Findings{{fine, "Photos go to /p, which will be made.", {}}}));
}

TEST(UploadCheck, AFolderThatCannotBeUsed) {
  EXPECT_EQ(judge(UploadProbe{"/p", Folder::isNoFolder, {}}),
            (Findings{{needsAttention, "Photos cannot go to /p: that is no folder.", choose}}));
  EXPECT_EQ(judge(UploadProbe{"/p", Folder::notWritable, {}}),
            (Findings{{needsAttention, "Photos cannot go to /p: this user may not write there.",
                       choose}}));
}

TEST(UploadCheck, ADiskThatIsTooFull) {
  constexpr std::int64_t keptFree = std::int64_t{1} << 30U;
  EXPECT_EQ(judge(UploadProbe{"/p", Folder::usable, keptFree}),
            (Findings{{needsAttention,
                       "The disk of /p is too full for photos: 1.1 GB stay free.",
                       {"Make room on it, or choose another folder in the menu or with "
                        "--upload-folder."}}}));
  EXPECT_EQ(judge(UploadProbe{"/p", Folder::usable, keptFree + 1}).front().state, fine);
}

TEST(UploadCheck, ADiskThatDoesNotAnswer) {
  EXPECT_EQ(hangingDisk(),
            (Finding{needsAttention,
                     "The disk of the upload folder does not answer.",
                     {"Look at its connection, or choose another folder with --upload-folder."}}));
}

TEST(UploadProbe, OfRealFoldersWithoutMakingAny) {
  const test::TemporaryFolder folder;
  folder.write("file", "");
  const auto stateOf = [&folder](std::string_view name) {
    return metadataOf(folder / name).folder;
  };
  EXPECT_EQ(stateOf("new/folder"), Folder::willBeMade);
  EXPECT_EQ(stateOf("file"), Folder::isNoFolder);
  EXPECT_EQ(stateOf("file/below"), Folder::isNoFolder);
  EXPECT_EQ(metadataOf(folder.path()).folder, Folder::usable);
  EXPECT_EQ(folder.files(), std::vector<std::string>{"file"});
  EXPECT_EQ(metadataOf("/proc/self").folder, Folder::notWritable);
}

TEST(UploadProbe, TellTheFreeSpace) {
  const test::TemporaryFolder folder;
  EXPECT_GT(metadataOf(folder / "new").freeBytes, 0);
}

}  // namespace
}  // namespace tarvinel

#include "app/desktop/services/FileBrowser.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

TEST(FolderAddress, KeepsEveryByte) {
  EXPECT_EQ(folderAddress("/home/a b/ü"), QStringLiteral("file:///home/a%20b/%C3%BC"));
  EXPECT_EQ(folderAddress("/a\xFF#?%"), QStringLiteral("file:///a%FF%23%3F%25"));
  for (const char* folder : {"/", "/home/a b/ü", "/a\xFF#?%", "/with\nbreak"}) {
    EXPECT_EQ(folderOfAddress(folderAddress(folder)), std::filesystem::path(folder));
  }
}

TEST(FolderAddress, IsNoneOfAnotherKind) {
  EXPECT_EQ(folderOfAddress(QStringLiteral("http://example/")), std::nullopt);
  EXPECT_EQ(folderOfAddress(QStringLiteral("file://host/share")), std::nullopt);
  EXPECT_EQ(folderOfAddress(QStringLiteral("file://")), std::nullopt);
  EXPECT_EQ(folderOfAddress(QStringLiteral("file:///a%00b")), std::nullopt);
  EXPECT_EQ(folderOfAddress(QString()), std::nullopt);
}

}  // namespace
}  // namespace tarvinel

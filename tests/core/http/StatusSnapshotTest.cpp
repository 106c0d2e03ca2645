#include "core/http/StatusSnapshot.h"

#include <gtest/gtest.h>

#include <exception>
#include <optional>

namespace tarvinel {
namespace {

TEST(StatusSnapshot, KeysAreTheFieldNames) {
  const StatusSnapshot snapshot{true, 3, "Display 1", 20, "1.2", "34"};
  EXPECT_EQ(
      snapshot.json(),
      R"({"sharing":true,"viewers":3,"source":"Display 1","fps":20,"version":"1.2","build":"34"})");
}

TEST(StatusSnapshot, WithoutASourceTheKeyIsLeftOut) {
  const StatusSnapshot snapshot{false, 0, std::nullopt, 8, "0", "0"};
  EXPECT_EQ(snapshot.json(), R"({"sharing":false,"viewers":0,"fps":8,"version":"0","build":"0"})");
}

TEST(StatusSnapshot, ComesBackEqual) {
  const StatusSnapshot with{true, -1, "a \"b\" ä", 20, "1", "2"};
  const StatusSnapshot without{false, 7, std::nullopt, 4, "1", "2"};
  EXPECT_EQ(StatusSnapshot::fromJSON(with.json()), with);
  EXPECT_EQ(StatusSnapshot::fromJSON(without.json()), without);
}

TEST(StatusSnapshot, ASourceNameThatIsNotUTF8StillGivesADocument) {
  const StatusSnapshot snapshot{true, 0, "a\xFFz", 8, "0", "0"};
  EXPECT_EQ(StatusSnapshot::fromJSON(snapshot.json()).source, "a\uFFFDz");
}

TEST(StatusSnapshot, RefusesWhatIsNotASnapshot) {
  EXPECT_THROW(StatusSnapshot::fromJSON("{}"), std::exception);
  EXPECT_THROW(StatusSnapshot::fromJSON("nonsense"), std::exception);
}

}  // namespace
}  // namespace tarvinel

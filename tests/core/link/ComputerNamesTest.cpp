#include "core/link/LocalAddresses.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

TEST(ComputerNames, TheHostNameAndWhatStandsBesideIt) {
  const test::TemporaryFolder folder;
  const auto hosts = folder.write("hosts",
                                  "127.0.0.1 localhost\n"
                                  "127.0.1.1\tstudio-pc.example.org studio-pc # other.example\n"
                                  "# 127.0.1.1 commented.example studio-pc\n"
                                  "10.0.0.9 printer.example.org printer\n"
                                  "fd00::1 studio-pc six.example.org");
  EXPECT_THAT(namesOf("studio-pc", hosts),
              ElementsAre("studio-pc", "studio-pc.example.org", "studio-pc", "studio-pc",
                          "six.example.org"));
}

TEST(ComputerNames, WithoutSuchAFileTheHostNameAlone) {
  EXPECT_THAT(namesOf("studio-pc", "/nowhere/hosts"), ElementsAre("studio-pc"));
}

TEST(ComputerNames, ThisComputerHasOne) {
  EXPECT_THAT(namesOfThisComputer("/nowhere/hosts"), ElementsAre(Not("")));
}

}  // namespace
}  // namespace tarvinel

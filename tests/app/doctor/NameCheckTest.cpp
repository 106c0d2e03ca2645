#include "app/doctor/NetworkChecks.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using enum Finding::State;
using Bus = BusInquiry::State;

NameProbe withDaemon(const std::string& computerName) {
  return {.hostname = "tarvinel", .daemonRuns = true, .computerName = computerName};
}

TEST(NameCheck, WhoAnswersForTheName) {
  EXPECT_EQ(
      judge(NameProbe{.hostname = "tarvinel", .bus = Bus::isAbsent}),
      (Findings{{fine, "No Avahi daemon runs: Tarvinel itself answers for tarvinel.local.", {}}}));
  EXPECT_EQ(judge(withDaemon("desk.local")),
            (Findings{{fine, "The Avahi daemon runs and will publish tarvinel.local.", {}}}));
  EXPECT_EQ(
      judge(withDaemon("Tarvinel.local")),
      (Findings{{fine, "tarvinel.local is this computer's own name, which Avahi publishes.", {}}}));
}

TEST(NameCheck, ANameThatIsTakenIsToBeMended) {
  auto probe = withDaemon("desk.local");
  probe.found = "10.0.0.7";
  EXPECT_EQ(judge(probe), (Findings{{needsAttention,
                                     "tarvinel.local is taken in this network, by 10.0.0.7.",
                                     {R"(Set "hostname" in config.json to another name.)"}}}));
}

TEST(NameCheck, ANameOfOurOwnIsNotTaken) {
  auto probe = withDaemon("desk.local");
  probe.found = "10.0.0.7";
  probe.foundIsOwn = true;
  EXPECT_EQ(
      judge(probe),
      (Findings{{fine, "tarvinel.local leads to this computer already: Tarvinel runs.", {}}}));
}

TEST(NameCheck, ADaemonThatDoesNotAnswerIsToBeMended) {
  EXPECT_EQ(judge(NameProbe{.hostname = "tarvinel", .bus = Bus::isSilent, .daemonRuns = true}),
            (Findings{{needsAttention,
                       "tarvinel.local cannot be published: the Avahi daemon does not answer.",
                       {"Restart it: sudo systemctl restart avahi-daemon"}}}));
}

TEST(NameCheck, NoName) {
  EXPECT_EQ(
      judge(NameProbe::of("", "/sys")),
      (Findings{{fine, R"(None is published: "hostname" in the configuration is empty.)", {}}}));
}

}  // namespace
}  // namespace tarvinel

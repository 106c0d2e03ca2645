#include "app/doctor/FirewallCheck.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvinel {
namespace {

using enum Finding::State;

std::string tuple(const std::string& rule) {
  return "*filter\n### tuple ### " + rule + "\n-A ufw-user-input -j ACCEPT\nCOMMIT\n";
}

TEST(FirewallCheck, None) {
  EXPECT_EQ(
      judge(FirewallProbe{.port = 80}),
      (Findings{{fine, "None is set up here, as far as can be told without being root.", {}}}));
}

TEST(FirewallCheck, Ufw) {
  EXPECT_EQ(judge(FirewallProbe{.port = 80, .ufwIsOn = true, .ufwLetsIn = true}),
            (Findings{{fine, "ufw is on and lets viewers in at port 80.", {}}}));
  EXPECT_EQ(judge(FirewallProbe{.port = 8080, .ufwIsOn = true, .ufwLetsIn = false}),
            (Findings{{needsAttention,
                       "ufw is on and keeps viewers out of port 8080.",
                       {"Let viewers in: sudo ufw allow 8080/tcp"}}}));
  EXPECT_EQ(judge(FirewallProbe{.port = 80, .ufwIsOn = true}),
            (Findings{{worthKnowing,
                       "ufw is on; which ports it lets in only root can see.",
                       {"See: sudo ufw status", "Let viewers in: sudo ufw allow 80/tcp"}}}));
}

constexpr const char* letViewersIn =
    "Let viewers in: sudo firewall-cmd --permanent --zone=home --add-port=80/tcp && sudo "
    "firewall-cmd --reload";
constexpr const char* letTheNameBeFound =
    "Let the name be found: sudo firewall-cmd --permanent --zone=home --add-service=mdns && sudo "
    "firewall-cmd --reload";

FirewallProbe firewalldWith(std::optional<bool> viewers, std::optional<bool> names) {
  return {.port = 80,
          .firewalldRuns = true,
          .firewalldZone = "home",
          .firewalldLetsIn = viewers,
          .firewalldLetsNamesIn = names};
}

TEST(FirewallCheck, Firewalld) {
  const Finding letsIn{fine, "firewalld runs and lets viewers in at port 80.", {}};
  EXPECT_EQ(judge(firewalldWith(true, true)), Findings{letsIn});
  EXPECT_EQ(judge(firewalldWith(false, true)),
            (Findings{{needsAttention,
                       "firewalld runs, and its zone home keeps viewers out of port 80.",
                       {letViewersIn}}}));
  EXPECT_EQ(judge(firewalldWith(std::nullopt, std::nullopt)),
            (Findings{{worthKnowing,
                       "firewalld runs; which ports it lets in only root can see.",
                       {"See: sudo firewall-cmd --zone=home --list-all", letViewersIn,
                        letTheNameBeFound}}}));
  FirewallProbe probe = firewalldWith(true, false);
  EXPECT_EQ(judge(probe),
            (Findings{letsIn,
                      {worthKnowing,
                       "The zone home of firewalld keeps out who looks for the name; the address "
                       "with numbers works.",
                       {letTheNameBeFound}}}));
  probe.hasName = false;
  EXPECT_EQ(judge(probe), Findings{letsIn});
}

TEST(FirewallCheck, RulesThatAreLoadedAtStart) {
  EXPECT_EQ(judge(FirewallProbe{.port = 80, .rulesAreLoaded = true}),
            (Findings{{worthKnowing,
                       "Firewall rules are loaded at start (nftables or iptables); which, only "
                       "root can see.",
                       {"See: sudo nft list ruleset",
                        "Viewers need TCP port 80, names need UDP port 5353."}}}));
}

TEST(FirewallCheck, AnyFreePort) {
  const Findings tellsNoPort{
      {worthKnowing,
       "There is one, and which port it would have to let in shows only at the start.",
       {"Ask for one port, such as --port 8080, and look again."}}};
  EXPECT_EQ(judge(FirewallProbe{.port = 0, .ufwIsOn = true, .ufwLetsIn = false}), tellsNoPort);
  EXPECT_EQ(judge(FirewallProbe{.port = 0, .firewalldRuns = true}), tellsNoPort);
  EXPECT_EQ(judge(FirewallProbe{.port = 0, .rulesAreLoaded = true}), tellsNoPort);
  EXPECT_EQ(
      judge(FirewallProbe{.port = 0}),
      (Findings{{fine, "None is set up here, as far as can be told without being root.", {}}}));
}

TEST(UfwRules, LetInWhoComesFromAnywhereToThePort) {
  EXPECT_TRUE(ufwRulesLetIn(tuple("allow tcp 80 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
  EXPECT_TRUE(ufwRulesLetIn(tuple("allow any 80 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
  EXPECT_TRUE(ufwRulesLetIn(tuple("allow tcp 22,80,443 0.0.0.0/0 any 0.0.0.0/0 Web - in"), 80));
  EXPECT_TRUE(ufwRulesLetIn(tuple("allow tcp 8000:8100 0.0.0.0/0 any 0.0.0.0/0 in"), 8080));
  EXPECT_TRUE(ufwRulesLetIn(tuple("allow any any 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
}

TEST(UfwRules, KeepOutEveryoneElse) {
  EXPECT_FALSE(ufwRulesLetIn("", 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("allow tcp 8080 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("allow udp 80 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("deny tcp 80 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("allow tcp 80 0.0.0.0/0 any 10.0.0.0/8 in"), 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("allow tcp 8000:8100 0.0.0.0/0 any 0.0.0.0/0 in"), 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("allow tcp"), 80));
  EXPECT_FALSE(ufwRulesLetIn(tuple("allow tcp :,99999:,x 0.0.0.0/0 any 0.0.0.0/0"), 80));
}

class FirewallProbeTest : public testing::Test {
 protected:
  FirewallProbe probe() const { return FirewallProbe::of({}, root.path()); }

  test::TemporaryFolder root;
};

TEST_F(FirewallProbeTest, NothingIsSetUp) {
  EXPECT_FALSE(probe().ufwIsOn);
  EXPECT_FALSE(probe().rulesAreLoaded);
  root.write("etc/ufw/ufw.conf", "ENABLED=no\nLOGLEVEL=low\n");
  EXPECT_FALSE(probe().ufwIsOn);
}

TEST_F(FirewallProbeTest, UfwWhoseRulesCannotBeRead) {
  root.write("etc/ufw/ufw.conf", "# comment\nENABLED=yes\nLOGLEVEL=low\n");
  EXPECT_TRUE(probe().ufwIsOn);
  EXPECT_EQ(probe().ufwLetsIn, std::nullopt);
}

TEST_F(FirewallProbeTest, UfwWhoseRulesCanBeRead) {
  root.write("etc/ufw/ufw.conf", "ENABLED=yes\n");
  root.write("etc/ufw/user.rules", tuple("allow tcp 22 0.0.0.0/0 any 0.0.0.0/0 in"));
  EXPECT_EQ(probe().ufwLetsIn, false);
  root.write("etc/ufw/user.rules", tuple("allow tcp 80 0.0.0.0/0 any 0.0.0.0/0 in"));
  EXPECT_EQ(probe().ufwLetsIn, true);
}

TEST_F(FirewallProbeTest, UfwThatLetsEveryoneIn) {
  root.write("etc/ufw/ufw.conf", "ENABLED=yes\n");
  root.write("etc/default/ufw", "DEFAULT_INPUT_POLICY=\"ACCEPT\"\n");
  EXPECT_EQ(probe().ufwLetsIn, true);
}

TEST_F(FirewallProbeTest, RulesOfOtherKinds) {
  root.write("etc/iptables/rules.v4", "");
  EXPECT_TRUE(probe().rulesAreLoaded);
}

TEST_F(FirewallProbeTest, NftablesAtStart) {
  std::filesystem::create_directories(root / "etc/systemd/system/sysinit.target.wants");
  std::filesystem::create_symlink(
      "/lib/systemd/system/nftables.service",
      root / "etc/systemd/system/sysinit.target.wants/nftables.service");
  EXPECT_TRUE(probe().rulesAreLoaded);
}

}  // namespace
}  // namespace tarvinel

#include "core/link/LinkMonitor.h"
#include "tests/support/FakeNetwork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tarvinel {
namespace {

using enum InterfaceType;
using test::FakeNetwork;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LinkMonitor, OnlyThePreferredInterfaceCounts) {
  EXPECT_TRUE(LinkMonitor::isWired({wiredEthernet, wifi}));
  EXPECT_TRUE(LinkMonitor::isWired({wiredEthernet}));
  EXPECT_FALSE(LinkMonitor::isWired({wifi, wiredEthernet}));
  EXPECT_FALSE(LinkMonitor::isWired({cellular}));
  EXPECT_FALSE(LinkMonitor::isWired({other, wiredEthernet}));
  EXPECT_FALSE(LinkMonitor::isWired({}));
}

TEST(LinkMonitor, IsNotWiredUntilItIsTold) {
  FakeNetwork network;
  const LinkMonitor monitor(network.factory());
  EXPECT_FALSE(monitor.isWired());
  network.report({wiredEthernet});
  EXPECT_TRUE(monitor.isWired());
}

TEST(LinkMonitor, ReportsEachChangeOnce) {
  FakeNetwork network;
  std::vector<bool> reports;
  const LinkMonitor monitor(network.factory(), [&](bool isWired) { reports.push_back(isWired); });
  network.report({wifi});
  network.report({});
  EXPECT_THAT(reports, IsEmpty());
  network.report({wiredEthernet});
  network.report({wiredEthernet, wifi});
  EXPECT_THAT(reports, ElementsAre(true));
  network.report({wifi, wiredEthernet});
  network.report({});
  EXPECT_THAT(reports, ElementsAre(true, false));
}

TEST(LinkMonitor, TheNewAnswerCanBeReadWhileItIsReported) {
  FakeNetwork network;
  const LinkMonitor* asked = nullptr;
  bool answer = false;
  const LinkMonitor monitor(network.factory(), [&](bool) { answer = asked->isWired(); });
  asked = &monitor;
  network.report({wiredEthernet});
  EXPECT_TRUE(answer);
}

}  // namespace
}  // namespace tarvinel

#include "app/desktop/icon/TrayHosts.h"
#include "tests/app/desktop/FakeService.h"
#include "tests/app/desktop/PrivateBus.h"
#include "tests/app/desktop/SpinUntil.h"

#include <QDBusVariant>
#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

using test::FakeService;
using test::PrivateBus;
using test::spinUntil;

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

class NotifierHostsTest : public testing::Test {
 protected:
  void startWatcher() {
    watcher_.emplace(bus_.connect(), watcherName, [this](const QDBusMessage&) {
      return QVariantList{QVariant::fromValue(QDBusVariant(hasHost_))};
    });
  }

  void setHost(bool hasHost) {
    hasHost_ = hasHost;
    watcher_->emitSignal(watcherPath, watcherName,
                         hasHost ? QStringLiteral("StatusNotifierHostRegistered")
                                 : QStringLiteral("StatusNotifierHostUnregistered"));
  }

  PrivateBus bus_;
  bool hasHost_ = false;
  int changes_ = 0;
  std::optional<FakeService> watcher_;
};

TEST_F(NotifierHostsTest, AWatcherAloneIsNoTray) {
  startWatcher();
  const NotifierHosts hosts(bus_.connect(), [this] { ++changes_; });
  EXPECT_TRUE(spinUntil([this] { return !watcher_->calls("Get").empty(); }));
  EXPECT_FALSE(hosts.isThere());
  setHost(true);
  EXPECT_TRUE(spinUntil([&] { return hosts.isThere(); }));
  EXPECT_EQ(changes_, 1);
  setHost(false);
  EXPECT_TRUE(spinUntil([&] { return !hosts.isThere(); }));
  EXPECT_EQ(changes_, 2);
}

TEST_F(NotifierHostsTest, ATrayMayComeLateGoAndReturn) {
  const NotifierHosts hosts(bus_.connect(), [this] { ++changes_; });
  hasHost_ = true;
  startWatcher();
  EXPECT_TRUE(spinUntil([&] { return hosts.isThere(); }));
  watcher_.reset();
  EXPECT_TRUE(spinUntil([&] { return !hosts.isThere(); }));
  startWatcher();
  EXPECT_TRUE(spinUntil([&] { return hosts.isThere(); }));
  EXPECT_EQ(changes_, 3);
}

}  // namespace
}  // namespace tarvinel

#include "core/mdns/NameRegistrar.h"
#include "core/mdns/SystemNameRegistrar.h"
#include "core/support/SerialQueue.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/FakeNameRegistrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::FakeNames;
using testing::ElementsAre;
using testing::IsEmpty;

using Finding = DaemonWatch::Finding;

/// A registrar whose two registrars and whose watch are controlled by the test.
class SystemNameRegistrarTest : public testing::Test {
 protected:
  void TearDown() override {
    queue.sync([&] { registrar.reset(); });
  }

  std::int32_t registerName() {
    return queue.sync([&] {
      registrar = std::make_unique<SystemNameRegistrar>(
          queue, log.category("mdns"),
          SystemNameRegistrar::Registrars{[this](SerialQueue&, DaemonWatch::Callback onFinding) {
                                            onFinding_ = std::move(onFinding);
                                            return std::make_unique<DaemonWatch>();
                                          },
                                          daemon.factory(), embedded.factory()});
      return registrar->registerRecord("studio.local.", {10, 0, 0, 1},
                                       [this](std::int32_t code) { replies.push_back(code); });
    });
  }

  void find(Finding finding) {
    queue.sync([&] { onFinding_(finding); });
  }

  SerialQueue queue{".test"};
  CapturedLog log;
  FakeNames daemon;
  FakeNames embedded;
  std::vector<std::int32_t> replies;  // appended to on the queue, while the test waits for it
  std::unique_ptr<SystemNameRegistrar> registrar;

 private:
  DaemonWatch::Callback onFinding_;
};

TEST_F(SystemNameRegistrarTest, WaitsUntilItKnowsWhetherADaemonRuns) {
  EXPECT_EQ(registerName(), DNSServiceCode::noError);
  EXPECT_THAT(daemon.calls(), IsEmpty());
  EXPECT_THAT(embedded.calls(), IsEmpty());
}

TEST_F(SystemNameRegistrarTest, PublishesThroughADaemonThatRuns) {
  registerName();
  find(Finding::running);
  EXPECT_THAT(daemon.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  EXPECT_THAT(embedded.calls(), IsEmpty());
  daemon.reply(DNSServiceCode::noError);
  daemon.reply(DNSServiceCode::nameConflict);
  EXPECT_THAT(replies, ElementsAre(0, -65548));
}

TEST_F(SystemNameRegistrarTest, PublishesByItselfWithoutADaemon) {
  registerName();
  find(Finding::absent);
  EXPECT_THAT(embedded.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  EXPECT_THAT(daemon.calls(), IsEmpty());
  find(Finding::absent);
  EXPECT_EQ(embedded.calls().size(), 1);
  embedded.reply(DNSServiceCode::noError);
  EXPECT_THAT(replies, ElementsAre(0));
}

TEST_F(SystemNameRegistrarTest, HandsOverToADaemonThatAppears) {
  registerName();
  find(Finding::absent);
  embedded.reply(DNSServiceCode::noError);
  find(Finding::running);
  EXPECT_THAT(embedded.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw"));
  EXPECT_THAT(daemon.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  daemon.reply(DNSServiceCode::noError);
  EXPECT_THAT(replies, ElementsAre(0));  // nothing was reported again
}

TEST_F(SystemNameRegistrarTest, TheEndOfTheDaemonIsAFailure) {
  registerName();
  find(Finding::running);
  daemon.reply(DNSServiceCode::noError);
  find(Finding::absent);
  EXPECT_THAT(replies, ElementsAre(0, -65537));
  EXPECT_THAT(daemon.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw"));
  EXPECT_THAT(embedded.calls(), IsEmpty());
  find(Finding::running);
  daemon.reply(DNSServiceCode::noError);
  EXPECT_THAT(replies, ElementsAre(0, -65537, 0));
}

TEST_F(SystemNameRegistrarTest, ADaemonThatIsReplacedGetsTheRecordAnew) {
  registerName();
  find(Finding::running);
  find(Finding::running);
  EXPECT_THAT(daemon.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw",
                                          "register studio.local. 10.0.0.1"));
}

TEST_F(SystemNameRegistrarTest, NotKnowingIsAFailure) {
  registerName();
  find(Finding::unknown);
  EXPECT_THAT(replies, ElementsAre(-65537));
  EXPECT_THAT(daemon.calls(), IsEmpty());
  EXPECT_THAT(embedded.calls(), IsEmpty());
}

TEST_F(SystemNameRegistrarTest, ARoadThatCannotBeTakenIsAFailure) {
  embedded.respondWith(DNSServiceCode::unknown);
  registerName();
  find(Finding::absent);
  EXPECT_THAT(replies, ElementsAre(-65537));
  find(Finding::running);
  daemon.reply(DNSServiceCode::noError);
  EXPECT_THAT(replies, ElementsAre(-65537, 0));
}

TEST_F(SystemNameRegistrarTest, AnUpdateGoesToWhereTheRecordIs) {
  registerName();
  EXPECT_EQ(queue.sync([&] { return registrar->update({10, 0, 0, 2}); }), DNSServiceCode::noError);
  find(Finding::absent);
  embedded.respondWith(DNSServiceCode::unknown);
  EXPECT_EQ(queue.sync([&] { return registrar->update({10, 0, 0, 3}); }), DNSServiceCode::unknown);
  EXPECT_THAT(embedded.calls(), ElementsAre("register studio.local. 10.0.0.2", "update 10.0.0.3"));
  find(Finding::running);
  EXPECT_THAT(daemon.calls(), ElementsAre("register studio.local. 10.0.0.3"));
}

}  // namespace
}  // namespace tarvinel

#include "core/mdns/NamePublisher.h"
#include "core/mdns/NameRegistrar.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/FakeNameRegistrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::FakeNames;
using testing::ElementsAre;
using testing::IsEmpty;

/// A publisher over fake registrars instead of a network.
class NamePublisherTest : public testing::Test {
 protected:
  NamePublisherTest() {
    publisher->setOnState([this](const NamePublisher::State& state) { states.push_back(state); });
  }

  /// Returns the error that `operation` throws.
  template <class Operation>
  static std::optional<NamePublisherError> errorOf(Operation operation) {
    try {
      operation();
    } catch (const NamePublisherError& error) {
      return error;
    }
    return std::nullopt;
  }

  template <class Operation>
  static std::optional<NamePublisherError::Case> caseOf(Operation operation) {
    const auto error = errorOf(operation);
    return error ? std::optional(error->kind()) : std::nullopt;
  }

  FakeNames names;
  CapturedLog log;
  std::vector<NamePublisher::State> states;  // appended to inside FakeNames::reply
  std::unique_ptr<NamePublisher> publisher =
      std::make_unique<NamePublisher>(names.factory(), log.category("mdns"));
};

using Case = NamePublisherError::Case;

// Pure rules

TEST(NamePublisherRules, LabelsOfLettersDigitsAndInnerHyphensAreValid) {
  for (const char* label : {"studio-3", "A", "a--b", "0"}) {
    EXPECT_TRUE(NamePublisher::isValidLabel(label)) << label;
  }
  EXPECT_TRUE(NamePublisher::isValidLabel(std::string(63, 'a')));
  for (const char* label : {"-studio", "studio-", "", "my_mac", "büro", "host.name", "a b", "-"}) {
    EXPECT_FALSE(NamePublisher::isValidLabel(label)) << label;
  }
  EXPECT_FALSE(NamePublisher::isValidLabel(std::string(64, 'a')));
}

TEST(NamePublisherRules, AnAddressIsFourDecimalParts) {
  EXPECT_EQ(NamePublisher::rdata("192.168.1.20"), (NameRegistrar::Address{192, 168, 1, 20}));
  EXPECT_EQ(NamePublisher::rdata("0.0.0.0"), (NameRegistrar::Address{0, 0, 0, 0}));
  EXPECT_EQ(NamePublisher::rdata("255.255.255.255"), (NameRegistrar::Address{255, 255, 255, 255}));
  for (const char* text :
       {"192.168.1", "192.168..20", "192.168.1.256", "1.2.3.4.5", "", "....", "1.2.3.", ".1.2.3",
        "1.2.3.4.", "1.2.3.x", "1.2.3.4 ", " 1.2.3.4", "1.2.3.-4", "1.2.3.+4", "1.2.3.0x4",
        "fe80::1", "1.2.3.99999999999999999999"}) {
    EXPECT_EQ(NamePublisher::rdata(text), std::nullopt) << text;
  }
}

TEST(NamePublisherRules, TheFullNameIsLowerCaseWithATrailingDot) {
  EXPECT_EQ(NamePublisher::fullName("Studio"), "studio.local.");
}

TEST(NamePublisherRules, CodesBecomeStates) {
  using State = NamePublisher::State;
  EXPECT_EQ(NamePublisher::state(0), State(NamePublisher::Registered{}));
  EXPECT_EQ(NamePublisher::state(-65548), State(NamePublisher::Conflict{}));
  EXPECT_EQ(NamePublisher::state(-65570), State(NamePublisher::Denied{}));
  EXPECT_EQ(NamePublisher::state(-65571), State(NamePublisher::Denied{}));
  EXPECT_EQ(NamePublisher::state(-65537), State(NamePublisher::Failed{-65537}));
  EXPECT_EQ(NamePublisher::state(-65555), State(NamePublisher::Failed{-65555}));
  EXPECT_EQ(NamePublisher::state(1), State(NamePublisher::Failed{1}));
}

struct TickRow {
  const char* what;
  NamePublisher::TickState state;
  NamePublisher::TickAction action;
};

TEST(NamePublisherRules, WhatATickDoesAboutTheName) {
  using Update = NamePublisher::Update;
  using Publish = NamePublisher::Publish;
  using None = NamePublisher::None;
  const std::optional<std::string> a = "10.0.0.1";
  const std::optional<std::string> b = "10.0.0.2";
  const std::optional<std::string> no = std::nullopt;
  // enabled, last, current, registered, failed, retry due
  const std::vector<TickRow> rows = {
      {"disabled, changed, registered", {false, a, b, true, false, true}, None{}},
      {"disabled, failed, due", {false, a, a, false, true, true}, None{}},
      {"disabled, no address", {false, a, no, false, false, true}, None{}},
      {"registered, changed", {true, a, b, true, false, false}, Update{"10.0.0.2"}},
      {"registered, first address", {true, no, b, true, true, true}, Update{"10.0.0.2"}},
      {"registered, same", {true, a, a, true, false, true}, None{}},
      {"registered, same, failed", {true, a, a, true, true, true}, None{}},
      {"registered, address gone", {true, a, no, true, false, false}, Publish{no}},
      {"pending, same", {true, a, a, false, false, true}, None{}},
      {"pending, changed", {true, a, b, false, false, false}, Publish{b}},
      {"failed, same, due", {true, a, a, false, true, true}, Publish{a}},
      {"failed, same, not due", {true, a, a, false, true, false}, None{}},
      {"failed, changed, not due", {true, a, b, false, true, false}, Publish{b}},
      {"failed, address gone", {true, a, no, false, true, false}, Publish{no}},
      {"never any, failed, due", {true, no, no, false, true, true}, Publish{no}},
      {"never any, failed, not due", {true, no, no, false, true, false}, None{}},
      {"first address", {true, no, a, false, true, false}, Publish{a}},
  };
  for (const TickRow& row : rows) {
    EXPECT_EQ(NamePublisher::tickAction(row.state), row.action) << row.what;
  }
}

TEST(NamePublisherRules, ErrorsSayWhatIsWrong) {
  EXPECT_STREQ(NamePublisherError::daemon(-65537).what(), "DNS service error -65537");
  EXPECT_EQ(NamePublisherError::daemon(-65537).code(), -65537);
  EXPECT_STREQ(NamePublisherError::invalidName().what(), "invalid host name");
  EXPECT_STREQ(NamePublisherError::invalidAddress().what(), "invalid IPv4 address");
  EXPECT_STREQ(NamePublisherError::notPublished().what(), "the name is not published");
}

// Publishing

TEST_F(NamePublisherTest, BeginsWithNothing) {
  EXPECT_EQ(publisher->publishedName(), std::nullopt);
  publisher->stop();
  EXPECT_THAT(names.calls(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(NamePublisherTest, RegistersTheLowerCasedNameAndReportsTheOutcome) {
  publisher->publish("Studio", "10.0.0.1");
  EXPECT_EQ(publisher->publishedName(), "studio");
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  EXPECT_THAT(log.lines(), ElementsAre("mdns|info|registering studio.local. -> 10.0.0.1"));
  EXPECT_THAT(states, IsEmpty());
  names.reply(DNSServiceCode::noError);
  EXPECT_THAT(states, ElementsAre(NamePublisher::Registered{}));
  names.reply(DNSServiceCode::nameConflict);
  EXPECT_THAT(states, ElementsAre(NamePublisher::Registered{}, NamePublisher::Conflict{}));
}

TEST_F(NamePublisherTest, RepliesWithoutACallbackGoNowhere) {
  publisher->setOnState({});
  publisher->publish("studio", "10.0.0.1");
  names.reply(DNSServiceCode::noError);
  EXPECT_THAT(states, IsEmpty());
}

TEST_F(NamePublisherTest, WithAnInvalidNameOrAddressNothingIsChanged) {
  publisher->publish("studio", "10.0.0.1");
  EXPECT_EQ(caseOf([&] { publisher->publish("my_mac", "10.0.0.2"); }), Case::invalidName);
  EXPECT_EQ(caseOf([&] { publisher->publish("my_mac", "10.0.0"); }), Case::invalidName);
  EXPECT_EQ(caseOf([&] { publisher->publish("other", "10.0.0"); }), Case::invalidAddress);
  EXPECT_EQ(caseOf([&] { publisher->update("10.0.0.256"); }), Case::invalidAddress);
  EXPECT_EQ(publisher->publishedName(), "studio");
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
}

TEST_F(NamePublisherTest, PublishingAgainWithdrawsFirst) {
  publisher->publish("studio", "10.0.0.1");
  publisher->publish("other", "10.0.0.1");
  EXPECT_EQ(publisher->publishedName(), "other");
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw",
                                         "register other.local. 10.0.0.1"));
  EXPECT_THAT(log.lines(), ElementsAre("mdns|info|registering studio.local. -> 10.0.0.1",
                                       "mdns|info|withdrew studio.local",
                                       "mdns|info|registering other.local. -> 10.0.0.1"));
}

TEST_F(NamePublisherTest, ARefusalCarriesTheCodeAndLeavesNothingPublished) {
  publisher->publish("studio", "10.0.0.1");
  names.respondWith(DNSServiceCode::policyDenied);
  const auto error = errorOf([&] { publisher->publish("studio", "10.0.0.2"); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), Case::daemon);
  EXPECT_EQ(error->code(), -65570);
  EXPECT_EQ(publisher->publishedName(), std::nullopt);
  EXPECT_EQ(caseOf([&] { publisher->update("10.0.0.3"); }), Case::notPublished);
}

TEST_F(NamePublisherTest, UpdateBeforeAnyPublishAndAfterStopFailsAsNotPublished) {
  EXPECT_EQ(caseOf([&] { publisher->update("10.0.0.1"); }), Case::notPublished);
  publisher->publish("studio", "10.0.0.1");
  publisher->stop();
  EXPECT_EQ(caseOf([&] { publisher->update("10.0.0.1"); }), Case::notPublished);
}

TEST_F(NamePublisherTest, UpdatesInPlaceOnlyWhenTheAddressChanged) {
  publisher->publish("Studio", "10.0.0.1");
  publisher->update("10.0.0.1");
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1"));
  publisher->update("10.0.0.2");
  publisher->update("10.0.0.2");
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "update 10.0.0.2"));
  EXPECT_THAT(log.lines(), ElementsAre("mdns|info|registering studio.local. -> 10.0.0.1",
                                       "mdns|info|updated studio.local -> 10.0.0.2"));
}

TEST_F(NamePublisherTest, AnUpdateThatFailsIsTriedAgainByTheNext) {
  publisher->publish("studio", "10.0.0.1");
  names.respondWith(DNSServiceCode::unknown);
  const auto error = errorOf([&] { publisher->update("10.0.0.2"); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), Case::daemon);
  EXPECT_EQ(error->code(), -65537);
  names.respondWith(DNSServiceCode::noError);
  publisher->update("10.0.0.2");
  EXPECT_THAT(names.calls(),
              ElementsAre("register studio.local. 10.0.0.1", "update 10.0.0.2", "update 10.0.0.2"));
}

TEST_F(NamePublisherTest, StopWithdrawsOnce) {
  publisher->publish("studio", "10.0.0.1");
  publisher->stop();
  publisher->stop();
  EXPECT_EQ(publisher->publishedName(), std::nullopt);
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw"));
  EXPECT_THAT(log.lines(), ElementsAre("mdns|info|registering studio.local. -> 10.0.0.1",
                                       "mdns|info|withdrew studio.local"));
}

TEST_F(NamePublisherTest, ItsEndWithdraws) {
  publisher->publish("studio", "10.0.0.1");
  publisher.reset();
  EXPECT_THAT(names.calls(), ElementsAre("register studio.local. 10.0.0.1", "withdraw"));
}

}  // namespace
}  // namespace tarvinel

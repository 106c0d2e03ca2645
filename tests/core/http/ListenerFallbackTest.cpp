#include "core/http/ListeningSocket.h"
#include "core/http/StreamServer.h"
#include "tests/support/Await.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/NetworkNamespace.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <future>
#include <string>
#include <system_error>
#include <utility>

namespace tarvinel {
namespace {

using test::await;
using test::CapturedLog;
using test::inNetworkNamespace;
using test::OrdinaryUser;
using test::TestClient;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

/// A server for port 80 that runs as an ordinary user, in a network where that is not permitted.
class ListenerFallbackTest : public testing::Test {
 protected:
  void asOrdinaryUser(const std::function<void()>& steps) {
    const bool permitted = inNetworkNamespace([&] {
      const OrdinaryUser user;
      steps();
    });
    if (!permitted) GTEST_SKIP() << "network namespaces need root";
  }

  std::unique_ptr<StreamServer> server(StreamServer::ListenerFallback fallback) {
    return std::make_unique<StreamServer>(
        broadcaster, log.category("server"),
        StreamServer::Options{.port = 80,
                              .status = [] { return StatusSnapshot{}; },
                              .listenerFallback = std::move(fallback)});
  }

  static Result<std::uint16_t> started(StreamServer& server) {
    return await<std::uint16_t>([&](auto completion) { server.start(completion); });
  }

  CapturedLog log;
  FrameBroadcaster broadcaster;
};

std::error_code reasonOf(const Result<std::uint16_t>& outcome) {
  try {
    outcome.value();
    return {};
  } catch (const StreamServerError& error) {
    EXPECT_EQ(error.kind(), StreamServerError::Case::bindFailed);
    return error.code();
  }
}

TEST_F(ListenerFallbackTest, ItsSocketIsServed) {
  asOrdinaryUser([this] {
    std::error_code refusal;
    const auto serving = server([&refusal](std::error_code code) {
      refusal = code;
      return listenOnAllAddresses(0).socket;
    });
    const auto port = started(*serving);
    ASSERT_TRUE(port.ok());
    EXPECT_EQ(refusal, std::errc::permission_denied);
    TestClient client(port.value());
    client.send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client.readToEnd(), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(log.lines(),
                Contains("server|info|listening on port " + std::to_string(port.value())));
  });
}

TEST_F(ListenerFallbackTest, WhatItThrowsIsReported) {
  asOrdinaryUser([this] {
    const auto serving = server([](std::error_code) -> UniqueFd {
      throw std::system_error(EADDRINUSE, std::system_category());
    });
    EXPECT_EQ(reasonOf(started(*serving)), std::errc::address_in_use);
    EXPECT_THAT(log.lines(), ElementsAre("server|error|listener failed: Address already in use"));
  });
}

TEST_F(ListenerFallbackTest, WithoutOneTheRefusalStands) {
  asOrdinaryUser([this] {
    const auto serving = server({});
    EXPECT_EQ(reasonOf(started(*serving)), std::errc::permission_denied);
    EXPECT_THAT(log.lines(), ElementsAre("server|error|listener failed: Permission denied"));
  });
}

TEST_F(ListenerFallbackTest, AStopWhileItIsAskedEndsTheStart) {
  asOrdinaryUser([this] {
    std::promise<void> asked;
    std::promise<void> stopped;
    const auto serving = server([&](std::error_code) {
      asked.set_value();
      stopped.get_future().wait();
      return listenOnAllAddresses(0).socket;
    });
    auto outcome = std::async(std::launch::async, [&] { return started(*serving); });
    asked.get_future().wait();
    serving->stop();
    stopped.set_value();
    const auto port = outcome.get();
    ASSERT_FALSE(port.ok());
    EXPECT_EQ(describe(port.error()), "the server was stopped before it was ready");
  });
}

TEST_F(ListenerFallbackTest, APortThatIsTakenIsNoReasonToAskForAnother) {
  const bool permitted = inNetworkNamespace([this] {
    const ListeningSocket holder = listenOnAllAddresses(80);
    ASSERT_EQ(holder.error, 0);
    std::atomic<bool> asked = false;
    const auto serving = server([&asked](std::error_code) {
      asked = true;
      return UniqueFd();
    });
    EXPECT_EQ(reasonOf(started(*serving)), std::errc::address_in_use);
    EXPECT_FALSE(asked);
  });
  if (!permitted) GTEST_SKIP() << "network namespaces need root";
}

}  // namespace
}  // namespace tarvinel

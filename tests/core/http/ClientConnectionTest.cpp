#include "core/http/ClientConnection.h"
#include "core/support/BlockingPool.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Eventually.h"
#include "tests/support/TestClient.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::eventually;
using test::TestClient;

/// One connection without a server around it, and its client.
class ClientConnectionTest : public testing::Test {
 protected:
  ClientConnectionTest() {
    queue.sync([this] {
      acceptor.emplace(queue.context(),
                       asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    });
    client.emplace(acceptor->local_endpoint().port());
    queue.sync([this] {
      connection = std::make_shared<ClientConnection>(acceptor->accept(), environment, nullptr);
      connection->setOnClose([this](ClientConnection& /*closed*/) { ++closes; });
      connection->start();
    });
  }

  ~ClientConnectionTest() override {
    queue.sync([this] {
      connection.reset();
      acceptor.reset();
    });
    queue.stop();
  }

  SerialQueue queue{".server"};
  BlockingPool pool{1};
  PooledQueue admission{pool, ".upload-admission"};
  CapturedLog log;
  FrameBroadcaster broadcaster;
  PeerWatch peerWatch{queue};
  LingeringSockets lingeringSockets;
  VanishedViewers vanishedViewers{queue, std::chrono::minutes(1)};
  TileUpdates tileUpdates;
  Bytes readBuffer = Bytes(ClientConnection::maxReadBytes);
  ThrottledLine throttledLine{queue, log.category("server"), spdlog::level::info};
  const ConnectionEnvironment environment{.queue = queue,
                                          .broadcaster = broadcaster,
                                          .logger = log.category("server"),
                                          .lateHeads = throttledLine,
                                          .longHeads = throttledLine,
                                          .headTimeout = std::chrono::minutes(1),
                                          .status = [] { return StatusSnapshot{}; },
                                          .brand = {},
                                          .hostname = "",
                                          .allowedHosts = AllowedHosts({}),
                                          .brandAnswers = {},
                                          .peerWatch = peerWatch,
                                          .lingeringSockets = lingeringSockets,
                                          .vanishedViewers = vanishedViewers,
                                          .tileUpdates = tileUpdates,
                                          .readBuffer = readBuffer,
                                          .uploadQueues = {queue, admission, pool}};
  std::optional<asio::ip::tcp::acceptor> acceptor;
  std::optional<TestClient> client;
  std::shared_ptr<ClientConnection> connection;
  int closes = 0;  // counted on the queue
};

TEST_F(ClientConnectionTest, ClosingTwiceHasTheEffectOfOnce) {
  client->send("GET /stream HTTP/1.1\r\n\r\n");
  client->readUntil("\r\n\r\n");
  ASSERT_TRUE(eventually([this] { return broadcaster.viewerCount() == 1; }));
  queue.sync([this] {
    connection->close();
    connection->close();
  });
  EXPECT_EQ(queue.sync([this] { return closes; }), 1);
  EXPECT_EQ(broadcaster.viewerCount(), 0U);
  client->readToEnd();
  queue.sync([this] { connection->close(); });
  EXPECT_EQ(queue.sync([this] { return closes; }), 1);
}

TEST_F(ClientConnectionTest, ClosingFromTheCloseHandlerHasNoEffect) {
  queue.sync([this] {
    connection->setOnClose([this](ClientConnection& closed) {
      ++closes;
      closed.close();
    });
    connection->close();
  });
  EXPECT_EQ(queue.sync([this] { return closes; }), 1);
  client->readToEnd();
}

}  // namespace
}  // namespace tarvinel

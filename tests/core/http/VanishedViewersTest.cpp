#include "core/http/VanishedViewers.h"
#include "tests/support/Eventually.h"

#include <gtest/gtest.h>

#include <linux/filter.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <system_error>
#include <utility>

namespace tarvinel {
namespace {

using asio::ip::tcp;
using test::eventually;

void setOption(tcp::socket& socket, int level, int name, int value) {
  ASSERT_EQ(setsockopt(socket.native_handle(), level, name, &value, sizeof value), 0);
}

/// A viewer on this computer whose connection goes dead silently: a filter on its socket discards
/// whatever arrives, so that it acknowledges no data and replies to no probe.
class VanishedViewersTest : public testing::Test {
 protected:
  ~VanishedViewersTest() override {
    queue.sync([this] { viewers.clear(); });
    queue.stop();
  }

  void SetUp() override {
    tcp::acceptor acceptor(queue.context(), {asio::ip::address_v4::loopback(), 0});
    viewer.connect(acceptor.local_endpoint());
    server = acceptor.accept();
    setOption(server, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(server, IPPROTO_TCP, TCP_KEEPIDLE, 1);
    setOption(server, IPPROTO_TCP, TCP_KEEPINTVL, 1);
  }

  void vanish() {
    std::array<sock_filter, 1> dropAll{{{BPF_RET | BPF_K, 0, 0, 0}}};
    const sock_fprog program{dropAll.size(), dropAll.data()};
    ASSERT_EQ(
        setsockopt(viewer.native_handle(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program),
        0);
    ASSERT_TRUE(eventually([this] { return viewers.isMissing(server); }));
    queue.sync([this] { viewers.adopt(std::move(server)); });
  }

  void comeBack() { setOption(viewer, SOL_SOCKET, SO_DETACH_FILTER, 0); }

  std::size_t count() {
    return queue.sync([this] { return viewers.count(); });
  }

  SerialQueue queue{".server"};
  VanishedViewers viewers{queue, std::chrono::seconds(3)};
  asio::io_context viewerContext;
  tcp::socket viewer{viewerContext};
  tcp::socket server{queue.context()};
};

TEST_F(VanishedViewersTest, AViewerThatReturnsIsToldThatItsStreamHasEnded) {
  vanish();
  EXPECT_EQ(count(), 1U);
  comeBack();
  std::array<std::uint8_t, 1> byte{};
  std::error_code error;
  viewer.read_some(asio::buffer(byte), error);
  EXPECT_EQ(error, asio::error::eof);
  EXPECT_TRUE(eventually([this] { return count() == 0; }));
}

TEST_F(VanishedViewersTest, AViewerThatResetItsConnectionIsForgotten) {
  vanish();
  comeBack();
  setOption(viewer, SOL_SOCKET, SO_KEEPALIVE, 0);
  const linger resets{1, 0};
  setsockopt(viewer.native_handle(), SOL_SOCKET, SO_LINGER, &resets, sizeof resets);
  viewer.close();
  EXPECT_TRUE(eventually([this] { return count() == 0; }));
}

TEST_F(VanishedViewersTest, ClearClosesAll) {
  vanish();
  queue.sync([this] { viewers.clear(); });
  EXPECT_EQ(count(), 0U);
}

TEST_F(VanishedViewersTest, OfTooManyTheOldestGo) {
  vanish();
  tcp::acceptor acceptor(queue.context(), {asio::ip::address_v4::loopback(), 0});
  for (std::size_t i = 0; i < VanishedViewers::maxSockets; ++i) {
    tcp::socket other(viewerContext);
    other.connect(acceptor.local_endpoint());
    queue.sync([this, &acceptor] { viewers.adopt(acceptor.accept()); });
  }
  EXPECT_LE(count(), VanishedViewers::maxSockets);
}

TEST_F(VanishedViewersTest, AViewerOnABrokenConnectionIsNotMissing) {
  server.close();
  EXPECT_FALSE(viewers.isMissing(server));
}

}  // namespace
}  // namespace tarvinel

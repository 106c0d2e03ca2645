#include "core/http/Listener.h"
#include "tests/support/TestClient.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <cstdint>
#include <future>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace tarvinel {
namespace {

/// A listener on a free port, which is destroyed on its queue.
class ListenerTest : public testing::Test {
 protected:
  ListenerTest()
      : listener_(queue_.sync([this] { return std::make_shared<Listener>(queue_, 0); })) {}
  ~ListenerTest() override {
    queue_.sync([this] { listener_.reset(); });
  }

  void start(Listener::ConnectionHandler onConnection) {
    queue_.sync(
        [&] { listener_->start(std::move(onConnection), [](std::error_code) { ADD_FAILURE(); }); });
  }

  std::uint16_t port() const { return listener_->port(); }

 private:
  SerialQueue queue_{".server"};
  std::shared_ptr<Listener> listener_;
};

TEST_F(ListenerTest, AProgramStartedAtThatMomentDoesNotKeepAConnection) {
  std::promise<int> flags;
  start([&](asio::ip::tcp::socket socket) {
    flags.set_value(fcntl(socket.native_handle(), F_GETFD));
  });
  const test::TestClient client(port());
  EXPECT_EQ(flags.get_future().get(), FD_CLOEXEC);
}

TEST_F(ListenerTest, ConnectionsThatWaitTogetherAreAllTaken) {
  constexpr int count = 50;
  std::promise<void> all;
  int taken = 0;
  std::vector<test::TestClient> clients;
  for (int i = 0; i < count; ++i)
    clients.emplace_back(port());  // connected by the kernel: nobody accepts yet
  start([&](asio::ip::tcp::socket) {
    if (++taken == count) all.set_value();
  });
  all.get_future().get();
}

}  // namespace
}  // namespace tarvinel

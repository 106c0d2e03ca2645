#include "tests/support/NetworkNamespace.h"

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

#include <sched.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace tarvinel::test {

namespace {

/// Whether every link that has a carrier is also said to be up. The kernel reports that later, up
/// to a second on a busy machine.
bool carriersAreReported() {
  const std::unique_ptr<FILE, int (*)(FILE*)> links(popen("ip -oneline link", "r"), pclose);
  if (!links) throw std::runtime_error("popen");
  std::array<char, 1024> line{};
  while (fgets(line.data(), line.size(), links.get()) != nullptr) {
    const std::string_view link(line.data());
    const auto says = [link](std::string_view text) {
      return link.find(text) != std::string_view::npos;
    };
    const bool isDown = says("state DOWN") || says("state LOWERLAYERDOWN");
    if (says("LOWER_UP") ? isDown : says("state UP")) return false;
  }
  return true;
}

}  // namespace

bool inNetworkNamespace(const std::function<void()>& steps) {
  std::packaged_task<bool()> task([&steps] {
    if (::unshare(CLONE_NEWNET) != 0) return false;
    ip("link set lo up");
    steps();
    return true;
  });
  auto outcome = task.get_future();
  std::thread(std::move(task)).join();
  return outcome.get();
}

void ip(const std::string& arguments) {
  const std::string command = "ip " + arguments;
  if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
}

void waitForCarriers() {
  if (!eventually(carriersAreReported)) throw std::runtime_error("links do not settle");
}

void ipBatch(const std::string& lines) {
  const TemporaryFolder folder;
  ip("-batch " + folder.write("batch", lines).string());
}

}  // namespace tarvinel::test

#include "tests/support/NetworkNamespace.h"

#include "tests/support/TemporaryFolder.h"

#include <sched.h>

#include <cstdlib>
#include <exception>
#include <future>
#include <stdexcept>
#include <thread>

namespace tarvinel::test {

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

void ipBatch(const std::string& lines) {
  const TemporaryFolder folder;
  ip("-batch " + folder.write("batch", lines).string());
}

}  // namespace tarvinel::test

#include "app/startup/EndingLimit.h"

#include "core/support/NonBlockingOutput.h"

#include <fmt/format.h>
#include <unistd.h>

#include <future>
#include <string>

namespace tarvinel {

namespace {
constexpr std::chrono::seconds messageLimit{1};
}  // namespace

EndingLimit::~EndingLimit() {
  {
    const std::scoped_lock lock(mutex_);
    ended_ = true;
  }
  changed_.notify_all();
  if (watch_.joinable()) watch_.join();
}

void EndingLimit::begin() {
  const std::scoped_lock lock(mutex_);
  if (!watch_.joinable()) watch_ = std::thread([this] { watch(); });
}

void EndingLimit::watch() {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, limit_, [this] { return ended_; })) giveUp();
}

// Writes on another thread, since standard error may go to the disk that hangs.
void EndingLimit::giveUp() const {
  const std::string message = fmt::format(
      "tarvinel: ended without waiting longer than {} seconds for a disk, a display or a service "
      "that hangs\n",
      std::chrono::duration_cast<std::chrono::seconds>(limit_).count());
  std::promise<void> said;
  const std::thread speaker([&] {
    writeWithoutWaiting(STDERR_FILENO, message);
    said.set_value();
  });
  said.get_future().wait_for(messageLimit);
  ::_exit(exitStatus);
}

}  // namespace tarvinel

#include "core/support/SerialQueue.h"

#include "core/support/ApplicationIdentifier.h"

#include <pthread.h>

namespace tarvinel {

namespace {

// The kernel limits a thread's name to 15 bytes.
void nameCurrentThread(std::string_view suffix) {
  if (suffix.starts_with('.')) suffix.remove_prefix(1);
  pthread_setname_np(pthread_self(), std::string(suffix.substr(0, 15)).c_str());
}

}  // namespace

SerialQueue::SerialQueue(std::string_view suffix)
    : label_(std::string(applicationIdentifier).append(suffix)),
      work_(asio::make_work_guard(context_)),
      thread_([this, name = std::string(suffix)] {
        nameCurrentThread(name);
        context_.run();
      }) {}

void SerialQueue::stop() {
  assert(!isCurrent());
  context_.stop();
  if (thread_.joinable()) thread_.join();
}

}  // namespace tarvinel

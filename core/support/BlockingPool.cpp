#include "core/support/BlockingPool.h"

#include "core/support/ApplicationIdentifier.h"

#include <pthread.h>
#include <sys/resource.h>

namespace tarvinel {

namespace {

// Writing to a file is mostly copying: on a busy computer it yields to the work for viewers.
constexpr int niceness = 10;

void becomeBlockingThread() {
  pthread_setname_np(pthread_self(), "blocking");
  setpriority(PRIO_PROCESS, 0, niceness);  // on Linux this affects the calling thread alone
}

}  // namespace

BlockingPool::BlockingPool(std::size_t threads)
    : context_(static_cast<int>(threads)), work_(asio::make_work_guard(context_)) {
  for (std::size_t i = 0; i < threads; ++i) {
    threads_.emplace_back([this] {
      becomeBlockingThread();
      context_.run();
    });
  }
}

void BlockingPool::finish() {
  std::unique_lock lock(mutex_);
  allDone_.wait(lock, [this] { return pendingTasks_ == 0; });
  lock.unlock();
  context_.stop();
  for (std::thread& thread : threads_) {
    if (thread.joinable()) thread.join();
  }
}

void BlockingPool::taskPosted() {
  const std::scoped_lock lock(mutex_);
  ++pendingTasks_;
}

void BlockingPool::taskDone() {
  const std::scoped_lock lock(mutex_);
  if (--pendingTasks_ == 0) allDone_.notify_all();
}

PooledQueue::PooledQueue(BlockingPool& pool, std::string_view suffix)
    : pool_(pool),
      label_(std::string(applicationIdentifier).append(suffix)),
      executor_(asio::make_strand(pool.context_)) {}

}  // namespace tarvinel

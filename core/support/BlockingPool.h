#pragma once

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/strand.hpp>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace tarvinel {

/// Threads for work that waits for a disk. Each task occupies one for as long as the disk takes, so
/// there are more threads than tasks that can wait at the same time. Safe from any thread.
class BlockingPool {
 public:
  explicit BlockingPool(std::size_t threads);
  ~BlockingPool() { finish(); }
  BlockingPool(const BlockingPool&) = delete;
  BlockingPool& operator=(const BlockingPool&) = delete;

  /// Waits until every task posted so far, and those that they posted, have run, then ends the
  /// threads. Idempotent; must not be called from a task.
  void finish();

 private:
  friend class PooledQueue;

  void taskPosted();
  void taskDone();

  asio::io_context context_;
  asio::executor_work_guard<asio::io_context::executor_type> work_;
  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable allDone_;
  std::size_t pendingTasks_ = 0;  // guarded by mutex_
};

/// A labelled queue that runs one task at a time, in the order posted, on the threads of a pool,
/// which outlives it. Pending tasks still run after the queue is destroyed. Safe from any thread.
class PooledQueue {
 public:
  using Executor = asio::strand<asio::io_context::executor_type>;

  /// The label is the application identifier followed by `suffix`.
  PooledQueue(BlockingPool& pool, std::string_view suffix);

  const std::string& label() const { return label_; }

  /// Returns the executor for timers that complete on the queue.
  const Executor& executor() const { return executor_; }

  /// Runs `task` on the queue; it must not throw.
  template <class Task>
  void post(Task&& task) {
    pool_.taskPosted();
    asio::post(executor_, [&pool = pool_, task = std::forward<Task>(task)]() mutable {
      // the task can hold a last reference, so it is destroyed before it counts as done
      {
        auto running = std::move(task);
        running();
      }
      pool.taskDone();
    });
  }

 private:
  BlockingPool& pool_;
  const std::string label_;
  const Executor executor_;
};

}  // namespace tarvinel

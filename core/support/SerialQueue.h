#pragma once

#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include <cassert>
#include <exception>
#include <future>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>

namespace tarvinel {

/// A labelled queue with a thread of its own that runs one task at a time, in the order posted.
///
/// Asio objects made on `context()` complete on the same thread, so that an owner which keeps all
/// its state on one queue needs no lock. An owner declares its queue as its first member, because
/// Asio objects must be destroyed before their context, and calls `stop` first in its destructor,
/// so that no task sees a half-destroyed owner.
///
/// `post`, `sync` and `isCurrent` are safe from any thread.
class SerialQueue {
 public:
  /// The label is the application identifier followed by `suffix`, such as ".server"; the thread
  /// carries the suffix as its name.
  explicit SerialQueue(std::string_view suffix);
  ~SerialQueue() { stop(); }
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  const std::string& label() const { return label_; }
  asio::io_context& context() { return context_; }

  /// Ends the thread after the running task; pending tasks are dropped. Idempotent; must not be
  /// called from the queue itself.
  void stop();

  /// Runs `task` on the queue, after those posted before. `task` must not throw.
  template <class Task>
  void post(Task&& task) {
    asio::post(context_, std::forward<Task>(task));
  }

  /// Runs `task` on the queue and waits for it; returns or throws what it does. Must not be called
  /// from the queue itself.
  template <class Task>
  auto sync(Task&& task) -> std::invoke_result_t<Task> {
    assert(!isCurrent());
    std::packaged_task<std::invoke_result_t<Task>()> packaged(std::forward<Task>(task));
    auto outcome = packaged.get_future();
    asio::post(context_, [&packaged] { packaged(); });
    return outcome.get();
  }

  bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

  /// Asserts that the caller runs on this queue; for entry points of types that live on it.
  void assertCurrent() const { assert(isCurrent()); }

 private:
  const std::string label_;
  asio::io_context context_{1};
  asio::executor_work_guard<asio::io_context::executor_type> work_;
  std::thread thread_;
};

}  // namespace tarvinel

#pragma once

#include <mutex>
#include <set>

namespace tarvinel::x11 {

/// Ends the wait for X servers that hang: once interrupted, every connection that was made with it
/// and every one made later is broken, and whatever waits for it fails. Safe from any thread.
class Interrupt {
 public:
  Interrupt() = default;
  ~Interrupt() = default;
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// For good.
  void interrupt();

 private:
  friend class Socket;

  void add(int fd);
  void remove(int fd);

  std::mutex mutex_;
  // guarded by mutex_
  std::set<int> sockets_;
  bool interrupted_ = false;
};

}  // namespace tarvinel::x11

#pragma once

#include <mutex>
#include <set>

namespace tarvinel {

/// Ends the wait for X servers that hang: once interrupted, every connection that was made with it
/// and every one made later is broken, and whatever waits for it fails. Safe from any thread.
class X11Interrupt {
 public:
  X11Interrupt() = default;
  ~X11Interrupt() = default;
  X11Interrupt(const X11Interrupt&) = delete;
  X11Interrupt& operator=(const X11Interrupt&) = delete;

  /// For good.
  void interrupt();

 private:
  friend class X11Socket;

  void add(int fd);
  void remove(int fd);

  std::mutex mutex_;
  // guarded by mutex_
  std::set<int> sockets_;
  bool interrupted_ = false;
};

}  // namespace tarvinel

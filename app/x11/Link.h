#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace tarvinel::x11 {

/// Ends the waits for X servers that hang: once interrupted, every connection that was made with it
/// and every one made later is broken, and whatever waits for it fails. Safe from any thread.
class Interrupt {
 public:
  Interrupt() = default;
  ~Interrupt() = default;
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Interrupts permanently.
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

/// A socket that an interruption shuts down while this object exists.
class Socket {
 public:
  /// `interrupt` may be null. The caller keeps the ownership of the socket.
  Socket(std::shared_ptr<Interrupt> interrupt, int fd);
  ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

 private:
  const std::shared_ptr<Interrupt> interrupt_;
  const int fd_;
};

/// The transport of a connection to an X server. xcb_connect waits without a limit for a server
/// that accepts connections and stays silent; this fails by a deadline, and by an interruption from
/// then on. Cookies are found as xcb finds them, in $XAUTHORITY or ~/.Xauthority; of the methods
/// that the file may name only MIT-MAGIC-COOKIE-1 is supported.
class Link {
 public:
  using Clock = std::chrono::steady_clock;

  /// Connects to a display such as ":0" (X(7), "Display names"). Throws Error.
  Link(const std::string& display, Clock::time_point deadline,
       std::shared_ptr<Interrupt> interrupt);

  xcb_connection_t* get() const { return connection_.get(); }

  /// Returns the screen that the display's name selects.
  int screenNumber() const { return screenNumber_; }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  std::unique_ptr<Socket> socket_;  ///< forgets the descriptor before the connection closes it
  int screenNumber_ = 0;
};

}  // namespace tarvinel::x11

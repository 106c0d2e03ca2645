#pragma once

#include "app/x11/Link.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace tarvinel::x11 {

/// Returns the code of an event, whether the server sent it or another client.
inline std::uint8_t eventCode(const xcb_generic_event_t& event) {
  return static_cast<std::uint8_t>(event.response_type & 0x7FU);
}

/// Returns whether a client sent the event: what it reports need not have happened.
inline bool isSynthetic(const xcb_generic_event_t& event) {
  return (event.response_type & 0x80U) != 0;
}

/// Returns whether the event happened before the server processed the request of that number.
inline bool isBefore(const xcb_generic_event_t& event, std::uint32_t sequence) {
  return static_cast<std::int32_t>(event.full_sequence - sequence) < 0;
}

/// Returns the event as one of xcb's structs; its code determines which.
template <class Record>
const Record& eventAs(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Record&>(event);
}

/// The options of a connection to an X server.
struct Options {
  /// Long enough to find out whether a server responds at all.
  static constexpr std::chrono::milliseconds probeLimit{5000};

  bool sharedMemory = true;                       ///< false: pixels come over the connection
  std::chrono::milliseconds replyTimeout{10000};  ///< a server silent for longer counts as dead
  std::shared_ptr<Interrupt> interrupt = {};      ///< ends every wait; may be null
};

struct XcbFree {
  void operator()(void* memory) const {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): xcb takes its memory from malloc
    std::free(memory);
  }
};

/// A reply, event or error that xcb allocated.
template <class T>
using XcbPtr = std::unique_ptr<T, XcbFree>;

/// One connection to an X server, closed by the destructor; the server then drops everything that
/// was made over it. Lives on the thread that made it, on which it blocks SIGPIPE: xcb writes to a
/// server that has died without suppressing that signal.
class Connection {
 public:
  /// Connects to a display such as ":0". Throws Error.
  explicit Connection(const std::string& display, const Options& options = {});

  xcb_connection_t* get() const { return link_.get(); }
  const Options& options() const { return options_; }

  /// Returns the screen that the display's name selects.
  const xcb_screen_t& screen() const { return *screen_; }
  int screenNumber() const { return link_.screenNumber(); }
  xcb_window_t root() const { return screen_->root; }

  /// Returns the root window's current size; unlike `screen()` it follows changes. Throws Error.
  PixelRect rootArea() const;

  /// Returns what the server reports of an extension, or null if it is missing. The connection owns
  /// it. Throws Error.
  const xcb_query_extension_reply_t* extension(xcb_extension_t& which) const;

  /// Returns whether client and server share a kernel, so that descriptors can be passed.
  bool isLocal() const;

  /// Waits for the reply to a request. `function` is xcb's own getter, such as
  /// xcb_get_geometry_reply; it determines the reply's type. Throws Error.
  template <class Reply, class Cookie>
  XcbPtr<Reply> reply(Reply* (*function)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                      Cookie cookie) const {
    (void)function;
    return XcbPtr<Reply>(static_cast<Reply*>(awaitReply(cookie.sequence)));
  }

  /// Does the same, but returns null if the server rejected the request: its object may be gone.
  template <class Reply, class Cookie>
  XcbPtr<Reply> replyIfAny(Reply* (*function)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                           Cookie cookie) const {
    (void)function;
    return XcbPtr<Reply>(static_cast<Reply*>(awaitReplyIfAny(cookie.sequence)));
  }

  /// Waits until the server has processed a request made with one of xcb's checked calls that have
  /// no reply. Throws Error if it was rejected.
  void check(xcb_void_cookie_t cookie) const;

  /// Returns the next event, or null if none has come; never waits. Throws Error if the connection
  /// is lost.
  XcbPtr<xcb_generic_event_t> pollEvent() const;

  /// Sends what is buffered. Throws Error if the connection is lost.
  void flush() const;

 private:
  void* awaitReply(unsigned int sequence) const;
  void* awaitReplyIfAny(unsigned int sequence) const;
  bool pollReply(unsigned int sequence, void** reply) const;
  void awaitBytes(std::chrono::steady_clock::time_point deadline) const;

  Options options_;
  Link link_;
  const xcb_screen_t* screen_ = nullptr;
};

}  // namespace tarvinel::x11

#pragma once

#include <xcb/shm.h>

#include <memory>

namespace tarvinel::x11 {

class SharedMemory;
class Connection;

/// The X server's hold on a piece of shared memory (MIT-SHM 1.2, by descriptor); the destructor
/// takes it away. Must not outlive the connection.
class ShmSegment {
 public:
  /// Null where the server has no such extension, runs on another machine or refuses. Throws
  /// Error when the connection is lost.
  static std::unique_ptr<ShmSegment> attach(const Connection& connection,
                                            const SharedMemory& memory);

  ~ShmSegment();
  ShmSegment(const ShmSegment&) = delete;
  ShmSegment& operator=(const ShmSegment&) = delete;

  xcb_shm_seg_t id() const { return id_; }

 private:
  ShmSegment(const Connection& connection, xcb_shm_seg_t id);

  const Connection& connection_;
  xcb_shm_seg_t id_;
};

}  // namespace tarvinel::x11

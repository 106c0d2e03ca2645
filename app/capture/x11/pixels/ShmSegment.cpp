#include "app/capture/x11/pixels/ShmSegment.h"

#include "app/capture/x11/pixels/SharedMemory.h"
#include "app/x11/Connection.h"
#include "app/x11/Error.h"

namespace tarvinel::x11 {

namespace {

bool takesDescriptors(const Connection& connection) {
  // on a socket that cannot carry descriptors the attempt would break the connection
  if (!connection.options().sharedMemory || !connection.isLocal()) return false;
  if (connection.extension(xcb_shm_id) == nullptr) return false;
  const auto version =
      connection.reply(xcb_shm_query_version_reply, xcb_shm_query_version(connection.get()));
  return version->major_version > 1 || (version->major_version == 1 && version->minor_version >= 2);
}

}  // namespace

std::unique_ptr<ShmSegment> ShmSegment::attach(const Connection& connection,
                                               const SharedMemory& memory) {
  if (!takesDescriptors(connection)) return nullptr;
  const xcb_shm_seg_t id = xcb_generate_id(connection.get());
  const auto cookie =
      xcb_shm_attach_fd_checked(connection.get(), id, memory.duplicateDescriptor(), 0);
  try {
    connection.check(cookie);
  } catch (const Error& error) {
    // a local socket may be a tunnel to another machine, which loses the descriptor on the way
    if (error.kind() != Error::Case::requestRefused) throw;
    return nullptr;
  }
  return std::unique_ptr<ShmSegment>(new ShmSegment(connection, id));
}

ShmSegment::ShmSegment(const Connection& connection, xcb_shm_seg_t id)
    : connection_(connection), id_(id) {}

ShmSegment::~ShmSegment() {
  xcb_shm_detach(connection_.get(), id_);
}

}  // namespace tarvinel::x11

#include "app/capture/x11/pixels/SharedMemory.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <limits>

namespace tarvinel::x11 {

namespace {

std::size_t checkedSize(std::uint64_t size) {
  if (size == 0 || size > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) {
    throw Error::outOfMemory();
  }
  return static_cast<std::size_t>(size);
}

int openMemory(std::size_t size) {
  const int descriptor = memfd_create("tarvinel-screen", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (descriptor < 0) throw Error::outOfMemory();
  // without the seals a broken server could shrink the memory and kill this process with SIGBUS
  if (ftruncate(descriptor, static_cast<off_t>(size)) != 0 ||
      fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
    close(descriptor);
    throw Error::outOfMemory();
  }
  return descriptor;
}

std::uint8_t* map(int descriptor, std::size_t size) {
  void* memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, descriptor, 0);
  if (memory == MAP_FAILED) {
    close(descriptor);
    throw Error::outOfMemory();
  }
  return static_cast<std::uint8_t*>(memory);
}

}  // namespace

SharedMemory::SharedMemory(std::uint64_t size)
    : size_(checkedSize(size)), descriptor_(openMemory(size_)), data_(map(descriptor_, size_)) {}

SharedMemory::~SharedMemory() {
  munmap(data_, size_);
  close(descriptor_);
}

int SharedMemory::duplicateDescriptor() const {
  const int duplicate = fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
  if (duplicate < 0) throw Error::outOfMemory();
  return duplicate;
}

namespace {

bool supportsDescriptors(const Connection& connection) {
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
  if (!supportsDescriptors(connection)) return nullptr;
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

ShmPixelBuffer::ShmPixelBuffer(const PixelRect& area)
    : width_(static_cast<std::size_t>(area.width)),
      height_(static_cast<std::size_t>(area.height)),
      memory_(static_cast<std::uint64_t>(width_) * height_ * 4) {}

}  // namespace tarvinel::x11

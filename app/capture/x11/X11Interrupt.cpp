#include "app/capture/x11/X11Interrupt.h"

#include <sys/socket.h>

namespace tarvinel {

void X11Interrupt::interrupt() {
  const std::scoped_lock lock(mutex_);
  interrupted_ = true;
  for (const int fd : sockets_)
    shutdown(fd, SHUT_RDWR);
}

void X11Interrupt::add(int fd) {
  const std::scoped_lock lock(mutex_);
  sockets_.insert(fd);
  if (interrupted_) shutdown(fd, SHUT_RDWR);
}

void X11Interrupt::remove(int fd) {
  const std::scoped_lock lock(mutex_);
  sockets_.erase(fd);
}

}  // namespace tarvinel

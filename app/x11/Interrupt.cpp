#include "app/x11/Interrupt.h"

#include <sys/socket.h>

namespace tarvinel::x11 {

void Interrupt::interrupt() {
  const std::scoped_lock lock(mutex_);
  interrupted_ = true;
  for (const int fd : sockets_)
    shutdown(fd, SHUT_RDWR);
}

void Interrupt::add(int fd) {
  const std::scoped_lock lock(mutex_);
  sockets_.insert(fd);
  if (interrupted_) shutdown(fd, SHUT_RDWR);
}

void Interrupt::remove(int fd) {
  const std::scoped_lock lock(mutex_);
  sockets_.erase(fd);
}

}  // namespace tarvinel::x11

// Listens on port 80 for an unprivileged program, which requests it over an inherited socket,
// passes the listening socket back and exits. It carries the file capability cap_net_bind_service,
// which must not be on the program itself: the desktop's portal rejects such a program, and it gets
// no session bus.
//
// Its environment may be hostile: it takes no arguments, reads no environment variable and no file,
// writes only to the inherited socket, and is linked statically. When it is run by hand, without
// that socket, its exit status is 0 if it has the capability.

#include "app/platform/bind-helper/BindHelper.h"
#include "core/http/ListeningSocket.h"

#include <linux/capability.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

using tarvinel::BindHelper;
using tarvinel::ListeningSocket;

constexpr __user_cap_header_struct ownCapabilities{_LINUX_CAPABILITY_VERSION_3, 0};
constexpr std::size_t capabilityWords = _LINUX_CAPABILITY_U32S_3;

bool hasOption(int option, int expected) {
  int value = 0;
  socklen_t size = sizeof value;
  return ::getsockopt(BindHelper::channel, SOL_SOCKET, option, &value, &size) == 0 &&
         value == expected;
}

bool hasChannel() {
  return hasOption(SO_DOMAIN, AF_UNIX) && hasOption(SO_TYPE, SOCK_SEQPACKET);
}

bool mayBind() {
  __user_cap_header_struct head = ownCapabilities;
  __user_cap_data_struct words[capabilityWords]{};
  return ::syscall(SYS_capget, &head, words) == 0 &&
         (words[0].effective & (1U << CAP_NET_BIND_SERVICE)) != 0;
}

bool dropCapabilities() {
  __user_cap_header_struct head = ownCapabilities;
  const __user_cap_data_struct none[capabilityWords]{};
  return ::syscall(SYS_capset, &head, none) == 0;
}

/// Attaches the descriptor to the message, using the buffer.
template <std::size_t size>
void attach(int fd, msghdr& message, char (&buffer)[size]) {
  message.msg_control = buffer;
  message.msg_controllen = size;
  cmsghdr* rights = CMSG_FIRSTHDR(&message);
  rights->cmsg_level = SOL_SOCKET;
  rights->cmsg_type = SCM_RIGHTS;
  rights->cmsg_len = CMSG_LEN(sizeof fd);
  std::memcpy(CMSG_DATA(rights), &fd, sizeof fd);
}

bool reply(ListeningSocket listening) {
  iovec body{&listening.error, sizeof listening.error};
  msghdr message{};
  message.msg_iov = &body;
  message.msg_iovlen = 1;
  alignas(cmsghdr) char buffer[CMSG_SPACE(sizeof(int))]{};
  if (listening.socket) attach(listening.socket.get(), message, buffer);
  return ::sendmsg(BindHelper::channel, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

}  // namespace

int main() {
  if (!hasChannel()) return mayBind() ? 0 : 1;
  ListeningSocket listening = tarvinel::listenOnAllAddresses(BindHelper::port);
  return dropCapabilities() && reply(std::move(listening)) ? 0 : 1;
}

#include "core/link/RouteSocket.h"

#include "core/link/NetlinkMessages.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <vector>

namespace tarvinel {

namespace {

constexpr std::size_t datagramBytes = std::size_t{64} << 10;  // the kernel sends 32 KiB at most
constexpr timeval answerLimit{2, 0};
constexpr int mostReads = 5;
constexpr std::uint32_t eventGroups =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;

[[noreturn]] void failNetlink(int error, const char* what) {
  throw std::system_error(error, std::system_category(), what);
}

UniqueFd openRouteSocket(std::uint32_t groups, int flags) {
  UniqueFd fd(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | flags, NETLINK_ROUTE));
  if (!fd) failNetlink(errno, "netlink socket");
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    failNetlink(errno, "netlink bind");
  }
  return fd;
}

/// Asks for everything of one kind; `type` is RTM_GETLINK or the like.
void requestAll(int fd, std::uint16_t type, std::uint32_t sequence) {
  struct {
    nlmsghdr head{};
    rtgenmsg everyFamily{};
    std::array<char, 3> padding{};
  } question;
  question.head.nlmsg_len = sizeof question;
  question.head.nlmsg_type = type;
  question.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  question.head.nlmsg_seq = sequence;
  if (::send(fd, &question, sizeof question, 0) < 0) failNetlink(errno, "netlink request");
}

/// The next datagram of the kernel; others can send to the socket as well.
std::span<const std::byte> receiveAnswer(int fd, std::vector<std::byte>& buffer) {
  while (true) {
    sockaddr_nl sender{};
    iovec target{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof sender;
    message.msg_iov = &target;
    message.msg_iovlen = 1;
    const ssize_t got = ::recvmsg(fd, &message, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failNetlink(errno, "netlink answer");
    if ((message.msg_flags & MSG_TRUNC) != 0) failNetlink(EMSGSIZE, "netlink answer");
    if (sender.nl_pid == 0) return {buffer.data(), static_cast<std::size_t>(got)};
  }
}

enum class Answer { complete, changedMeanwhile };

Answer readAnswer(int fd, std::uint32_t sequence, std::vector<std::byte>& buffer,
                  NetworkFacts& facts) {
  Answer answer = Answer::complete;
  while (true) {
    for (const NetlinkMessage& message : netlinkMessages(receiveAnswer(fd, buffer))) {
      if (message.sequence != sequence) continue;
      if (message.type == NLMSG_ERROR) failNetlink(EPROTO, "netlink answer");
      if ((message.flags & NLM_F_DUMP_INTR) != 0) answer = Answer::changedMeanwhile;
      if (message.type == NLMSG_DONE) return answer;
      addTo(facts, message);
    }
  }
}

}  // namespace

NetworkFacts readNetworkFacts() {
  const UniqueFd fd = openRouteSocket(0, 0);
  ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &answerLimit, sizeof answerLimit);
  std::vector<std::byte> buffer(datagramBytes);
  std::uint32_t sequence = 0;
  NetworkFacts facts;
  for (int reads = 0; reads < mostReads; ++reads) {
    facts = {};
    bool changed = false;
    for (const std::uint16_t type : {RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE}) {
      requestAll(fd.get(), type, ++sequence);
      changed |= readAnswer(fd.get(), sequence, buffer, facts) == Answer::changedMeanwhile;
    }
    if (!changed) break;
  }
  return facts;  // if it still changes there is an event that leads to another read
}

UniqueFd openNetworkEvents(std::optional<int> receiveBuffer) {
  UniqueFd fd = openRouteSocket(eventGroups, SOCK_NONBLOCK);
  if (receiveBuffer) {
    ::setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUF, &*receiveBuffer, sizeof *receiveBuffer);
  }
  return fd;
}

bool drainNetworkEvents(int events) {
  std::array<std::byte, 4096> dropped{};
  while (true) {
    if (::recv(events, dropped.data(), dropped.size(), 0) >= 0) continue;
    if (errno == EAGAIN) return true;
    if (errno != EINTR && errno != ENOBUFS) return false;
  }
}

}  // namespace tarvinel

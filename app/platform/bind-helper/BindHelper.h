#pragma once

#include <cstdint>

namespace tarvinel {

/// The protocol between the program and its helper for low ports. The helper inherits one end of a
/// Unix-domain socket pair of type SOCK_SEQPACKET and replies with one message: an `int`, which is
/// 0 and comes with the listening socket (SCM_RIGHTS, unix(7)), or an errno value.
struct BindHelper {
  static constexpr int channel = 3;  ///< its file descriptor in the helper

  /// The only port: a privileged helper must not be usable for anything else.
  static constexpr std::uint16_t port = 80;
};

}  // namespace tarvinel

#pragma once

#include <cstdint>

namespace tarvinel {

/// What the program and its helper for low ports agree on. The helper inherits one end of a
/// Unix-domain socket pair of type SOCK_SEQPACKET and answers with one message: an `int`, 0 and
/// with it the listening socket (SCM_RIGHTS, unix(7)), or an errno value.
struct BindHelper {
  static constexpr int channel = 3;  ///< its file descriptor in the helper

  /// The only one: a helper with a privilege must not be a tool for anything else.
  static constexpr std::uint16_t port = 80;
};

}  // namespace tarvinel

#pragma once

#include "core/support/UniqueFd.h"

#include <string_view>

namespace tarvinel {

/// Another descriptor for where `fd` leads. Writes to it never block where the kernel allows that:
/// on a terminal, a pipe and a socket. Its flags are its own, so that other programs with the same
/// terminal or pipe notice nothing. An ordinary file, and what this process may not open again,
/// share the flags of `fd`. Invalid when `fd` is.
UniqueFd nonBlockingOutput(int fd);

/// One write(2) or send(2) to such a descriptor that poll(2) called writable; returns the bytes
/// taken, or -1 with errno.
ssize_t writeSome(int fd, std::string_view bytes);

/// Writes as much as is taken at once; the rest is lost.
void writeWithoutWaiting(int fd, std::string_view text) noexcept;

}  // namespace tarvinel

#pragma once

#include "core/support/UniqueFd.h"

#include <string_view>

namespace tarvinel {

/// Returns another descriptor for the output of `fd`. Writes to it never block where the kernel
/// supports that: on a terminal, a pipe and a socket. Its flags are its own, so that other programs
/// with the same terminal or pipe are not affected. An ordinary file, and what this process cannot
/// open again, share the flags of `fd`. Returns an invalid descriptor if `fd` is.
UniqueFd nonBlockingOutput(int fd);

/// Does one write(2) or send(2) to such a descriptor that poll(2) reported as writable; returns the
/// bytes taken, or -1 with errno.
ssize_t writeSome(int fd, std::string_view bytes);

/// Writes as much as is accepted at once; the rest is lost.
void writeWithoutWaiting(int fd, std::string_view text) noexcept;

}  // namespace tarvinel

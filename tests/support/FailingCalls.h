#pragma once

#include <functional>
#include <vector>

namespace tarvinel::test {

/// Runs `task` on a thread of its own on which the system calls with these numbers (SYS_...) only
/// fail with `error`, as on a file system that lacks them or a broken disk; returns when it has
/// run. The kernel's filter applies to that thread and those that it starts.
void whileCallsFail(const std::vector<long>& calls, int error, const std::function<void()>& task);

}  // namespace tarvinel::test

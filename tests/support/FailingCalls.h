#pragma once

#include <functional>
#include <vector>

namespace tarvinel::test {

/// Runs `task` on a thread of its own on which the system calls with these numbers (SYS_...) do
/// nothing but fail with `error`, as on a file system that lacks them or a disk that breaks;
/// returns when it has run. The filter is the kernel's, for that thread alone and those it starts.
void whileCallsFail(const std::vector<long>& calls, int error, const std::function<void()>& task);

}  // namespace tarvinel::test

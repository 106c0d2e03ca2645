#pragma once

#include <functional>
#include <string>

namespace tarvinel::test {

/// Runs `steps` in a network namespace in which there is only a loopback interface that is up, on a
/// thread of its own, since each thread has its namespace. Returns false if that needs root.
bool inNetworkNamespace(const std::function<void()>& steps);

/// Runs ip(8) with these arguments in the calling thread's namespace; throws if it fails.
void ip(const std::string& arguments);

/// Does the same for many lines of arguments at once.
void ipBatch(const std::string& lines);

/// Waits until the kernel reports the carriers of the calling thread's network as they are.
void waitForCarriers();

}  // namespace tarvinel::test

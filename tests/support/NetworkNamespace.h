#pragma once

#include <functional>
#include <string>

namespace tarvinel::test {

/// Runs `steps` in a network of its own, with nothing in it but a loopback interface that is up:
/// on a thread of its own, since each thread has its network. False when that needs root.
bool inNetworkNamespace(const std::function<void()>& steps);

/// Runs ip(8) with such arguments in the network of the calling thread; throws when it fails.
void ip(const std::string& arguments);

/// The same for many lines of arguments at once.
void ipBatch(const std::string& lines);

/// Waits until the kernel reports the carriers of the calling thread's network as they are.
void waitForCarriers();

}  // namespace tarvinel::test

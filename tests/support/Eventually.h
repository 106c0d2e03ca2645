#pragma once

#include <chrono>
#include <thread>

namespace tarvinel::test {

/// Waits until `condition` holds; returns false if it does not within a minute, which is far beyond
/// what any machine needs.
template <class Condition>
bool eventually(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace tarvinel::test

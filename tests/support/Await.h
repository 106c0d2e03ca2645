#pragma once

#include "core/support/Result.h"

#include <future>
#include <memory>
#include <utility>

namespace tarvinel::test {

/// Runs an asynchronous operation, given as a function that takes its completion, and returns its
/// outcome. Must not be called on the queue on which it completes.
template <class T, class Operation>
Result<T> await(Operation operation) {
  auto promise = std::make_shared<std::promise<Result<T>>>();
  auto outcome = promise->get_future();
  operation([promise](Result<T> result) { promise->set_value(std::move(result)); });
  return outcome.get();
}

}  // namespace tarvinel::test

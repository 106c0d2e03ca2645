#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace tarvinel {

/// Returns the text of an error as shown to people: what() of a std::exception.
std::string describe(const std::exception_ptr& error);

/// Returns the error if it is an `Error` or derived from one, else nullopt; also for null. Errors
/// are inspected only here: C++20 has no other way than to throw and catch them.
template <class Error>
std::optional<Error> errorAs(const std::exception_ptr& error) {
  if (!error) return std::nullopt;
  try {
    std::rethrow_exception(error);
  } catch (const Error& match) {
    return match;
  } catch (...) {
    return std::nullopt;
  }
}

/// The outcome of an asynchronous operation: a value or the error that prevented it. Errors cross
/// queues inside a Result and are never thrown there.
template <class T>
class Result {
 public:
  Result(T value) : state_(std::move(value)) {}                           // NOLINT(*-explicit-*)
  Result(std::exception_ptr error) : state_(shared(std::move(error))) {}  // NOLINT(*-explicit-*)

  bool ok() const { return std::holds_alternative<T>(state_); }

  /// Returns the value; rethrows the error if there is none.
  const T& value() const& {
    rethrowIfFailed();
    return std::get<T>(state_);
  }
  T&& value() && {
    rethrowIfFailed();
    return std::get<T>(std::move(state_));
  }

  /// Returns the error without throwing it, or null if ok; see errorAs.
  std::exception_ptr error() const { return ok() ? nullptr : *std::get<SharedError>(state_); }

 private:
  // libstdc++ counts the owners of an exception inside the library, where the thread sanitizer does
  // not see it: threads share the exception through a pointer whose count it does see.
  using SharedError = std::shared_ptr<const std::exception_ptr>;

  static SharedError shared(std::exception_ptr error) {
    return std::make_shared<const std::exception_ptr>(std::move(error));
  }

  void rethrowIfFailed() const {
    if (!ok()) std::rethrow_exception(*std::get<SharedError>(state_));
  }

  std::variant<T, SharedError> state_;
};

template <>
class Result<void> {
 public:
  Result() : outcome_(std::monostate{}) {}
  Result(std::exception_ptr error) : outcome_(std::move(error)) {}  // NOLINT(*-explicit-*)

  bool ok() const { return outcome_.ok(); }
  void value() const { outcome_.value(); }
  std::exception_ptr error() const { return outcome_.error(); }

 private:
  Result<std::monostate> outcome_;
};

/// Returns what `operation` returns, or the error that it throws.
template <class Operation>
auto resultOf(Operation&& operation) -> Result<std::invoke_result_t<Operation>> {
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Operation>>) {
      std::forward<Operation>(operation)();
      return {};
    } else {
      return std::forward<Operation>(operation)();
    }
  } catch (...) {
    return std::current_exception();
  }
}

/// Called exactly once with the outcome of an asynchronous operation, on the queue that the
/// operation's comment names.
template <class T>
using Completion = std::function<void(Result<T>)>;

}  // namespace tarvinel

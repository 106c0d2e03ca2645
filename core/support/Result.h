#pragma once

#include <exception>
#include <functional>
#include <string>
#include <utility>
#include <variant>

namespace tarvinel {

/// The text of an error as shown to people: what() of a std::exception.
std::string describe(const std::exception_ptr& error);

/// What an asynchronous operation delivers: a value or the error that prevented it. Errors cross
/// queues inside a Result and are never thrown there.
template <class T>
class Result {
 public:
  Result(T value) : state_(std::move(value)) {}                      // NOLINT(*-explicit-*)
  Result(std::exception_ptr error) : state_(std::move(error)) {}     // NOLINT(*-explicit-*)

  bool ok() const { return std::holds_alternative<T>(state_); }

  /// The value; rethrows the error when there is none.
  const T& value() const& {
    rethrowIfFailed();
    return std::get<T>(state_);
  }
  T&& value() && {
    rethrowIfFailed();
    return std::get<T>(std::move(state_));
  }

  /// Null when ok.
  std::exception_ptr error() const {
    return ok() ? nullptr : std::get<std::exception_ptr>(state_);
  }

 private:
  void rethrowIfFailed() const {
    if (!ok()) std::rethrow_exception(std::get<std::exception_ptr>(state_));
  }

  std::variant<T, std::exception_ptr> state_;
};

template <>
class Result<void> {
 public:
  Result() = default;
  Result(std::exception_ptr error) : error_(std::move(error)) {}  // NOLINT(*-explicit-*)

  bool ok() const { return error_ == nullptr; }
  void value() const {
    if (error_) std::rethrow_exception(error_);
  }
  std::exception_ptr error() const { return error_; }

 private:
  std::exception_ptr error_;
};

/// Called exactly once with the outcome of an asynchronous operation, on the queue that the
/// operation's comment names.
template <class T>
using Completion = std::function<void(Result<T>)>;

}  // namespace tarvinel

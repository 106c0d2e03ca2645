#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace tarvinel::test {

/// Sets an environment variable for as long as it exists. Must not be used while other threads read
/// the environment.
class EnvironmentVariable {
 public:
  EnvironmentVariable(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* before = std::getenv(name_.c_str())) before_ = before;
    ::setenv(name_.c_str(), value.c_str(), 1);
  }
  ~EnvironmentVariable() {
    if (before_) {
      ::setenv(name_.c_str(), before_->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  const std::string name_;
  std::optional<std::string> before_;
};

}  // namespace tarvinel::test

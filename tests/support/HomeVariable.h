#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel::test {

/// Sets $HOME for as long as it lives; not while other threads look at the environment.
class HomeVariable {
 public:
  explicit HomeVariable(const std::filesystem::path& home) {
    if (const char* value = std::getenv("HOME")) before_ = value;
    ::setenv("HOME", home.c_str(), 1);
  }
  ~HomeVariable() {
    if (before_) {
      ::setenv("HOME", before_->c_str(), 1);
    } else {
      ::unsetenv("HOME");
    }
  }
  HomeVariable(const HomeVariable&) = delete;
  HomeVariable& operator=(const HomeVariable&) = delete;

 private:
  std::optional<std::string> before_;
};

}  // namespace tarvinel::test

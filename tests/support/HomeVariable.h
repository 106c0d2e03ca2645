#pragma once

#include "tests/support/EnvironmentVariable.h"

#include <filesystem>

namespace tarvinel::test {

/// Sets $HOME for as long as it exists. Must not be used while other threads read the environment.
class HomeVariable : public EnvironmentVariable {
 public:
  explicit HomeVariable(const std::filesystem::path& home)
      : EnvironmentVariable("HOME", home.string()) {}
};

}  // namespace tarvinel::test

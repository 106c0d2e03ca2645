#pragma once

#include "tests/support/TemporaryFolder.h"

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <string>

namespace tarvinel::test {

/// During its lifetime this shell script is the only program that can be found.
class FakeProgram {
 public:
  FakeProgram(const std::string& name, const std::string& script) {
    const auto program = folder_.write(name, "#!/bin/sh\nPATH=/usr/bin:/bin\n" + script);
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    qputenv("PATH", QByteArray::fromStdString(folder_.path().string()));
  }
  ~FakeProgram() { qputenv("PATH", path_); }
  FakeProgram(const FakeProgram&) = delete;
  FakeProgram& operator=(const FakeProgram&) = delete;

  /// Returns the content of the file that the script names "$0.out"; empty until the file exists.
  std::string output(const std::string& name) const {
    const auto file = folder_ / (name + ".out");
    return std::filesystem::exists(file) ? contentOf(file) : "";
  }

 private:
  const QByteArray path_ = qgetenv("PATH");
  const TemporaryFolder folder_;
};

}  // namespace tarvinel::test

#pragma once

#include <unistd.h>

#include <stdexcept>

namespace tarvinel::test {

/// Makes root an ordinary user while it exists, so that file permissions apply.
class OrdinaryUser {
 public:
  OrdinaryUser() {
    constexpr uid_t nobody = 65534;
    if (wasRoot_ && ::seteuid(nobody) != 0) throw std::runtime_error("cannot become nobody");
  }
  ~OrdinaryUser() {
    if (wasRoot_ && ::seteuid(0) != 0) _exit(1);
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  const bool wasRoot_ = ::geteuid() == 0;
};

}  // namespace tarvinel::test

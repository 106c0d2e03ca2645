#include "core/support/HangUp.h"

#include <csignal>

namespace tarvinel {

bool endsWithItsTerminal() {
  struct sigaction handling{};
  return sigaction(SIGHUP, nullptr, &handling) == 0 && handling.sa_handler != SIG_IGN;
}

}  // namespace tarvinel

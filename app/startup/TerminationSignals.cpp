#include "app/startup/TerminationSignals.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace tarvinel {

TerminationSignals::TerminationSignals(std::function<void()> caught) {
  if (endsWithItsTerminal()) signals_.add(SIGHUP);
  signals_.async_wait([this, caught = std::move(caught)](std::error_code cancelled, int) {
    if (cancelled) return;
    std::error_code ignored;
    signals_.clear(ignored);
    caught();
  });
}

TerminationSignals::~TerminationSignals() {
  queue_.stop();
}

bool endsWithItsTerminal() {
  struct sigaction handling{};
  return sigaction(SIGHUP, nullptr, &handling) == 0 && handling.sa_handler != SIG_IGN;
}

}  // namespace tarvinel

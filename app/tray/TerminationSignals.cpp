#include "app/tray/TerminationSignals.h"

#include "core/support/HangUp.h"

#include <csignal>
#include <utility>

namespace tarvinel {

TerminationSignals::TerminationSignals(std::function<void()> caught) {
  if (endsWithItsTerminal()) signals_.add(SIGHUP);
  signals_.async_wait([caught = std::move(caught)](std::error_code cancelled, int) {
    if (!cancelled) caught();
  });
}

TerminationSignals::~TerminationSignals() {
  queue_.stop();
}

}  // namespace tarvinel

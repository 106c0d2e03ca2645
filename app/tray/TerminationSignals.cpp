#include "app/tray/TerminationSignals.h"

#include <utility>

namespace tarvinel {

TerminationSignals::TerminationSignals(std::function<void()> caught) {
  signals_.async_wait([caught = std::move(caught)](std::error_code cancelled, int) {
    if (!cancelled) caught();
  });
}

TerminationSignals::~TerminationSignals() {
  queue_.stop();
}

}  // namespace tarvinel

#include "app/terminal/TerminalDesktop.h"

#include "core/support/Result.h"

#include <cstdlib>

namespace tarvinel {

void TerminalDesktop::keepAwake(bool awake) {
  suspension_.reset();
  const char* display = std::getenv("DISPLAY");
  if (!awake || display == nullptr) return;
  // a server that cannot be reached blanks its screen when it likes
  (void)resultOf([&] { suspension_ = std::make_unique<x11::ScreenSaverSuspension>(display); });
}

}  // namespace tarvinel

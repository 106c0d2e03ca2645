#include "app/x11/TraySelection.h"

#include "app/x11/Connection.h"

namespace tarvinel::x11 {

std::string traySelection(const char* display) {
  char* host = nullptr;
  int number = 0;
  int screen = 0;
  if (xcb_parse_display(display, &host, &number, &screen) == 0) screen = 0;
  const XcbPtr<char> hostOwner(host);
  return "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
}

}  // namespace tarvinel::x11

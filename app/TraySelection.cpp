#include "app/TraySelection.h"

#include "app/capture/x11/X11Connection.h"

namespace tarvinel {

std::string traySelection(const char* display) {
  char* host = nullptr;
  int number = 0;
  int screen = 0;
  if (xcb_parse_display(display, &host, &number, &screen) == 0) screen = 0;
  const XcbPtr<char> hostOwner(host);
  return "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
}

}  // namespace tarvinel

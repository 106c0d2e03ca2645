#include "app/capture/x11/X11Error.h"

namespace tarvinel {

X11Error X11Error::refused(std::uint8_t code) {
  X11Error error(Case::requestRefused,
                 "the X server refused a request (error " + std::to_string(code) + ")");
  error.code_ = code;
  return error;
}

X11Error X11Error::cannotConnect(const std::string& display) {
  return {Case::cannotConnect, "cannot connect to the X server " + display};
}

X11Error X11Error::notAnswering() {
  return {Case::notAnswering, "the X server does not answer"};
}

X11Error X11Error::connectionLost() {
  return {Case::connectionLost, "the connection to the X server was lost"};
}

X11Error X11Error::malformedReply() {
  return {Case::malformedReply, "the X server sent a malformed reply"};
}

X11Error X11Error::windowTooLarge() {
  return {Case::windowTooLarge, "the window is too large to be shared"};
}

X11Error X11Error::outOfMemory() {
  return {Case::outOfMemory, "there is not enough memory for a picture of the display"};
}

}  // namespace tarvinel

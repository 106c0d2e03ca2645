#include "app/x11/Error.h"

namespace tarvinel::x11 {

Error Error::refused(std::uint8_t code) {
  Error error(Case::requestRefused,
              "the X server refused a request (error " + std::to_string(code) + ")");
  error.code_ = code;
  return error;
}

Error Error::cannotConnect(const std::string& display) {
  return {Case::cannotConnect, "cannot connect to the X server " + display};
}

Error Error::notResponding() {
  return {Case::notResponding, "the X server does not answer"};
}

Error Error::connectionLost() {
  return {Case::connectionLost, "the connection to the X server was lost"};
}

Error Error::malformedReply() {
  return {Case::malformedReply, "the X server sent a malformed reply"};
}

Error Error::windowTooLarge() {
  return {Case::windowTooLarge, "the window is too large to be shared"};
}

Error Error::outOfMemory() {
  return {Case::outOfMemory, "there is not enough memory for a picture of the display"};
}

}  // namespace tarvinel::x11

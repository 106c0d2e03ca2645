#include "app/capture/x11/windows/IconicState.h"

namespace tarvinel::x11 {

bool isIconic(const std::optional<Property>& state) {
  constexpr std::uint32_t iconicState = 3;
  return firstNumber(state) == iconicState;
}

}  // namespace tarvinel::x11

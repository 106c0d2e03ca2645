#include "app/capture/x11/X11IconicState.h"

namespace tarvinel {

bool isIconic(const std::optional<X11Property>& state) {
  constexpr std::uint32_t iconicState = 3;
  return firstNumber(state) == iconicState;
}

}  // namespace tarvinel

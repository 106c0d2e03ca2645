#include "app/capture/x11/X11Workspace.h"

namespace tarvinel {

namespace {

std::optional<std::uint32_t> numberIn(const std::optional<X11Property>& property) {
  const auto numbers = property ? property->numbers() : std::vector<std::uint32_t>{};
  return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

}  // namespace

bool isOnAnotherWorkspace(const std::optional<X11Property>& own,
                          const std::optional<X11Property>& shown) {
  constexpr std::uint32_t all = 0xFFFFFFFF;
  const auto workspace = numberIn(own);
  const auto current = numberIn(shown);
  return workspace && current && *workspace != all && *workspace != *current;
}

}  // namespace tarvinel

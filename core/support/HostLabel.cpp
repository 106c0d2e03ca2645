#include "core/support/HostLabel.h"

#include <algorithm>

namespace tarvinel {

namespace {

constexpr std::size_t maxLabelBytes = 63;

bool isLabelByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

}  // namespace

bool isValidHostLabel(std::string_view label) {
  if (label.empty() || label.size() > maxLabelBytes) return false;
  if (label.front() == '-' || label.back() == '-') return false;
  return std::ranges::all_of(label, isLabelByte);
}

}  // namespace tarvinel

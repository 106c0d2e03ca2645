#include "core/support/HostLabel.h"

#include <algorithm>

namespace tarvinel {

namespace {

constexpr std::size_t maxLabelBytes = 63;
constexpr std::size_t maxNameBytes = 253;

bool isLabelByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

}  // namespace

bool isValidHostLabel(std::string_view label) {
  if (label.empty() || label.size() > maxLabelBytes) return false;
  if (label.front() == '-' || label.back() == '-') return false;
  return std::ranges::all_of(label, isLabelByte);
}

bool isValidHostName(std::string_view name) {
  if (name.size() > maxNameBytes) return false;
  auto end = name.find('.');
  for (; end != std::string_view::npos; end = name.find('.')) {
    if (!isValidHostLabel(name.substr(0, end))) return false;
    name.remove_prefix(end + 1);
  }
  return isValidHostLabel(name);
}

}  // namespace tarvinel

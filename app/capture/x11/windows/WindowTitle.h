#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvinel::x11 {

/// How a window's owner has written its title down.
enum class TitleEncoding : std::uint8_t { utf8, latin1, compound };

/// A title as it can be shown in one line: UTF-8, what is malformed replaced, control characters
/// and those that turn the direction of writing taken out, blanks joined, at most 200 characters
/// and an ellipsis. Pure.
std::string windowTitle(std::string_view bytes, TitleEncoding encoding);

}  // namespace tarvinel::x11

#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace tarvinel {

/// Replaces every "{{name}}" of a page template by the value given for it. Values are inserted as
/// they are and not searched again. A name without a value stops the program: templates are built
/// in.
std::string filledTemplate(
    std::string_view page,
    std::initializer_list<std::pair<std::string_view, std::string_view>> values);

}  // namespace tarvinel

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace meshctl::web {

/// Whether a request for the path is one for an order.
bool is_order(std::string_view path);

/// The value of an argument of a request; nothing if it is missing.
using Argument = std::function<std::optional<std::string>(const char* name)>;

/// The controller's command for a request, word by word. The words are of letters, digits and colons. Throws
/// std::invalid_argument, for users, if an argument is missing or malformed.
std::vector<std::string> order_words(std::string_view path, const Argument& argument);

}  // namespace meshctl::web

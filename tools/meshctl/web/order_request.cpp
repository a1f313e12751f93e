#include "tools/meshctl/web/order_request.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "qel/core/mac_address.h"
#include "tools/command_line.h"

namespace meshctl::web {

namespace {

constexpr std::string_view STEER = "/steer";
constexpr std::string_view CHANNEL = "/channel";

[[noreturn]] void refuse(const char* name, const char* form) {
  throw std::invalid_argument(std::string("The argument \"") + name + "\" must be " + form + '.');
}

std::string address(const Argument& argument, const char* name) {
  qel::MACAddress address;
  if (!address.parse_string(argument(name).value_or(""))) {
    refuse(name, "a MAC address");
  }
  return address.to_string();
}

std::string number(const Argument& argument, const char* name) {
  const auto number = tools::parse_number<unsigned int>(argument(name).value_or(""));
  if (!number || *number < 1 || *number > 255) {
    refuse(name, "a number from 1 to 255");
  }
  return std::to_string(*number);
}

std::string width(const Argument& argument, const char* name) {
  constexpr std::array<std::string_view, 4> WIDTHS{"20", "40", "80", "160"};
  std::string width = argument(name).value_or("");
  if (std::ranges::find(WIDTHS, width) == WIDTHS.end()) {
    refuse(name, "20, 40, 80 or 160");
  }
  return width;
}

bool flag(const Argument& argument, const char* name) {
  const std::optional<std::string> value = argument(name);
  if (value && *value != "1") {
    refuse(name, "1, or missing");
  }
  return value.has_value();
}

}  // namespace

bool is_order(std::string_view path) { return path == STEER || path == CHANNEL; }

std::vector<std::string> order_words(std::string_view path, const Argument& argument) {
  if (path == CHANNEL) {
    return {"CHANNEL", address(argument, "radio"), number(argument, "channel"), width(argument, "width")};
  }
  std::vector<std::string> words{"STEER", address(argument, "client"), address(argument, "bssid")};
  if (flag(argument, "open")) {
    words.emplace_back("OPEN");
  }
  return words;
}

}  // namespace meshctl::web

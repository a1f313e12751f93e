#include "platform/linux/bus.h"

#include <stdlib.h>
#include <time.h>

#include <algorithm>

namespace qel::platform {

namespace {

constexpr std::size_t BUS_NAME_MAX = 255;

const char* bus_address() {
  for (const char* variable : {"QELIPC_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
    const char* address = getenv(variable);
    if (address != nullptr && *address != '\0') {
      return address;
    }
  }
  return "unix:path=/run/dbus/system_bus_socket";
}

// Size of the well-formed UTF-8 sequence at the start of the text (Unicode, table 3-7), or 0. NUL does not count as
// well-formed here.
std::size_t sequence_length(std::string_view text) {
  const auto octet = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
  const auto within = [&](std::size_t i, unsigned low, unsigned high) { return octet(i) >= low && octet(i) <= high; };
  const unsigned first = octet(0);
  if (first >= 0x01 && first <= 0x7f) {
    return 1;
  }
  if (first >= 0xc2 && first <= 0xdf) {
    return within(1, 0x80, 0xbf) ? 2 : 0;
  }
  if (first >= 0xe0 && first <= 0xef) {
    const bool second = within(1, first == 0xe0 ? 0xa0 : 0x80, first == 0xed ? 0x9f : 0xbf);
    return second && within(2, 0x80, 0xbf) ? 3 : 0;
  }
  if (first >= 0xf0 && first <= 0xf4) {
    const bool second = within(1, first == 0xf0 ? 0x90 : 0x80, first == 0xf4 ? 0x8f : 0xbf);
    return second && within(2, 0x80, 0xbf) && within(3, 0x80, 0xbf) ? 4 : 0;
  }
  return 0;
}

}  // namespace

int connect_to_bus(Bus& bus, std::uint64_t call_timeout_us) {
  sd_bus* created = nullptr;
  int result = sd_bus_new(&created);
  if (result < 0) {
    return result;
  }
  Bus connecting(created);
  if ((result = sd_bus_set_address(created, bus_address())) < 0 || (result = sd_bus_set_bus_client(created, 1)) < 0 ||
      (result = sd_bus_set_method_call_timeout(created, call_timeout_us)) < 0 || (result = sd_bus_start(created)) < 0) {
    return result;
  }
  bus = std::move(connecting);
  return 0;
}

std::uint64_t now_us() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

std::uint64_t time_left_us(std::uint64_t until_us) {
  const std::uint64_t now = now_us();
  return until_us > now ? until_us - now : 1;
}

int wait_for_bus(sd_bus* bus, std::uint64_t until_us) {
  int result = 0;
  while (result >= 0 && (result = sd_bus_is_ready(bus)) == 0) {
    if (now_us() >= until_us) {
      return -ETIMEDOUT;
    }
    result = sd_bus_process(bus, nullptr);
    if (result == 0) {
      result = sd_bus_wait(bus, time_left_us(until_us));
      result = result == -EINTR ? 0 : result;
    }
  }
  return std::min(result, 0);
}

BusPlace place_of(const char* endpoint) {
  char* encoded = nullptr;
  if (sd_bus_path_encode(PATH_PREFIX, endpoint, &encoded) < 0) {
    throw std::bad_alloc();
  }
  BusPlace place;
  place.path = encoded;
  free(encoded);
  place.label = place.path.substr(sizeof PATH_PREFIX);  // sizeof counts the NUL in place of the slash
  if (sizeof BUS_NAME_PREFIX - 1 + place.label.size() <= BUS_NAME_MAX) {
    place.bus_name = BUS_NAME_PREFIX + place.label;
  }
  return place;
}

std::string unescape(const char* label) {
  char* decoded = nullptr;
  const std::string path = std::string(PATH_PREFIX) + "/" + label;
  if (sd_bus_path_decode(path.c_str(), PATH_PREFIX, &decoded) <= 0) {
    return label;
  }
  std::string name(decoded);
  free(decoded);
  return name;
}

int to_errno(const sd_bus_error& error, int result) {
  if (sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) ||
      sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN)) {
    return -ENXIO;
  }
  if (sd_bus_error_has_name(&error, SD_BUS_ERROR_NO_REPLY)) {
    return -ETIMEDOUT;
  }
  return result;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = sequence_length(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

std::string to_utf8(std::string text) {
  if (is_utf8(text)) {
    return text;
  }
  std::string clean;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t length = sequence_length(rest);
    if (length == 0) {
      clean += "\xef\xbf\xbd";
    } else {
      clean += rest.substr(0, length);
    }
    rest.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return clean;
}

}  // namespace qel::platform

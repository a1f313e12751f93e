#include "tools/meshctl/web/listen_address.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace meshctl::web {

namespace {

constexpr std::string_view DIGITS = "0123456789";
constexpr int BACKLOG = 64;

struct HostAndPort {
  std::string host;  ///< without brackets
  std::string port;  ///< empty if there is none
};

/// Splits "HOST", "HOST:PORT" and the same with an IPv6 address in brackets. A wrong text has an empty host.
HostAndPort split(const std::string& text) {
  const bool is_bracketed = text.starts_with('[');
  const std::size_t end = is_bracketed ? text.find(']') : text.find(':');
  if (is_bracketed && end == std::string::npos) {
    return {};
  }
  const std::string host = is_bracketed ? text.substr(1, end - 1) : text.substr(0, end);
  const std::string rest = end == std::string::npos ? "" : text.substr(is_bracketed ? end + 1 : end);
  if (is_bracketed != (host.find(':') != std::string::npos) || (!rest.empty() && !rest.starts_with(':'))) {
    return {};
  }
  const std::string port = rest.empty() ? "" : rest.substr(1);
  return port.find_first_not_of(DIGITS) == std::string::npos ? HostAndPort{host, port} : HostAndPort{};
}

bool is_localhost(const std::string& host) {
  return std::ranges::equal(host, std::string_view("localhost"), {}, [](char c) { return c | 0x20; });
}

bool is_ip_address(const std::string& host) {
  in6_addr address{};
  return inet_pton(AF_INET, host.c_str(), &address) == 1 || inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

struct FreeAddress {
  void operator()(addrinfo* address) const { freeaddrinfo(address); }
};

}  // namespace

qel::FileDescriptor listen_on(const std::string& address) {
  const HostAndPort parts = split(address);
  const std::string host = is_localhost(parts.host) ? "127.0.0.1" : parts.host;
  if (!is_ip_address(host) || parts.port.empty() || parts.port.size() > 5 || std::stoi(parts.port) > 65535) {
    throw std::invalid_argument("--listen needs ADDRESS:PORT, such as 127.0.0.1:1905 or [::1]:1905, not '" + address +
                                "'");
  }
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int result = getaddrinfo(host.c_str(), parts.port.c_str(), &hints, &found);
  const std::unique_ptr<addrinfo, FreeAddress> owner(found);
  const auto fail = [&address](const char* reason) -> std::runtime_error {
    return std::runtime_error("cannot listen on " + address + ": " + reason);
  };
  if (result != 0) {
    throw fail(gai_strerror(result));
  }
  qel::FileDescriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int yes = 1;
  if (socket.get() < 0 || setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
      bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 || listen(socket.get(), BACKLOG) != 0) {
    throw fail(std::strerror(errno));
  }
  return socket;
}

std::string url_of(const qel::FileDescriptor& socket) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (getsockname(socket.get(), generic, &size) != 0 ||
      getnameinfo(generic, size, host.data(), host.size(), port.data(), port.size(), NI_NUMERICHOST | NI_NUMERICSERV) !=
          0) {
    throw std::runtime_error("cannot tell the address of the page");
  }
  const std::string name = host.data();
  return "http://" + (address.ss_family == AF_INET6 ? "[" + name + "]" : name) + ":" + port.data() + "/";
}

bool is_own_host(const std::string& host) {
  const std::string name = split(host).host;
  return is_localhost(name) || is_ip_address(name);
}

}  // namespace meshctl::web

#pragma once

#include <string>

#include "qel/net/file_descriptor.h"

namespace meshctl::web {

/// Listens on "ADDRESS:PORT": an IPv4 address, an IPv6 address in brackets, or localhost; port 0 stands for any free
/// one. Throws std::invalid_argument if the text is none of these, and std::runtime_error if listening fails.
qel::FileDescriptor listen_on(const std::string& address);

/// The address of a page on a listening socket, such as "http://127.0.0.1:1905/".
std::string url_of(const qel::FileDescriptor& socket);

/// Whether the value of a Host header is an IP address or localhost, with or without a port. A page from elsewhere
/// whose name was bound to this machine's address sends its own name (DNS rebinding).
bool is_own_host(const std::string& host);

}  // namespace meshctl::web

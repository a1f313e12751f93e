#pragma once

#include <string>

#include "qel/net/file_descriptor.h"

namespace qel::test {

/// Moves this process, which must have one thread only, into an empty network namespace of its own for the rest of its
/// life; without the privilege for it into a user namespace too. Returns why that failed, or an empty text. Only the
/// first call does anything, the others repeat its result.
const std::string& enter_private_network();

/// The functions below throw std::runtime_error.

/// Makes two Ethernet interfaces, joined by a cable and up.
void add_veth_pair(const std::string& name, const std::string& peer);

/// Removes an interface, and the other end of its cable with it.
void remove_interface(const std::string& name);

/// Sets the flags `set` of an interface and clears the flags `cleared`.
void change_interface_flags(const std::string& name, unsigned int set, unsigned int cleared);
unsigned int interface_flags(const std::string& name);

/// A packet socket for the frames of one ethertype, given in host order, on an interface.
FileDescriptor open_packet_socket(const std::string& interface, unsigned short ethertype);

}  // namespace qel::test

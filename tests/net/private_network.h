#pragma once

#include <string>

#include "qel/net/file_descriptor.h"

namespace qel::test {

/// Moves this process, which must be single-threaded, into an empty network namespace of its own for the rest of its
/// life; without the privilege for it, also into a user namespace. Returns an empty text, or the reason for a failure.
/// Only the first call has an effect; later calls return its result.
const std::string& enter_private_network();

/// Runs ip(8) with the arguments. Throws std::runtime_error if it fails.
void ip(const std::string& arguments);
/// Creates two Ethernet interfaces that are joined by a cable and up.
void add_veth_pair(const std::string& name, const std::string& peer);
/// Removes an interface and the other end of its cable.
void remove_interface(const std::string& name);

/// Opens a packet socket for the frames of one ethertype (in host order) on an interface. Throws std::system_error.
FileDescriptor open_packet_socket(const std::string& interface, unsigned short ethertype);

/// Returns the number that the next descriptor will get; it is the same twice if nothing was left open in between.
int next_descriptor();

}  // namespace qel::test

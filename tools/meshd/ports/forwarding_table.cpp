#include "tools/meshd/ports/forwarding_table.h"

#include <linux/neighbour.h>
#include <sys/socket.h>

#include <algorithm>

namespace meshd {

namespace {

using netlink::Octets;

void set_bridge_address(unsigned short type, unsigned short flags, unsigned int bridge,
                        const qel::MACAddress& address) {
  ndmsg entry{};
  entry.ndm_family = AF_BRIDGE;
  entry.ndm_ifindex = static_cast<int>(bridge);
  entry.ndm_state = NUD_PERMANENT;
  entry.ndm_flags = NTF_SELF;
  netlink::Request request(type, static_cast<unsigned short>(flags | NLM_F_ACK), entry);
  request.add(NDA_LLADDR, address.octets());
  netlink::Socket(0).run(request);
}

}  // namespace

void add_bridge_address(unsigned int bridge, const qel::MACAddress& address) {
  set_bridge_address(RTM_NEWNEIGH, NLM_F_CREATE | NLM_F_REPLACE, bridge, address);
}

void remove_bridge_address(unsigned int bridge, const qel::MACAddress& address) {
  set_bridge_address(RTM_DELNEIGH, 0, bridge, address);
}

const std::vector<qel::MACAddress>& ForwardingTable::hosts(unsigned int port) {
  const auto now = std::chrono::steady_clock::now();
  if (!read_at_ || now - *read_at_ >= std::chrono::seconds(1)) {
    read_at_ = now;
    read();
  }
  return hosts_[port];
}

void ForwardingTable::read() {
  hosts_.clear();
  ndmsg everything{};
  everything.ndm_family = AF_BRIDGE;
  netlink::Socket socket(0);  // its destruction discards what we do not read
  socket.send(netlink::Request(RTM_GETNEIGH, NLM_F_DUMP, everything));
  std::size_t count = 0;
  bool has_ended = false;
  while (!has_ended && count < MOST_ADDRESSES) {
    socket.receive(true, [&](const nlmsghdr& header, Octets message) {
      if (header.nlmsg_type != RTM_NEWNEIGH) {
        has_ended = true;
        return;
      }
      const auto entry = netlink::value_of<ndmsg>(message);
      bool is_of_bridge = false;  // and not one of the interface's own filters
      qel::MACAddress address;
      netlink::for_each_attribute(netlink::attributes_behind<ndmsg>(message), [&](int type, Octets value) {
        if (type == NDA_LLADDR) {
          address = netlink::value_of<qel::MACAddress>(value);
        }
        is_of_bridge = is_of_bridge || type == NDA_MASTER;
      });
      ++count;
      // The machine's own addresses are permanent; stale ones are about to be forgotten by the bridge.
      if (is_of_bridge && (entry.ndm_state & (NUD_REACHABLE | NUD_NOARP)) != 0) {
        hosts_[static_cast<unsigned int>(entry.ndm_ifindex)].push_back(address);
      }
    });
  }
  for (auto& [port, addresses] : hosts_) {  // an address is listed once for each VLAN
    std::sort(addresses.begin(), addresses.end());
    addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
  }
}

}  // namespace meshd

#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tools/meshdump/captured_frame.h"

struct pcap;
struct pcap_pkthdr;

/// Shared by reading from files and from interfaces with libpcap.
namespace meshdump {

struct PcapCloser {
  void operator()(pcap* capture) const;
};
using Pcap = std::unique_ptr<pcap, PcapCloser>;

/// Throws std::runtime_error with the name of an unsupported link type.
LinkType link_type_of(pcap* capture);

/// Restricts the capture to frames that match a libpcap filter. Throws std::runtime_error if the expression is invalid.
void set_filter(pcap* capture, const std::string& expression);

CapturedFrame captured_frame(const pcap_pkthdr& header, const unsigned char* octets, LinkType link_type,
                             std::string_view origin, std::size_t number);

}  // namespace meshdump

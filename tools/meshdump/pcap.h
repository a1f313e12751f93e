#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tools/meshdump/captured_frame.h"

struct pcap;
struct pcap_pkthdr;

/// What reading files and interfaces with libpcap has in common.
namespace meshdump {

struct PcapCloser {
  void operator()(pcap* capture) const;
};
using Pcap = std::unique_ptr<pcap, PcapCloser>;

/// Throws std::runtime_error with its name for a link type that is none of ours.
LinkType link_type_of(pcap* capture);

/// Has the capture give only the frames that a filter of libpcap lets through. Throws std::runtime_error for an
/// expression that libpcap refuses.
void set_filter(pcap* capture, const std::string& expression);

CapturedFrame captured_frame(const pcap_pkthdr& header, const unsigned char* octets, LinkType link_type,
                             std::string_view origin, std::size_t number);

}  // namespace meshdump

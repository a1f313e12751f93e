#include "tools/meshdump/pcap.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace meshdump {

namespace {

/// A damaged file may contain any time. It is limited to the seconds that a pcap file can express, so that even the
/// difference of two times fits into 64 bits of nanoseconds.
std::chrono::microseconds time_of(const timeval& time) {
  constexpr std::int64_t LIMIT = 1LL << 32U;
  constexpr std::int64_t LAST_MICROSECOND = 999'999;
  return std::chrono::seconds(std::clamp<std::int64_t>(time.tv_sec, -LIMIT, LIMIT)) +
         std::chrono::microseconds(std::clamp<std::int64_t>(time.tv_usec, 0, LAST_MICROSECOND));
}

}  // namespace

void PcapCloser::operator()(pcap* capture) const { pcap_close(capture); }

LinkType link_type_of(pcap* capture) {
  const int link_type = pcap_datalink(capture);
  if (!is_supported(link_type)) {
    const char* name = pcap_datalink_val_to_name(link_type);
    throw std::runtime_error("unsupported link type " +
                             (name != nullptr ? std::string(name) : std::to_string(link_type)) +
                             "; only Ethernet and Linux cooked frames are supported");
  }
  return static_cast<LinkType>(link_type);
}

void set_filter(pcap* capture, const std::string& expression) {
  bpf_program filter{};
  int status = pcap_compile(capture, &filter, expression.c_str(), 1, PCAP_NETMASK_UNKNOWN);
  if (status == 0) {
    status = pcap_setfilter(capture, &filter);
    pcap_freecode(&filter);
  }
  if (status != 0) {
    throw std::runtime_error("filter '" + expression + "': " + pcap_geterr(capture));
  }
}

CapturedFrame captured_frame(const pcap_pkthdr& header, const unsigned char* octets, LinkType link_type,
                             std::string_view origin, std::size_t number) {
  return {time_of(header.ts),
          {octets, header.caplen},
          header.len - std::min(header.caplen, header.len),
          link_type,
          origin,
          number};
}

}  // namespace meshdump

#include "tools/meshdump/capture_file.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <array>

#include "tools/meshdump/input.h"

namespace meshdump {

namespace {

/// A damaged file may hold any time: seconds are confined so that the sum fits, and need not be positive.
std::chrono::microseconds time_of(const timeval& time) {
  constexpr std::int64_t LIMIT = 9'000'000'000'000;
  const std::int64_t seconds = std::clamp<std::int64_t>(time.tv_sec, -LIMIT, LIMIT);
  return std::chrono::seconds(seconds) + std::chrono::microseconds(time.tv_usec);
}

}  // namespace

CaptureFile::CaptureFile(const std::string& path) : path_(path) {
  File file = open_input(path);
  std::array<char, PCAP_ERRBUF_SIZE> error{};
  capture_.reset(pcap_fopen_offline(file.get(), error.data()));
  if (capture_ == nullptr) {
    throw input_error(path, error.data());
  }
  static_cast<void>(file.release());  // the capture closes it from now on
  const int link_type = pcap_datalink(capture_.get());
  if (link_type != DLT_EN10MB) {
    const char* name = pcap_datalink_val_to_name(link_type);
    throw input_error(path, "a capture of link type " +
                                (name != nullptr ? std::string(name) : std::to_string(link_type)) +
                                ", not of Ethernet");
  }
}

void CaptureFile::Closer::operator()(pcap* capture) const { pcap_close(capture); }

std::optional<CapturedFrame> CaptureFile::next() {
  pcap_pkthdr* header = nullptr;
  const u_char* octets = nullptr;
  const int status = pcap_next_ex(capture_.get(), &header, &octets);
  if (status == PCAP_ERROR_BREAK) {
    return std::nullopt;
  }
  if (status != 1) {
    throw input_error(path_, std::string(pcap_geterr(capture_.get())) + " after frame " + std::to_string(count_));
  }
  ++count_;
  return CapturedFrame{
      time_of(header->ts), {octets, header->caplen}, header->len - std::min(header->caplen, header->len)};
}

}  // namespace meshdump

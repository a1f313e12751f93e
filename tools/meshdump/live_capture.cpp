#include "tools/meshdump/live_capture.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <csignal>

#include "tools/meshdump/input.h"

namespace meshdump {

namespace {

/// Each "vlan" looks one tag deeper.
constexpr const char* FILTER = "ether proto 0x893a or (vlan and (ether proto 0x893a or (vlan and ether proto 0x893a)))";
constexpr int WHOLE_FRAMES = 65535;  // octets

pcap_t* active_capture = nullptr;  // for the signal handler

void end_capture(int) { pcap_breakloop(active_capture); }

/// Without SA_RESTART: the wait for a frame is to be interrupted.
void handle_signals(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

LiveCapture::LiveCapture(const std::string& interface) : interface_(interface) {
  std::array<char, PCAP_ERRBUF_SIZE> text{};
  capture_.reset(pcap_create(interface.c_str(), text.data()));
  if (capture_ == nullptr) {
    throw error(text.data());
  }
  check(pcap_set_snaplen(capture_.get(), WHOLE_FRAMES));
  check(pcap_set_promisc(capture_.get(), 1));
  check(pcap_set_immediate_mode(capture_.get(), 1));
  check(pcap_activate(capture_.get()));
  if (pcap_datalink(capture_.get()) != DLT_EN10MB) {
    throw error("not an Ethernet");
  }
  bpf_program filter{};
  check(pcap_compile(capture_.get(), &filter, FILTER, 1, PCAP_NETMASK_UNKNOWN));
  const int status = pcap_setfilter(capture_.get(), &filter);
  pcap_freecode(&filter);
  check(status);
  active_capture = capture_.get();
  handle_signals(end_capture);
}

LiveCapture::~LiveCapture() { handle_signals(SIG_DFL); }

void LiveCapture::Closer::operator()(pcap* capture) const { pcap_close(capture); }

std::optional<CapturedFrame> LiveCapture::next() {
  pcap_pkthdr* header = nullptr;
  const u_char* octets = nullptr;
  int status = 0;
  while ((status = pcap_next_ex(capture_.get(), &header, &octets)) == 0) {
  }
  if (status == PCAP_ERROR_BREAK) {
    return std::nullopt;
  }
  check(status);
  ++count_;
  return CapturedFrame{std::chrono::seconds(header->ts.tv_sec) + std::chrono::microseconds(header->ts.tv_usec),
                       {octets, header->caplen},
                       header->len - std::min(header->caplen, header->len)};
}

InputError LiveCapture::error(const std::string& what) const {
  return InputError("interface " + interface_ + ": " + what);
}

/// Warnings are positive.
void LiveCapture::check(int status) const {
  if (status < 0) {
    const std::string detail = pcap_geterr(capture_.get());
    throw error(detail.empty() || status != PCAP_ERROR
                    ? pcap_statustostr(status) + (detail.empty() ? "" : ": " + detail)
                    : detail);
  }
}

}  // namespace meshdump

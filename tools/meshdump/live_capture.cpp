#include "tools/meshdump/live_capture.h"

#include <pcap/pcap.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace meshdump {

namespace {

/// Each "vlan" looks one tag further; it does not apply to cooked frames.
constexpr const char* FILTER = "ether proto 0x893a or (vlan and (ether proto 0x893a or (vlan and ether proto 0x893a)))";
constexpr const char* COOKED_FILTER = "ether proto 0x893a";
constexpr int WHOLE_FRAMES = 65535;  // octets

/// The signals that end a capture.
sigset_t end_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

InputError error_of(const std::string& interface, const std::string& what) {
  return InputError("interface " + interface + ": " + what);
}

/// Warnings are positive.
void check(const std::string& interface, pcap_t* capture, int status) {
  if (status < 0) {
    const std::string detail = pcap_geterr(capture);
    throw error_of(interface, detail.empty() || status != PCAP_ERROR
                                  ? pcap_statustostr(status) + (detail.empty() ? "" : ": " + detail)
                                  : detail);
  }
}

}  // namespace

LiveCapture::LiveCapture(const std::vector<std::string>& interfaces, const std::string& filter) {
  for (const std::string& interface : interfaces) {
    sources_.push_back(open(interface, filter));
  }
  const sigset_t signals = end_signals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  signals_ = qel::FileDescriptor(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
}

LiveCapture::~LiveCapture() {
  const sigset_t signals = end_signals();
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

LiveCapture::Source LiveCapture::open(const std::string& interface, const std::string& filter) {
  std::array<char, PCAP_ERRBUF_SIZE> text{};
  Source source{interface, Pcap(pcap_create(interface.c_str(), text.data()))};
  pcap_t* capture = source.capture.get();
  if (capture == nullptr) {
    throw error_of(interface, text.data());
  }
  check(interface, capture, pcap_set_snaplen(capture, WHOLE_FRAMES));
  check(interface, capture, pcap_set_promisc(capture, 1));
  check(interface, capture, pcap_set_immediate_mode(capture, 1));
  check(interface, capture, pcap_activate(capture));
  try {
    source.link_type = link_type_of(capture);
    const std::string ours = source.link_type == LinkType::ETHERNET ? FILTER : COOKED_FILTER;
    set_filter(capture, filter.empty() ? ours : "(" + filter + ") and (" + ours + ")");
  } catch (const std::runtime_error& exception) {
    throw error_of(interface, exception.what());
  }
  if (pcap_setnonblock(capture, 1, text.data()) != 0) {
    throw error_of(interface, text.data());
  }
  return source;
}

std::optional<CapturedFrame> LiveCapture::take(Source& source, std::size_t number) {
  pcap_pkthdr* header = nullptr;
  const u_char* octets = nullptr;
  const int status = pcap_next_ex(source.capture.get(), &header, &octets);
  check(source.interface, source.capture.get(), status);
  return status == 1 ? std::optional(captured_frame(*header, octets, source.link_type, source.interface, number))
                     : std::nullopt;
}

std::optional<CapturedFrame> LiveCapture::next() {
  while (!has_ended()) {
    for (std::size_t asked = 0; asked < sources_.size(); ++asked) {
      Source& source = sources_[turn_];
      turn_ = (turn_ + 1) % sources_.size();
      if (std::optional<CapturedFrame> frame = take(source, count_ + 1)) {
        ++count_;
        return frame;
      }
    }
    wait();
  }
  return std::nullopt;
}

bool LiveCapture::has_ended() const {
  signalfd_siginfo signal;
  return read(signals_.get(), &signal, sizeof(signal)) == sizeof(signal);
}

void LiveCapture::wait() const {
  std::vector<pollfd> descriptors{{signals_.get(), POLLIN, 0}};
  for (const Source& source : sources_) {
    descriptors.push_back({pcap_get_selectable_fd(source.capture.get()), POLLIN, 0});
  }
  if (poll(descriptors.data(), descriptors.size(), -1) < 0 && errno != EINTR) {
    throw InputError(std::string("cannot wait for frames: ") + std::strerror(errno));
  }
}

}  // namespace meshdump

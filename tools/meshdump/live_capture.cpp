#include "tools/meshdump/live_capture.h"

#include <pcap/pcap.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "qel/ieee1905_1/cmdu.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::CMDU_ETHERTYPE;

std::string is(std::uint16_t ethertype) { return "ether proto " + std::to_string(ethertype); }

/// In libpcap's filter language: IEEE 1905.1 frames with up to two tags. Each "vlan" looks one tag further, but does
/// not apply to cooked frames: of those it lets all tagged ones through, because the kernel shows the filter either the
/// tag or what follows it, depending on the direction.
std::string filter_for(LinkType link_type) {
  const std::string cmdu = is(CMDU_ETHERTYPE);
  return link_type == LinkType::ETHERNET ? cmdu + " or (vlan and (" + cmdu + " or (vlan and " + cmdu + ")))"
                                         : cmdu + " or " + is(C_TAG_ETHERTYPE) + " or " + is(S_TAG_ETHERTYPE);
}

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
    const std::string meaning = status == PCAP_ERROR && !detail.empty() ? detail : pcap_statustostr(status);
    throw error_of(interface, detail.empty() || detail == meaning ? meaning : meaning + ": " + detail);
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

std::set<LinkType> LiveCapture::link_types() const {
  std::set<LinkType> types;
  for (const Source& source : sources_) {
    types.insert(source.link_type);
  }
  return types;
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
    if (pcap_datalink(capture) == static_cast<int>(LinkType::LINUX_COOKED)) {
      // It records the interface. Where libpcap does not know it, the first version remains.
      static_cast<void>(pcap_set_datalink(capture, static_cast<int>(LinkType::LINUX_COOKED_V2)));
    }
    source.link_type = link_type_of(capture);
    const std::string ours = filter_for(source.link_type);
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

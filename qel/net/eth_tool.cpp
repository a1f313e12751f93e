#include "qel/net/eth_tool.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "qel/net/file_descriptor.h"

namespace qel {

namespace {

/// More than any driver has.
constexpr std::uint32_t MAX_STATISTICS = 65536;

/// A zero-initialised request. The kernel writes as many elements at its end as the driver has at that moment, however
/// much room there is, so the driver must be asked for the number immediately before. There is room for twice as many,
/// in case another process increases the number in between.
template <class Request, class Element>
class RequestFor {
 public:
  explicit RequestFor(std::size_t elements)
      : octets_(sizeof(Request) + 2 * elements * sizeof(Element)), request_(::new (octets_.data()) Request{}) {}

  Request* get() const { return request_; }
  Request* operator->() const { return request_; }

 private:
  std::vector<std::byte> octets_;
  Request* request_;
};

/// Returns 0 if the driver has no statistics, or reports an implausible number.
std::uint32_t count_statistics(const EthTool& tool) {
  const RequestFor<ethtool_sset_info, std::uint32_t> request(1);
  request->cmd = ETHTOOL_GSSET_INFO;
  request->sset_mask = 1ULL << ETH_SS_STATS;
  tool.issue_eth_ioctl(request.get());
  return request->sset_mask == 0 || request->data[0] > MAX_STATISTICS ? 0 : request->data[0];
}

/// The text up to the first NUL, or all of it.
std::string text_of(const std::uint8_t* octets, std::size_t size) {
  return {octets, std::find(octets, octets + size, 0)};
}

}  // namespace

EthTool::EthTool(const InterfaceName& ifname)
    : EthTool(ifname, [](int socket, ifreq& request) { return ::ioctl(socket, SIOCETHTOOL, &request); }) {}

EthTool::EthTool(const InterfaceName& ifname, Ioctl ioctl)
    : ifname_(ifname), ioctl_(std::move(ioctl)), stringset_(get_stringset()) {}

void EthTool::issue_eth_ioctl(void* request) const {
  const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (socket.get() < 0) {
    throw std::runtime_error("Failed to create socket: " + std::string(std::strerror(errno)));
  }
  std::uint32_t command;
  std::memcpy(&command, request, sizeof(command));
  ifreq interface_request{};
  std::copy(ifname_.begin(), ifname_.end(), interface_request.ifr_name);
  interface_request.ifr_data = static_cast<char*>(request);
  if (ioctl_(socket.get(), interface_request) < 0) {
    const std::string reason = std::strerror(errno);
    char digits[8];
    const auto size = static_cast<std::size_t>(std::to_chars(digits, std::end(digits), command, 16).ptr - digits);
    throw std::runtime_error("ioctl for " + text_of(ifname_.data(), ifname_.size()) + " failed: " + reason +
                             " (command 0x" + std::string(digits, size) + ")");
  }
}

bool EthTool::is_link_up() const {
  ethtool_value request{ETHTOOL_GLINK, 0};
  issue_eth_ioctl(&request);
  return request.data != 0;
}

std::vector<std::string> EthTool::get_stringset() const {
  std::vector<std::string> names;
  const std::uint32_t count = count_statistics(*this);
  if (count == 0) {
    return names;
  }
  const RequestFor<ethtool_gstrings, char[ETH_GSTRING_LEN]> request(count);
  request->cmd = ETHTOOL_GSTRINGS;
  request->string_set = ETH_SS_STATS;
  request->len = count;
  issue_eth_ioctl(request.get());
  const std::uint32_t answered = std::min(request->len, count);
  names.reserve(answered);
  for (std::uint32_t i = 0; i < answered; ++i) {
    names.push_back(text_of(request->data + i * std::size_t{ETH_GSTRING_LEN}, ETH_GSTRING_LEN));
  }
  return names;
}

EthTool::ByteCounters EthTool::get_byte_counters() const {
  ByteCounters counters;
  if (stringset_.empty() || count_statistics(*this) != stringset_.size()) {
    return counters;
  }
  const RequestFor<ethtool_stats, std::uint64_t> request(stringset_.size());
  request->cmd = ETHTOOL_GSTATS;
  request->n_stats = static_cast<std::uint32_t>(stringset_.size());
  issue_eth_ioctl(request.get());
  if (request->n_stats != stringset_.size()) {
    return counters;
  }
  const ByteCounter::Timestamp now = ByteCounter::now();
  const auto counter_of = [&](const char* name) {
    const auto found = std::find(stringset_.begin(), stringset_.end(), name);
    return found == stringset_.end() ? ByteCounter() : ByteCounter(request->data[found - stringset_.begin()], now);
  };
  return {counter_of("mac_rx_bytes_good"), counter_of("mac_tx_bytes_good")};
}

}  // namespace qel

#include "tools/meshd/entity/inquirer.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

#include "qel/ieee1905_1/device_identification_tlv.h"
#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"
#include "tools/meshd/entity/messages.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;

/// Copies of all TLVs of the class.
template <class T>
std::vector<T> collect(const Message& message) {
  const auto range = message.all<T>();
  return {range.begin(), range.end()};
}

/// The metrics that a device reports for its links to a neighbour; null if it reports none.
template <class T>
const T* find_metrics(const Message& message, const MACAddress& al_mac, const MACAddress& neighbor) {
  for (const T& tlv : message.all<T>()) {
    if (tlv.get_local_AL_MAC() == al_mac && tlv.get_neighbor_AL_MAC() == neighbor) {
      return &tlv;
    }
  }
  return nullptr;
}

template <class T>
std::vector<T> keep_about(const std::vector<MACAddress>& neighbors, std::vector<T> metrics) {
  std::erase_if(metrics,
                [&](const T& tlv) { return !std::ranges::binary_search(neighbors, tlv.get_neighbor_AL_MAC()); });
  return metrics;
}

std::string text_of(const DeviceIdentificationTypeTLV::Name& name) {
  return {name.begin(), std::ranges::find(name, std::uint8_t{0})};
}

/// The new report replaces the previous one, except for parts that also come in other messages.
ToldByDevice read_topology(const Message& message, const DeviceInformationTLV& information,
                           const ToldByDevice& before) {
  ToldByDevice told;
  if (const auto* identification = message.find<DeviceIdentificationTypeTLV>()) {
    told.name = text_of(identification->get_friendly_name());
  }
  const auto* version = message.find_vendor<QELMeshdVersionTLV>();
  told.meshd_version = version != nullptr ? version->get_major_and_minor() : before.meshd_version;
  told.blocked_interfaces = version != nullptr ? read_blocked_interfaces(message) : before.blocked_interfaces;
  told.interfaces = information.get_interface_information_vector();
  if (const auto* bridging = message.find<DeviceBridgingCapabilityTLV>()) {
    told.bridges = bridging->get_bridging_tuple_vector();
  }
  told.neighbors = collect<IEEE1905NeighborDeviceTLV>(message);
  told.limit_neighbors(ToldByDevice::MOST_NEIGHBORS);
  told.hosts = collect<NonIEEE1905NeighborDeviceListTLV>(message);
  const std::vector<MACAddress> neighbors = told.neighbor_al_macs();
  told.transmitter_metrics = keep_about(neighbors, before.transmitter_metrics);
  told.receiver_metrics = keep_about(neighbors, before.receiver_metrics);
  return told;
}

/// The neighbours for which the device reported metrics, sorted.
std::vector<MACAddress> measured_neighbors(const ToldByDevice& told) {
  std::vector<MACAddress> al_macs;
  al_macs.reserve(told.transmitter_metrics.size() + told.receiver_metrics.size());
  std::ranges::transform(told.transmitter_metrics, std::back_inserter(al_macs),
                         &TransmitterLinkMetricTLV::get_neighbor_AL_MAC);
  std::ranges::transform(told.receiver_metrics, std::back_inserter(al_macs),
                         &ReceiverLinkMetricTLV::get_neighbor_AL_MAC);
  std::ranges::sort(al_macs);
  return al_macs;
}

constexpr int SHARES = 1024;

constexpr std::chrono::milliseconds FIRST_REST{4000};

/// The time that a device gets to answer this number of queries from the whole mesh.
std::chrono::milliseconds time_to_answer(std::size_t questions) {
  return std::chrono::milliseconds(1000 * questions / Inquirer::QUESTIONS_TO_ONE_A_SECOND);
}

/// The sequences that ask about so many neighbours, without the first one.
std::size_t rows_for(std::size_t neighbors) { return neighbors == 0 ? 0 : (neighbors - 1) / Inquiry::MOST_METRICS; }

bool is_neighbor(const Device& device) { return device.hops == 1; }

}  // namespace

Inquirer::Inquirer(const MACAddress& self, const Limits& limits, std::chrono::milliseconds hold_time,
                   const NeighborTable& neighbors, Sender& sender, Ports& ports)
    : self_(self),
      hold_time_(hold_time),
      neighbors_(neighbors),
      sender_(sender),
      ports_(ports),
      devices_(self, limits.devices) {}

void Inquirer::meet(const MACAddress& al_mac, TimePoint now) {
  if (Device* device = devices_.take_neighbor(al_mac, neighbors_.find(al_mac)->best_link().interface)) {
    device->is_found = false;
    device->inquiry.hurry(now);
    ask(al_mac, *device, now);
  }
}

void Inquirer::ask_neighbors(TimePoint now) {
  for (const Neighbor& neighbor : neighbors_.all()) {
    if (Device* device = devices_.find(neighbor.al_mac)) {
      device->inquiry.hurry(now);
      ask(neighbor.al_mac, *device, now);
    }
  }
}

/// All nodes of a large mesh hear of a change at once. Each queries at its own time, within the time that the device
/// needs to answer them all.
bool Inquirer::on_notification(const MACAddress& al_mac, std::size_t interface, TimePoint now) {
  Device* device = devices_.take_notifier(al_mac, interface, now);
  if (device == nullptr) {
    return false;
  }
  const std::chrono::milliseconds spread = time_to_answer(is_neighbor(*device) ? 0 : devices_.all().size());
  device->inquiry.hurry(now + spread * share_of(al_mac) / SHARES);
  devices_.schedule(al_mac, *device);
  return true;
}

Device* Inquirer::take_topology(const MACAddress& source, std::size_t interface, const Message& message,
                                TimePoint now) {
  const auto& information = *message.find<DeviceInformationTLV>();
  const MACAddress& al_mac = information.get_AL_MAC();
  Device* device = devices_.find(al_mac);
  if (device == nullptr) {
    return nullptr;
  }
  ToldByDevice told = read_topology(message, information, device->told);
  if (!sends_from(al_mac, told, source) ||
      !device->inquiry.answer(Inquiry::Question::TOPOLOGY, message.get_head().get_message_id())) {
    return nullptr;
  }
  const std::vector<MACAddress> before = device->told.neighbor_al_macs();
  devices_.take_told(*device, std::move(told));
  const std::vector<MACAddress> neighbors_now = device->told.neighbor_al_macs();
  is_to_walk_ = is_to_walk_ || !std::ranges::includes(neighbors_now, before);
  if (!std::ranges::includes(before, neighbors_now)) {
    device->rows_left = rows_for(neighbors_now.size());
  }
  device->state = DeviceState::ANSWERED;
  device->answered_at = now;
  learn_way(*device, interface);
  if (!is_neighbor(*device)) {
    if (!std::exchange(device->is_found, true)) {
      ports_.on_device_found(al_mac);
    }
  }
  for (const MACAddress& found : devices_.take_neighbors_of(al_mac)) {
    if (!ask(found, *devices_.find(found), now)) {
      break;
    }
  }
  if (std::vector<MACAddress> neighbors = choose_neighbors(al_mac, *device, now); !neighbors.empty()) {
    device->inquiry.go_on_with(std::move(neighbors), now);
    ask(al_mac, *device, now);
  } else {
    end_row(al_mac, *device, now);
    devices_.schedule(al_mac, *device);
  }
  return device;
}

std::optional<MACAddress> Inquirer::take_metrics(const MACAddress& source, const Message& message, TimePoint now) {
  const auto* transmitter = message.find<TransmitterLinkMetricTLV>();
  const auto* receiver = message.find<ReceiverLinkMetricTLV>();
  const Neighbor* sender = neighbors_.find_sender(source);
  const MACAddress al_mac = transmitter != nullptr ? transmitter->get_local_AL_MAC()
                            : receiver != nullptr  ? receiver->get_local_AL_MAC()
                            : sender != nullptr    ? sender->al_mac
                                                   : source;
  Device* device = devices_.find(al_mac);
  if (device == nullptr || !sends_from(al_mac, device->told, source) ||
      !device->inquiry.answer(Inquiry::Question::METRICS, message.get_head().get_message_id())) {
    return std::nullopt;
  }
  const MACAddress& neighbor = device->inquiry.neighbor();
  devices_.take_metrics(*device, neighbor, find_metrics<TransmitterLinkMetricTLV>(message, al_mac, neighbor),
                        find_metrics<ReceiverLinkMetricTLV>(message, al_mac, neighbor));
  device->answered_at = now;
  if (device->inquiry.next_neighbor(now)) {
    ask(al_mac, *device, now);
  } else {
    end_row(al_mac, *device, now);
    devices_.schedule(al_mac, *device);
  }
  return al_mac;
}

void Inquirer::forget() {
  if (is_to_walk_) {
    walk(last_tended_);
    is_to_walk_ = false;
  }
}

void Inquirer::tend(TimePoint now) {
  last_tended_ = now;
  is_to_walk_ = is_to_walk_ || devices_.is_waiting();
  forget();
  for (const Neighbor& neighbor : neighbors_.all()) {
    Device* device = devices_.find(neighbor.al_mac);
    if (device == nullptr) {  // there was no room, or no memory
      device = devices_.take_neighbor(neighbor.al_mac, neighbor.best_link().interface);
    }
    if (device != nullptr) {
      ask(neighbor.al_mac, *device, now);
    }
  }
  DeviceMap::Agenda& agenda = devices_.agenda();
  for (auto place = agenda.begin(); place != agenda.end() && place->first <= now;) {
    const MACAddress al_mac = place->second;
    Device* device = devices_.find(al_mac);
    if (device == nullptr) {
      place = agenda.erase(place);
      continue;
    }
    ++place;  // before asking moves the entry
    if (!is_neighbor(*device) && !ask(al_mac, *device, now)) {
      return;
    }
  }
}

/// Sends the query that is due. Returns false if the limit on queries is reached. The path over an interface may be
/// blocked somewhere, so if no response comes, the other interfaces are tried, and then all of them again with twice
/// the timeout.
bool Inquirer::ask(const MACAddress& al_mac, Device& device, TimePoint now) {
  const bool is_allowed = put_question(al_mac, device, now);
  devices_.schedule(al_mac, device);
  return is_allowed;
}

bool Inquirer::put_question(const MACAddress& al_mac, Device& device, TimePoint now) {
  Inquiry& inquiry = device.inquiry;
  inquiry.give_way(now);
  if (now < inquiry.due()) {
    return true;
  }
  const std::vector<std::size_t> interfaces = interfaces_to(al_mac, device);
  const std::size_t tries = inquiry.is_open() ? inquiry.tries() : 0;
  if (interfaces.empty()) {
    return true;  // no neighbours yet, or no longer
  }
  if (tries >= std::max(Inquiry::MOST_TRIES, interfaces.size())) {
    give_up(al_mac, device, now);
    return true;
  }
  if (!is_neighbor(device) && !questions_.take(now)) {
    return false;
  }
  const Message question =
      inquiry.question() == Inquiry::Question::TOPOLOGY ? topology_query() : link_metric_query(inquiry.neighbor());
  inquiry.put(question.get_head().get_message_id(), now + Inquiry::PATIENCE * (1 << tries / interfaces.size()));
  sender_.send(interfaces[tries % interfaces.size()], al_mac, question);
  return true;
}

/// The interfaces over which the device can be queried, the best one first.
std::vector<std::size_t> Inquirer::interfaces_to(const MACAddress& al_mac, const Device& device) const {
  if (const Neighbor* neighbor = neighbors_.find(al_mac)) {
    return {neighbor->best_link().interface};
  }
  std::vector<std::size_t> interfaces = neighbors_.interfaces();
  std::rotate(interfaces.begin(), std::ranges::lower_bound(interfaces, device.interface), interfaces.end());
  return interfaces;
}

void Inquirer::learn_way(Device& device, std::size_t interface) {
  device.interface = interface;
  device.is_way_proven = true;
}

void Inquirer::give_up(const MACAddress& al_mac, Device& device, TimePoint now) {
  if (device.inquiry.question() == Inquiry::Question::TOPOLOGY) {
    device.state = DeviceState::UNREACHABLE;
    device.is_way_proven = false;
    if (std::exchange(device.is_found, false)) {
      ports_.on_device_lost(al_mac);
    }
  }
  ++device.rows_unanswered;
  rest(al_mac, device, now);
}

/// If a device has more neighbours than a sequence asks about, the next sequence follows soon, but not before the
/// device can answer such sequences of the whole mesh.
void Inquirer::end_row(const MACAddress& al_mac, Device& device, TimePoint now) const {
  device.rows_unanswered = 0;
  rest(al_mac, device, now);
  if (device.has_more_metrics) {
    device.inquiry.hurry(now + std::max<std::chrono::milliseconds>(
                                   Inquiry::PATIENCE, time_to_answer(Inquiry::MOST_METRICS * devices_.all().size())));
  }
}

/// The next sequence begins after its regular time, give or take a quarter. A device that does not answer is queried
/// again sooner at first, since a bridge may need half a minute before it forwards.
void Inquirer::rest(const MACAddress& al_mac, Device& device, TimePoint now) const {
  const std::chrono::milliseconds most = REFRESH_HOLD_TIMES * hold_time_;
  const std::chrono::milliseconds time =
      device.rows_unanswered == 0
          ? most
          : std::min<std::chrono::milliseconds>(most, FIRST_REST * (1 << std::min(device.rows_unanswered, 10U)));
  device.inquiry.rest(now + time * 3 / 4 + time / 2 * share_of(al_mac) / SHARES);
}

/// Returns the neighbours for which no metrics are known and, if the known metrics are old, the others too; as many as
/// a sequence asks about. A device with many neighbours is not asked about those with few, which report the link
/// themselves, so that the whole mesh does not wait for one device.
std::vector<MACAddress> Inquirer::choose_neighbors(const MACAddress& al_mac, Device& device, TimePoint now) const {
  std::vector<MACAddress> neighbors = device.told.neighbor_al_macs();
  std::erase(neighbors, al_mac);
  if (neighbors.size() > Inquiry::MOST_METRICS) {
    std::erase_if(neighbors,
                  [&](const MACAddress& neighbor) { return neighbor == self_ || tells_of_itself(neighbor); });
  }
  const std::vector<MACAddress> measured = measured_neighbors(device.told);
  const auto is_missing = [&](const MACAddress& neighbor) { return !std::ranges::binary_search(measured, neighbor); };
  const std::chrono::milliseconds fresh = is_neighbor(device) ? hold_time_ / 4 : hold_time_;
  if (device.has_more_metrics || (device.metrics_asked_at && now - *device.metrics_asked_at < fresh)) {
    std::erase_if(neighbors, std::not_fn(is_missing));
  } else if (!neighbors.empty()) {
    device.metrics_asked_at = now;
    device.rows_left = rows_for(neighbors.size());
  }
  if (!neighbors.empty()) {
    const std::size_t turn = device.metrics_turn++ * Inquiry::MOST_METRICS % neighbors.size();
    std::rotate(neighbors.begin(), neighbors.begin() + static_cast<std::ptrdiff_t>(turn), neighbors.end());
    std::stable_partition(neighbors.begin(), neighbors.end(), is_missing);
  }
  const auto missing = static_cast<std::size_t>(std::ranges::count_if(neighbors, is_missing));
  device.has_more_metrics = missing > Inquiry::MOST_METRICS && device.rows_left > 0 && !device.is_truncated;
  device.rows_left -= device.has_more_metrics ? 1U : 0U;
  neighbors.resize(std::min(neighbors.size(), Inquiry::MOST_METRICS));
  std::ranges::reverse(neighbors);
  return neighbors;
}

/// Whether the device reports its links itself, or may still do so: it has few neighbours as far as we know, and is not
/// unreachable.
bool Inquirer::tells_of_itself(const MACAddress& al_mac) const {
  const Device* device = devices_.find(al_mac);
  return device != nullptr && device->state != DeviceState::UNREACHABLE &&
         device->told.neighbor_al_macs().size() <= Inquiry::MOST_METRICS;
}

void Inquirer::walk(TimePoint now) {
  for (const MACAddress& lost : devices_.walk(neighbors_, now)) {
    ports_.on_device_lost(lost);
  }
  for (auto& [al_mac, device] : devices_.all()) {  // those that were neighbours
    if (!is_neighbor(device) && device.state == DeviceState::ANSWERED && !device.is_found) {
      device.is_found = true;
      ports_.on_device_found(al_mac);
    }
  }
}

/// Whether the source is the device itself, by any of the interfaces it reports; the AL MAC of another device is not.
bool Inquirer::sends_from(const MACAddress& al_mac, const ToldByDevice& told, const MACAddress& source) const {
  if (source == al_mac || devices_.find(source) != nullptr) {
    return source == al_mac;
  }
  const Neighbor* sender = neighbors_.find_sender(source);
  return told.has_interface(source) || (sender != nullptr && sender->al_mac == al_mac);
}

/// Our share, from 0 to SHARES, of a time over which queries are spread: different for each pair of devices.
int Inquirer::share_of(const MACAddress& al_mac) const {
  std::uint64_t key = 0;
  for (std::size_t place = 0; place < al_mac.octets().size(); ++place) {
    key = (key ^ al_mac.octets()[place]) * 0x100'0000'01B3U;
    key = (key ^ self_.octets()[place]) * 0x100'0000'01B3U;
  }
  return static_cast<int>((key ^ key >> 32U) % SHARES);
}

}  // namespace meshd

#include "tools/meshd/wifi/station_json.h"

#include <optional>

namespace meshd::wifi {

namespace {

void put_rate(tools::JsonLine& json, const char* key, const std::optional<Rate>& value) {
  json.object(key, value, [&](const Rate& rate) {
    json.member("rate", rate.kilobits);
    json.member("mode", is_valid(rate.mode) ? std::optional(enum_to_string(rate.mode)) : std::nullopt);
    json.member("mcs", rate.mcs);
    json.member("streams", rate.streams);
    json.member("channel_width", is_valid(rate.width) ? std::optional(enum_to_string(rate.width)) : std::nullopt);
    json.member("short_guard", rate.has_short_guard);
  });
}

}  // namespace

void put_measurements(tools::JsonLine& json, const Station& station) {
  json.member("signal", station.signal);
  json.member("average_signal", station.average_signal);
  put_rate(json, "send_rate", station.send_rate);
  put_rate(json, "receive_rate", station.receive_rate);
  json.member("sent_octets", station.sent_octets);
  json.member("received_octets", station.received_octets);
  json.member("sent_packets", station.sent_packets);
  json.member("received_packets", station.received_packets);
  json.member("retries", station.retries);
  json.member("send_failures", station.send_failures);
  json.member("receive_drops", station.receive_drops);
  json.member("lost_beacons", station.lost_beacons);
  json.member("expected_throughput", station.expected_throughput);
}

}  // namespace meshd::wifi

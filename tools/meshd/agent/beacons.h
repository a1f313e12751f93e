#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "tools/meshd/agent/desk.h"

namespace meshd::agent {

/// The body of the beacon request to the client, from the operating class on (IEEE 802.11-2020, 9.4.2.20.7). Nothing if
/// the query does not fit into one.
std::optional<std::vector<std::uint8_t>> beacon_request(const qel::ieee1905_1::BeaconMetricsQueryTLV& query);

/// Has the client look for beacons, and reports what it answers. A client that does not answer is not reported, since
/// the response has no way to say so.
void carry_out_beacon_query(Desk& desk, const Received& received);

}  // namespace meshd::agent

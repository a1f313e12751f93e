#pragma once

#include <algorithm>
#include <cstddef>

#include "qel/ieee1905_1/tlv_type.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::controller {

/// Whether a TLV of the type was there, but could not be decoded. What it lists is then not known to be all.
inline bool is_damaged(const multi_ap::Received& received, qel::ieee1905_1::TLVType type) {
  return std::ranges::any_of(received.content.entries,
                             [&](const auto& entry) { return entry.raw.type == type && entry.tlv == nullptr; });
}

/// Removes what the list lacks, after a call with each. Returns whether anything was removed.
template <class Map, class List, class Act>
bool remove_unlisted(Map& map, const List& listed, Act before) {
  const std::size_t size = map.size();
  for (auto place = map.begin(); place != map.end();) {
    if (listed.contains(place->first)) {
      ++place;
    } else {
      before(place->first, place->second);
      place = map.erase(place);
    }
  }
  return map.size() != size;
}

/// Of a map with Known values, the one that was reported first.
template <class Map>
void remove_oldest(Map& map) {
  const auto oldest =
      std::ranges::min_element(map, {}, [](const auto& entry) -> const TimePoint& { return entry.second.at; });
  if (oldest != map.end()) {
    map.erase(oldest);
  }
}

}  // namespace meshd::controller

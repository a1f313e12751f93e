#include "qel/daemon/zarni_address.h"

#include <ostream>

#include "qel/core/text.h"

namespace qel::daemon {

ZarniAddress::ZarniAddress(const std::string& data) : data_(to_upper(data)) {}

void ZarniAddress::set_data(const std::string& data) { data_ = to_upper(data); }

std::ostream& operator<<(std::ostream& os, const ZarniAddress& address) { return os << address.get_data(); }

std::string enum_to_string(ZarniRole role) {
  switch (role) {
    case ZarniRole::MASTER:
      return "master";
    case ZarniRole::SLAVE:
      return "slave";
  }
  return "unknown";
}

std::ostream& operator<<(std::ostream& os, ZarniRole role) { return os << enum_to_string(role); }

}  // namespace qel::daemon

namespace qel::serialization {

void JSONSerializableType<daemon::ZarniAddress>::serialize(YAJLStream& stream, SerializationContext&,
                                                           const daemon::ZarniAddress& address) {
  if (!stream.write_string(address.get_data())) {
    fail("Serialization of ZarniAddress failed");
  }
}

}  // namespace qel::serialization

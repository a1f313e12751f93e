#pragma once

#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable_type.h"

namespace qel::daemon {

/// The name of an IPC endpoint, always in upper case.
class QEL_EXPORT ZarniAddress {
 public:
  ZarniAddress() = default;
  explicit ZarniAddress(const std::string& data);

  const std::string& get_data() const { return data_; }
  void set_data(const std::string& data);

  friend bool operator==(const ZarniAddress&, const ZarniAddress&) = default;
  friend bool operator<(const ZarniAddress& left, const ZarniAddress& right) { return left.data_ < right.data_; }
  friend bool operator<=(const ZarniAddress& left, const ZarniAddress& right) { return left.data_ <= right.data_; }

 private:
  std::string data_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const ZarniAddress& address);

enum class ZarniRole : int { MASTER = 1, SLAVE = 2 };

/// Returns "master", "slave", or "unknown" for any other value.
QEL_EXPORT std::string enum_to_string(ZarniRole role);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ZarniRole role);

}  // namespace qel::daemon

namespace qel::serialization {

/// Writes a JSON string; throws SerializationException with "Serialization of ZarniAddress failed".
template <>
struct QEL_EXPORT JSONSerializableType<daemon::ZarniAddress> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const daemon::ZarniAddress& address);
};

}  // namespace qel::serialization

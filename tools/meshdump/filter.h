#pragma once

#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_type.h"
#include "qel/ieee1905_1/tlv_type.h"
#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// Selects CMDUs. Values of one kind are alternatives, and every kind that has values must match.
class Filter {
 public:
  /// Take a name as it is printed, of either case, or a number, decimal or hexadecimal after "0x"; the suffix
  /// "_MESSAGE" may be left out. Throw std::invalid_argument for anything else.
  void add_message_type(const std::string& text);
  void add_tlv_type(const std::string& text);
  void add_source(const std::string& text);
  void add_destination(const std::string& text);

  bool empty() const {
    return message_types_.empty() && tlv_types_.empty() && sources_.empty() && destinations_.empty();
  }

  bool matches(const Cmdu& cmdu, const Decoding& decoding) const;

 private:
  std::vector<qel::ieee1905_1::MessageType> message_types_;
  std::vector<qel::ieee1905_1::TLVType> tlv_types_;
  std::vector<qel::MACAddress> sources_;
  std::vector<qel::MACAddress> destinations_;
};

}  // namespace meshdump

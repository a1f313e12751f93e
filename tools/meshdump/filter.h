#pragma once

#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_type.h"
#include "qel/ieee1905_1/tlv_type.h"
#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// Lists what `--type` and `--tlv` take, one in a line: the option's name, the number in hexadecimal, and the name.
std::string list_types();

/// Selects CMDUs. If a condition has several values, one of them must match; all conditions given must match.
class Filter {
 public:
  /// Takes a name as printed, in upper or lower case, or a number, in decimal or in hexadecimal after "0x"; the suffix
  /// "_MESSAGE" may be omitted. Throws std::invalid_argument for anything else.
  void add_message_type(const std::string& text);
  void add_tlv_type(const std::string& text);
  void add_source(const std::string& text);
  void add_destination(const std::string& text);

  bool empty() const {
    return message_types_.empty() && tlv_types_.empty() && sources_.empty() && destinations_.empty();
  }

  /// Compares the addresses of the frame and the message type, which a fragment shares with its message.
  bool matches_head(const Cmdu& cmdu) const;
  bool matches_tlvs(const Cmdu& cmdu, const Decoding& decoding) const;

 private:
  std::vector<qel::ieee1905_1::MessageType> message_types_;
  std::vector<qel::ieee1905_1::TLVType> tlv_types_;
  std::vector<qel::MACAddress> sources_;
  std::vector<qel::MACAddress> destinations_;
};

}  // namespace meshdump

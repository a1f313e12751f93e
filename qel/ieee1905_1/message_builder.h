#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "qel/core/vendor_oui.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message.h"

namespace qel::ieee1905_1 {

/// Collects the TLVs of an unfragmented message and ends it with the End-of-message TLV:
///
///     MessageBuilder builder(MessageType::TOPOLOGY_RESPONSE_MESSAGE, query.get_head().get_message_id());
///     builder.add(DeviceInformationTLV(...));
///     const Message response = builder.build();
class MessageBuilder {
 public:
  explicit MessageBuilder(MessageType type, std::uint16_t message_id = make_IEEE1905_1_msg_id())
      : message_(MessageHead(MessageVersion::IEEE1905_1, type, message_id, 0, true, false)) {}

  /// Marks the message to be relayed through the mesh.
  MessageBuilder& relay() {
    message_.get_head().set_relay_indicator(true);
    return *this;
  }

  /// Adds a TLV, moved or copied. A payload of this system's is wrapped in a vendor-specific TLV.
  template <class T>
  requires std::derived_from<std::remove_cvref_t<T>, TLV> || TypedPayload<std::remove_cvref_t<T>> MessageBuilder& add(
      T&& part) {
    using Part = std::remove_cvref_t<T>;
    auto owned = std::make_unique<Part>(std::forward<T>(part));
    if constexpr (std::derived_from<Part, TLV>) {
      message_.get_list().add_TLV(std::move(owned));
    } else {
      message_.get_list().add_TLV(std::make_unique<VendorSpecificTLV>(VENDOR_OUI, std::move(owned)));
    }
    return *this;
  }

  /// Throws std::invalid_argument for a null pointer.
  MessageBuilder& add(std::unique_ptr<TLV> tlv) {
    message_.get_list().add_TLV(std::move(tlv));
    return *this;
  }

  /// Returns the message; the builder is empty afterwards.
  Message build() {
    if (message_.find<EndOfMessageTLV>() == nullptr) {
      add(EndOfMessageTLV());
    }
    return std::move(message_);
  }

 private:
  Message message_;
};

/// Makes a message of these TLVs and payloads: `make_message(MessageType::TOPOLOGY_DISCOVERY_MESSAGE, id,
/// ALMACAddressTLV(al_mac), InterfaceMACAddressTLV(mac))`.
template <class... T>
Message make_message(MessageType type, std::uint16_t message_id, T&&... parts) {
  MessageBuilder builder(type, message_id);
  (builder.add(std::forward<T>(parts)), ...);
  return builder.build();
}

}  // namespace qel::ieee1905_1

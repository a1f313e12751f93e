#include "tools/meshdump/tlv_fields.h"

#include <algorithm>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/tlv_classes_impl.h"
#include "qel/ieee1905_1/vendor/vendor_classes_impl.h"
#include "qel/ieee802_11/rsn_element.h"
#include "qel/ieee802_11/security_mapping.h"
#include "tools/meshdump/json_record.h"

// What the wire tables do not contain. The overloads are not in an unnamed namespace, where json_record.h would not
// find them.
namespace meshdump {

namespace ieee802_11 = qel::ieee802_11;
using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it

static void put_members(JsonWriter& json, const BackhaulSTARadioCapabilitiesTLV& tlv) {
  put_rows(json, tlv);
  put_member(json, "backhaul_sta_mac", tlv.get_is_mac_included() ? &tlv.get_backhaul_sta_mac() : nullptr);
}

static void put_members(JsonWriter& json, const DeviceIdentificationTypeTLV& tlv) {
  const auto put = [&](std::string_view key, const DeviceIdentificationTypeTLV::Name& name) {
    put_member(json, key, std::string(name.begin(), std::ranges::find(name, 0)));
  };
  put("friendly_name", tlv.get_friendly_name());
  put("manufacturer_name", tlv.get_manufacturer_name());
  put("manufacturer_model", tlv.get_manufacturer_model());
}

static void put_members(JsonWriter& json, const APMetricsTLV& tlv) {
  put_rows(json, tlv);
  const auto put = [&](std::string_view key, bool included, const APMetricsTLV::ServiceParameters& information) {
    put_member(json, key, included ? &information : nullptr);
  };
  put("information_ac_bk", tlv.get_include_bit_ac_bk(), tlv.get_information_ac_bk());
  put("information_ac_vo", tlv.get_include_bit_ac_vo(), tlv.get_information_ac_vo());
  put("information_ac_vi", tlv.get_include_bit_ac_vi(), tlv.get_information_ac_vi());
}

static void put_members(JsonWriter& json, const SteeringBTMReportTLV& tlv) {
  put_rows(json, tlv);
  const qel::MACAddress target = tlv.get_target_bssid();
  put_member(json, "target_bssid", tlv.get_target_bssid_included() ? &target : nullptr);
}

static void put_members(JsonWriter& json, const MediaSpecificInformation& information) {
  if (information.get_interface_type() == InterfaceType::WLAN) {
    put_rows(json, static_cast<const WLANSpecificInformation&>(information));
  } else if (information.get_interface_type() == InterfaceType::PLC) {
    put_rows(json, static_cast<const PLCSpecificInformation&>(information));
  }
}

static void put_members(JsonWriter& json, const InterfaceInformation& interface) {
  put_rows(json, interface);
  put_member(json, "media_specific_information", interface.get_media_specific_information());
}

static void put_members(JsonWriter& json, const QELInterfaceInformation& interface) {
  put_rows(json, interface);
  put_member(json, "media_specific_information", interface.get_media_specific_information());
  put_member(json, "media_specific_rest", interface.get_media_specific_rest());
}

static void put_members(JsonWriter& json, const ieee802_11::IEEE802_11_RSNElement& rsn) {
  using Suites = ieee802_11::IEEE802_11_RSNElement::CipherSuites;
  using PMKIDs = std::vector<ieee802_11::IEEE802_11_RSNElement::PMKID>;
  put_member(json, "group_data", rsn.has_group_data() ? &rsn.get_group_data() : nullptr);
  put_member<Suites>(json, "pairwise_cipher_list",
                     rsn.has_pairwise_cipher_list() ? &rsn.get_pairwise_cipher_list() : nullptr);
  put_member<Suites>(json, "akm_suite_list", rsn.has_akm_suite_list() ? &rsn.get_akm_suite_list() : nullptr);
  put_member(json, "rsn_capabilities", rsn.has_rsn_capabilities() ? &rsn.get_rsn_capabilities() : nullptr);
  put_member<PMKIDs>(json, "pmkid_list", rsn.has_pmkid_list() ? &rsn.get_pmkid_list() : nullptr);
  put_member(json, "group_management_cipher",
             rsn.has_group_management_cipher() ? &rsn.get_group_management_cipher() : nullptr);
}

static void put_members(JsonWriter& json, const WLANSecurityTLVEntry& entry) {
  put_rows(json, entry);
  put_member(json, "rsn_ie", entry.get_rsn_ie());
  put_member(json, "security", security_from_rsn_element(entry.get_rsn_ie()));
}

static void put_members(JsonWriter& json, const ieee802_11::BeaconReport& report) {
  put_rows(json, report);
  put_member(json, "optional_subelements", report.get_optional_subelements());
}

static void put_members(JsonWriter& json, const ieee802_11::IEEE802_11_MeasurementReport& report) {
  using T = ieee802_11::IEEE802_11_MeasurementReport;
  put_accessed<&T::get_measurement_token, &T::get_measurement_report_mode, &T::get_measurement_type,
               &T::get_beacon_report, &T::get_opaque_body>(json, report);
}

/// Empty for any other element, and for an invalid RSN element.
static std::optional<ieee802_11::IEEE802_11_RSNElement> rsn_of(const ieee802_11::AssocRequestFrame::Element& element) {
  if (element.id == ieee802_11::IEEE802_11_RSNElement::ELEMENT_ID) {
    try {
      ieee802_11::IEEE802_11_RSNElement rsn;
      rsn.decode_octets(element.body);
      return rsn;
    } catch (const qel::serialization::SerializationException&) {
    }
  }
  return std::nullopt;
}

static void put_members(JsonWriter& json, const ieee802_11::AssocRequestFrame::Element& element) {
  put_member(json, "id", element.id);
  put_member(json, "body", element.body);
  put_member(json, "rsn", rsn_of(element));
}

static void put_members(JsonWriter& json, const ieee802_11::AssocRequestFrame& frame) {
  using T = ieee802_11::AssocRequestFrame;
  put_member(json, "reassociation", frame.is_reassociation());
  put_accessed<&T::get_capability_information, &T::get_listen_interval, &T::get_current_ap_address, &T::get_elements,
               &T::get_rest>(json, frame);
}

static void put_members(JsonWriter& json, const ClientCapabilityReportTLV& tlv) {
  put_rows(json, tlv);
  const bool success = tlv.get_result_code() == ClientCapabilityResultCode::SUCCESS;
  put_member(json, "assoc_req_frame", success ? tlv.get_assoc_req_frame().get() : nullptr);
}

static void put_members(JsonWriter& json, const DummyTLV& tlv) {
  using T = DummyTLV;
  put_accessed<&T::get_represented_type, &T::get_consumed_length, &T::get_consumed_total_length>(json, tlv);
}

/// Each level takes four JSON levels; the generator writes at most 127.
constexpr unsigned int MAX_NESTING = 20;

/// Writes the members of an object as the class, among these, that has its type.
template <class Base, class... T>
void put_members_of(JsonWriter& json, const Base& object, std::type_identity<std::tuple<T...>>) {
  const auto put = [&]<class Class>(std::type_identity<Class>) {
    if constexpr (HasMembers<Class>) {
      if (object.get_type() == Class::TYPE) {
        put_members(json, static_cast<const Class&>(object));
      }
    } else {
      static_assert(std::is_same_v<Class, VendorSpecificTLV> || std::is_same_v<Class, QELTLVType>);
    }
  };
  (put(std::type_identity<T>()), ...);
}

static void put_nested_fields(JsonWriter& json, const TLV& tlv, std::span<const std::uint8_t> body,
                              unsigned int nesting);

/// `octets` are those of the payload, if known.
static void put_payload(JsonWriter& json, const VendorSpecific& payload, const std::span<const std::uint8_t> octets,
                        unsigned int nesting) {
  constexpr std::size_t NESTED_BODY = 1 + TLV_HEADER_SIZE;
  json.begin_object();
  put_member(json, "type", payload.get_type());
  if (payload.get_type() == VendorSpecificUnknown::TYPE) {
    put_member(json, "octets", octets.data() == nullptr ? nullptr : &octets);
  } else {
    json.put("fields");
    json.begin_object();
    if (payload.get_type() == QELTLVType::TYPE) {
      const TLV& tlv = *static_cast<const QELTLVType&>(payload).get_tlv();
      json.put("tlv");
      json.begin_object();
      put_member(json, "type", tlv.get_type());
      json.put("fields");
      put_nested_fields(json, tlv, octets.subspan(std::min(octets.size(), NESTED_BODY)), nesting + 1);
      json.end_object();
    } else {
      put_members_of(json, payload, std::type_identity<VendorClasses>());
    }
    json.end_object();
  }
  json.end_object();
}

void put_nested_fields(JsonWriter& json, const TLV& tlv, std::span<const std::uint8_t> body, unsigned int nesting) {
  if (nesting > MAX_NESTING) {
    json.put(nullptr);
    return;
  }
  json.begin_object();
  if (tlv.get_type() == VendorSpecificTLV::TYPE) {
    const auto& vendor = static_cast<const VendorSpecificTLV&>(tlv);
    const auto& oui = vendor.get_vendor_specific_oui();
    put_member(json, "vendor_specific_oui", oui);
    json.put("vendor_specific");
    put_payload(json, *vendor.get_vendor_specific(), body.subspan(std::min(body.size(), oui.size())), nesting);
  } else {
    put_members_of(json, tlv, std::type_identity<TLVClasses>());
  }
  json.end_object();
}

void put_fields(JsonWriter& json, const TLV& tlv, std::span<const std::uint8_t> body) {
  put_nested_fields(json, tlv, body, 0);
}

}  // namespace meshdump

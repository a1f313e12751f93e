#include "tools/meshdump/json_output.h"

#include <cstddef>
#include <utility>

#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "tools/meshdump/bodies.h"
#include "tools/meshdump/debug_text.h"
#include "tools/meshdump/hex_text.h"
#include "tools/meshdump/tlv_fields.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::LenientMessage;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::TLV;
using qel::ieee1905_1::TLVWalkEnd;

void put_reencoding(JsonWriter& json, const Reencoding& reencoding) {
  if (reencoding.error) {
    json.put("reencoded", nullptr);
    json.put("reencode_error", *reencoding.error);
  } else {
    json.put("reencoded", to_hex(reencoding.octets));
  }
}

}  // namespace

void JsonOutput::put_text_and_fields(const TLV& tlv, std::span<const std::uint8_t> body) {
  json_.put("text", debug_text(text_, tlv));
  json_.put("fields");
  put_fields(json_, tlv, body);
}

/// Writes what is known about a rejected message.
void JsonOutput::put_rejected(const Cmdu& cmdu, const Decoding& decoding) {
  if (decoding.tlv) {
    json_.put("error_tlv", enum_to_string(decoding.tlv->type));
    json_.put("error_offset", decoding.tlv->offset);
  }
  if (const auto type = message_type(cmdu.octets)) {
    json_.put("type", enum_to_string(*type));
  }
  if (!decoding.lenient) {
    return;
  }
  const LenientMessage& lenient = *decoding.lenient;
  json_.put("mid", lenient.message.get_head().get_message_id());
  json_.put("tlvs");
  json_.begin_array();
  for (const LenientMessage::Entry& entry : lenient.entries) {
    json_.begin_object();
    json_.put("type", enum_to_string(entry.raw.type));
    if (entry.tlv != nullptr) {
      put_text_and_fields(*entry.tlv, whole_body(entry));
    }
    json_.put("offset", entry.raw.offset);
    if (entry.tlv == nullptr) {
      json_.put("octets", to_hex(entry.raw.body));
    } else if (entry.unread != 0) {
      json_.put("rest", to_hex(entry.raw.body.last(entry.unread)));
    }
    if (!entry.error.empty()) {
      json_.put("error", entry.error);
    }
    json_.end_object();
  }
  json_.end_array();
  json_.put("end", enum_to_string(lenient.end));
  if (lenient.end == TLVWalkEnd::CUT_HEADER || lenient.end == TLVWalkEnd::CUT_BODY) {
    json_.put("cut_off", to_hex(cmdu.octets.subspan(lenient.end_offset)));
  }
}

void JsonOutput::print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) {
  json_.reset();
  json_.begin_object();
  json_.put("ok", decoding.message.has_value());
  if (decoding.message) {
    const Message& message = *decoding.message;
    json_.put("type", enum_to_string(message.get_head().get_message_type()));
    json_.put("mid", message.get_head().get_message_id());
    json_.put("text", debug_text(text_, message));
    json_.put("tlvs");
    json_.begin_array();
    Bodies bodies(message, cmdu.octets, context_);
    for (const auto& tlv : message.get_list().get_TLV_list()) {
      json_.begin_object();
      json_.put("type", enum_to_string(tlv->get_type()));
      put_text_and_fields(*tlv, bodies.next());
      json_.end_object();
    }
    json_.end_array();
    json_.put("qel_message_type", enum_to_string(get_qel_message_type(message)));
  } else {
    json_.put("error", decoding.error);
  }
  json_.put("consumed", decoding.consumed);
  if (!decoding.message) {
    put_rejected(cmdu, decoding);
  }
  if (decoding.reencoding) {
    put_reencoding(json_, *decoding.reencoding);
  }
  if (cmdu.reassembled) {
    json_.put("reassembled", true);
  }
  if (cmdu.frame) {
    json_.put("time", cmdu.frame->captured.time);
    json_.put("src", cmdu.frame->source.to_string());
    if (cmdu.frame->destination) {
      json_.put("dst", cmdu.frame->destination->to_string());
    }
    if (!cmdu.frame->interface.empty()) {
      json_.put("interface", cmdu.frame->interface);
    }
    if (with_origin_) {
      json_.put("origin", cmdu.frame->captured.origin);
    }
  }
  json_.end_object();
  out += json_.text();
  out += '\n';
}

std::string JsonOutput::summary(const Tally& tally) {
  json_.reset();
  json_.begin_object();
  for (const auto& [key, counts] :
       {std::pair("types", &tally.types()), {"senders", &tally.senders()}, {"refusals", &tally.refusals()}}) {
    json_.put(key);
    json_.begin_object();
    for (const auto& [name, count] : *counts) {
      json_.put(name, count);
    }
    json_.end_object();
  }
  json_.end_object();
  return json_.text() + '\n';
}

}  // namespace meshdump

#include "tools/meshd/controller/result.h"

#include <iterator>
#include <sstream>
#include <utility>

#include "qel/ieee1905_1/client_tlvs.h"

namespace meshd::controller {

std::string seconds_text(std::chrono::milliseconds time) {
  const auto tenths = (time.count() + 50) / 100;
  return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " s";
}

std::string failure_text(const qel::MACAddress& agent, const qel::ieee1905_1::Message* answer) {
  if (answer == nullptr) {
    return "no answer from " + agent.to_string();
  }
  const auto* error = answer->find<qel::ieee1905_1::ErrorCodeTLV>();
  return "refused by " + agent.to_string() + (error == nullptr ? "" : ": " + enum_to_string(error->get_reason_code()));
}

std::vector<Result::Part> answer_parts(const qel::ieee1905_1::Message& answer) {
  std::vector<Result::Part> parts;
  for (const auto& tlv : answer.get_list().get_TLV_list()) {
    if (tlv->get_type() == qel::ieee1905_1::TLVType::END_OF_MESSAGE) {
      continue;
    }
    std::ostringstream text;
    text << *tlv;
    parts.push_back({enum_to_string(tlv->get_type()), std::move(text).str()});
  }
  return parts;
}

std::string answer_text(const qel::ieee1905_1::Message& answer) {
  std::string text = enum_to_string(answer.get_head().get_message_type());
  for (const Result::Part& part : answer_parts(answer)) {
    text += '\n' + part.text;
  }
  return text;
}

std::string btm_status_text(std::uint8_t status) {
  static constexpr const char* REASONS[] = {nullptr,
                                            "unspecified reason",
                                            "too few beacons or probe responses of the candidates",
                                            "too little capacity of the candidates",
                                            "it does not want its BSS to end",
                                            "it wants its BSS to end later",
                                            "it offers a list of candidates of its own",
                                            "no suitable candidate",
                                            "it leaves the network"};
  if (status == 0) {
    return "ACCEPT";
  }
  const std::string number = "REJECT " + std::to_string(status);
  return status < std::size(REASONS) ? number + " (" + REASONS[status] + ')' : number;
}

}  // namespace meshd::controller

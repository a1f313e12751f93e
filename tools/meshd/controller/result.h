#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/controller/mesh_model.h"

namespace meshd::controller {

/// What came of an order or a question.
struct Result {
  /// A TLV of an answer.
  struct Part {
    std::string type;
    std::string text;  ///< its debug text; any octets
  };

  bool is_success = false;
  std::string text;  ///< for people: one line without its end, or several of which the last has no end
  std::chrono::milliseconds took{0};
  std::vector<Part> answer{};  ///< to a question
};

/// Called exactly once, possibly before the order has returned.
using OnResult = std::function<void(const Result& result)>;

inline std::chrono::milliseconds between(TimePoint first, TimePoint last) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(last - first);
}

/// "0.3 s".
std::string seconds_text(std::chrono::milliseconds time);

/// Why a request failed: the error code of the answer, or that there was none.
std::string failure_text(const qel::MACAddress& agent, const qel::ieee1905_1::Message* answer);

///@{
/// The debug text of the TLVs of an answer, but for the one that ends it.
std::string answer_text(const qel::ieee1905_1::Message& answer);
std::vector<Result::Part> answer_parts(const qel::ieee1905_1::Message& answer);
///@}

/// Of a BTM response (IEEE 802.11-2020, 9.6.13.10): "ACCEPT", or the reason with its number.
std::string btm_status_text(std::uint8_t status);

}  // namespace meshd::controller

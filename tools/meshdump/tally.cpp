#include "tools/meshdump/tally.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <utility>
#include <vector>

#include "tools/safe_text.h"

namespace meshdump {

namespace {

std::string table(const std::string& title, const Tally::Counts& counts) {
  if (counts.empty()) {
    return {};
  }
  std::vector<std::pair<std::string, std::uint64_t>> rows(counts.begin(), counts.end());
  std::stable_sort(rows.begin(), rows.end(),
                   [](const auto& left, const auto& right) { return left.second > right.second; });
  std::string text = title + '\n';
  for (const auto& [name, count] : rows) {
    char number[24];
    std::snprintf(number, sizeof(number), "%8" PRIu64 "  ", count);
    text += number + tools::for_terminal_line(name) + '\n';
  }
  return text;
}

void add(Tally::Counts& counts, const std::string& name) {
  ++(counts.size() < Tally::MOST_ROWS || counts.contains(name) ? counts[name] : counts["OTHERS"]);
}

}  // namespace

void Tally::count(const Cmdu& cmdu, const Decoding& decoding) {
  const auto type = message_type(cmdu.octets);
  add(types_, type ? enum_to_string(*type) : "NONE");
  if (cmdu.frame) {
    add(senders_, cmdu.frame->source.to_string());
  }
  if (!decoding.message) {
    add(refusals_, decoding.error);
  }
}

std::string Tally::text() const {
  return table("types", types_) + table("senders", senders_) + table("refusals", refusals_);
}

}  // namespace meshdump

#include "tools/meshdump/summary.h"

namespace meshdump {

namespace {

std::string amount(std::uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

void Summary::count(const Cmdu& cmdu, const Decoding& decoding) {
  ++(decoding.message ? decoded_ : rejected_);
  if (!decoding.reencoding) {
    return;
  }
  if (decoding.reencoding->error) {
    ++not_encodable_;
  } else if (decoding.reencoding->reproduces(cmdu.octets.first(decoding.consumed))) {
    ++reproduced_;
  } else {
    ++differ_;
  }
}

std::string Summary::text(bool reencode) const {
  std::string text = amount(decoded_ + rejected_, "CMDU") + ": " + std::to_string(decoded_) + " decoded, " +
                     std::to_string(rejected_) + " rejected";
  if (reencode) {
    text += "; " + std::to_string(reproduced_) + " re-encoded to the same octets, " + std::to_string(differ_) +
            " differ, " + std::to_string(not_encodable_) + " not encodable";
  }
  if (fragments_ != 0) {
    text += "; " + amount(fragments_, "fragment");
  }
  if (incomplete_ != 0) {
    text += ", " + amount(incomplete_, "message") + " incomplete";
  }
  if (skipped_frames_ != 0) {
    text += "; " + amount(skipped_frames_, "frame") +
            (skipped_frames_ == 1 ? " of another ethertype" : " of other ethertypes") + " skipped";
  }
  if (bad_lines_ != 0) {
    text += "; " + amount(bad_lines_, "line") + " not hexadecimal";
  }
  if (filtered_out_ != 0) {
    text += "; " + std::to_string(filtered_out_) + " filtered out";
  }
  return text;
}

}  // namespace meshdump

#pragma once

#include <cstdint>
#include <string_view>

namespace meshd {

/// What became of the received frames. Each frame is counted once; `relayed` and the counters after it are counted in
/// addition.
struct FrameCounts {
  std::uint64_t processed = 0;
  std::uint64_t ignored = 0;     ///< of another ethertype, too short, or of no interest to us
  std::uint64_t blocked = 0;     ///< received on a blocked interface
  std::uint64_t foreign = 0;     ///< addressed to others
  std::uint64_t own = 0;         ///< our own, come back
  std::uint64_t duplicates = 0;  ///< received before
  std::uint64_t fragments = 0;   ///< held until the rest of the message arrives
  std::uint64_t rejected = 0;    ///< a required TLV was missing or could not be decoded
  std::uint64_t unasked = 0;     ///< responses to no query of ours
  std::uint64_t unanswered = 0;  ///< queries above the rate limits

  std::uint64_t relayed = 0;
  std::uint64_t unrelayed = 0;       ///< not relayed because too many messages had to be remembered
  std::uint64_t incomplete = 0;      ///< messages whose fragments did not all arrive
  std::uint64_t unknown_tlvs = 0;    ///< TLVs without a class, skipped in messages that were processed
  std::uint64_t malformed_tlvs = 0;  ///< TLVs of a known type that could not be decoded, skipped likewise
  std::uint64_t truncated = 0;       ///< responses of which a part was not kept, for lack of memory
};

/// A count and its name, in the order in which they are shown.
struct NamedFrameCount {
  std::string_view name;
  std::uint64_t FrameCounts::*count;
};

inline constexpr NamedFrameCount FRAME_COUNTS[] = {
    {"processed", &FrameCounts::processed},
    {"ignored", &FrameCounts::ignored},
    {"own", &FrameCounts::own},
    {"duplicates", &FrameCounts::duplicates},
    {"rejected", &FrameCounts::rejected},
    {"relayed", &FrameCounts::relayed},
    {"unrelayed", &FrameCounts::unrelayed},
    {"unanswered", &FrameCounts::unanswered},
    {"blocked", &FrameCounts::blocked},
    {"foreign", &FrameCounts::foreign},
    {"fragments", &FrameCounts::fragments},
    {"incomplete", &FrameCounts::incomplete},
    {"unasked", &FrameCounts::unasked},
    {"unknown_tlvs", &FrameCounts::unknown_tlvs},
    {"malformed_tlvs", &FrameCounts::malformed_tlvs},
    {"truncated", &FrameCounts::truncated},
};

}  // namespace meshd

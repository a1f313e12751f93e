#pragma once

#include <cstdint>
#include <string_view>

namespace meshd {

/// What became of the frames received. Each is counted once, but those below `relayed` are counted beside.
struct FrameCounts {
  std::uint64_t processed = 0;
  std::uint64_t ignored = 0;     ///< of another ethertype, too short, or nothing that we answer or keep
  std::uint64_t blocked = 0;     ///< came on an interface that we block
  std::uint64_t foreign = 0;     ///< sent to others
  std::uint64_t own = 0;         ///< came back to us
  std::uint64_t duplicates = 0;  ///< came before
  std::uint64_t fragments = 0;   ///< kept until the others of their message come
  std::uint64_t rejected = 0;    ///< without a TLV that is needed, or with one that cannot be decoded
  std::uint64_t unasked = 0;     ///< answers to no question of ours
  std::uint64_t unanswered = 0;  ///< questions above the limits

  std::uint64_t relayed = 0;
  std::uint64_t unrelayed = 0;       ///< to be relayed, but dropped: there were too many to remember
  std::uint64_t incomplete = 0;      ///< messages of which not all fragments came
  std::uint64_t unknown_tlvs = 0;    ///< passed over in messages that were processed all the same
  std::uint64_t malformed_tlvs = 0;  ///< the same, of a known type
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
};

}  // namespace meshd

#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <iosfwd>
#include <type_traits>
#include <utility>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"

namespace qel {

/// The header of an Ethernet frame (IEEE 802.3-2018, 3.1.1), laid out as in the frame, so that it can be copied from
/// and to a frame's first 14 octets. The ethertype is stored as given: in a header copied from a frame it is in network
/// order.
class QEL_EXPORT EtherHeader {
 public:
  void set_dest_addr(const MACAddress& address) { dest_addr_ = address; }
  const MACAddress& get_dest_addr() const { return dest_addr_; }
  void set_src_addr(const MACAddress& address) { src_addr_ = address; }
  const MACAddress& get_src_addr() const { return src_addr_; }
  void set_ethertype(unsigned short ethertype) { ethertype_ = std::bit_cast<Ethertype>(ethertype); }
  unsigned short get_ethertype() const { return std::bit_cast<unsigned short>(ethertype_); }

  void swap(EtherHeader& other) noexcept { std::swap(*this, other); }

  friend bool operator==(const EtherHeader& left, const EtherHeader& right) {
    return left.ethertype_ == right.ethertype_ && left.dest_addr_ == right.dest_addr_ &&
           left.src_addr_ == right.src_addr_;
  }

 private:
  /// Octets in host order; an integer would require an aligned frame.
  using Ethertype = std::array<std::uint8_t, sizeof(unsigned short)>;

  MACAddress dest_addr_;
  MACAddress src_addr_;
  Ethertype ethertype_{};
};

static_assert(sizeof(EtherHeader) == 14 && alignof(EtherHeader) == 1);
static_assert(std::is_trivially_copyable_v<EtherHeader> && std::is_standard_layout_v<EtherHeader>);

inline void swap(EtherHeader& left, EtherHeader& right) noexcept { left.swap(right); }

/// Prints three lines. Leaves the stream set to hexadecimal, which callers that print headers rely on.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const EtherHeader& header);

}  // namespace qel

#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <iosfwd>
#include <optional>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/ieee802_11/cipher_suite.h"
#include "qel/ieee802_11/element.h"

namespace qel::ieee802_11 {

/// The RSN element, ID 48 (IEEE 802.11-2020, 9.4.2.24), which describes the security of a BSS.
///
/// Every field may be absent. On the wire, only fields at the end can be: an absent field before a present one is
/// written as 00-0F-AC:0, as an empty list, or as no capabilities. Version 1 is written; when reading, any version is
/// accepted and not kept. Getters of absent fields throw std::bad_optional_access.
///
/// A list that counts more suites or PMKIDs than fit in the element is refused with "Invalid counter".
class QEL_EXPORT IEEE802_11_RSNElement final : public IEEE802_11_Element<IEEE802_11_RSNElement, 48> {
 public:
  using CipherSuites = std::vector<IEEE802_11_CipherSuite>;
  using PMKID = std::array<unsigned char, 16>;

  bool has_group_data() const { return group_data_.has_value(); }
  const IEEE802_11_CipherSuite& get_group_data() const { return group_data_.value(); }
  void set_group_data(const IEEE802_11_CipherSuite& suite) { group_data_ = suite; }

  bool has_pairwise_cipher_list() const { return pairwise_ciphers_.has_value(); }
  const CipherSuites& get_pairwise_cipher_list() const { return pairwise_ciphers_.value(); }
  void set_pairwise_cipher_list(CipherSuites suites) { pairwise_ciphers_ = std::move(suites); }

  bool has_akm_suite_list() const { return akm_suites_.has_value(); }
  const CipherSuites& get_akm_suite_list() const { return akm_suites_.value(); }
  void set_akm_suite_list(CipherSuites suites) { akm_suites_ = std::move(suites); }

  bool has_rsn_capabilities() const { return rsn_capabilities_.has_value(); }
  const std::bitset<16>& get_rsn_capabilities() const { return rsn_capabilities_.value(); }
  void set_rsn_capabilities(const std::bitset<16>& capabilities) { rsn_capabilities_ = capabilities; }

  bool has_pmkid_list() const { return pmkids_.has_value(); }
  const std::vector<PMKID>& get_pmkid_list() const { return pmkids_.value(); }
  void set_pmkid_list(std::vector<PMKID> pmkids) { pmkids_ = std::move(pmkids); }

  bool has_group_management_cipher() const { return group_management_cipher_.has_value(); }
  const IEEE802_11_CipherSuite& get_group_management_cipher() const { return group_management_cipher_.value(); }
  void set_group_management_cipher(const IEEE802_11_CipherSuite& suite) { group_management_cipher_ = suite; }

  std::size_t get_length() const override;
  void dbg_str(std::ostream& os) const override;

 private:
  friend class IEEE802_11_Element<IEEE802_11_RSNElement, 48>;
  void put_body(serialization::Writer& out) const;
  void take_body(ElementBody& body);
  bool equals(const IEEE802_11_RSNElement& other) const;

  /// Number of fields that are written, starting with the first.
  int fields_written() const;

  std::optional<IEEE802_11_CipherSuite> group_data_;
  std::optional<CipherSuites> pairwise_ciphers_;
  std::optional<CipherSuites> akm_suites_;
  std::optional<std::bitset<16>> rsn_capabilities_;
  std::optional<std::vector<PMKID>> pmkids_;
  std::optional<IEEE802_11_CipherSuite> group_management_cipher_;
};

}  // namespace qel::ieee802_11

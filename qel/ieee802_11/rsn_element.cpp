#include "qel/ieee802_11/rsn_element.h"

#include <numeric>
#include <ostream>

#include "qel/core/hex_text.h"
#include "qel/ieee802_11/element_impl.h"
#include "qel/ieee802_11/little_endian.h"

namespace qel::ieee802_11 {

namespace {

using Uint16 = LittleEndian<std::uint16_t>;

constexpr Uint16 VERSION{1};

template <class E>
using OptionalList = std::optional<std::vector<E>>;

template <class E>
std::size_t size_on_wire(const OptionalList<E>& list) {
  return sizeof(std::uint16_t) + (list ? list->size() * serialization::WireType<E>::SIZE : 0);
}

/// The count fits into 16 bits, because the whole element fits into 255 octets.
template <class E>
void put_list(serialization::Writer& out, const OptionalList<E>& list) {
  out.put(Uint16{static_cast<std::uint16_t>(list ? list->size() : 0)});
  if (list) {
    out.put_list(*list);
  }
}

template <class E>
void take_list(ElementBody& body, OptionalList<E>& list) {
  const std::size_t count = body.get<Uint16>().value;
  if (count > body.size() / serialization::WireType<E>::SIZE) {
    serialization::fail("Invalid counter");
  }
  list.emplace(count);
  for (E& element : *list) {
    body.get(element);
  }
}

void print(std::ostream& os, const IEEE802_11_CipherSuite& suite) { os << suite; }
void print(std::ostream& os, const IEEE802_11_RSNElement::PMKID& pmkid) { os << hex_text(pmkid, UPPER_CASE_DIGITS); }

template <class E>
void print_list(std::ostream& os, const char* label, const OptionalList<E>& list) {
  if (list) {
    os << label << '[';
    for (const E& element : *list) {
      os << ' ';
      print(os, element);
    }
    os << " ]";
  }
}

}  // namespace

int IEEE802_11_RSNElement::fields_written() const {
  const bool present[] = {group_data_.has_value(), pairwise_ciphers_.has_value(),
                          akm_suites_.has_value(), rsn_capabilities_.has_value(),
                          pmkids_.has_value(),     group_management_cipher_.has_value()};
  int fields = 6;
  while (fields > 0 && !present[fields - 1]) {
    --fields;
  }
  return fields;
}

std::size_t IEEE802_11_RSNElement::get_length() const {
  constexpr std::size_t SUITE_SIZE = serialization::WireType<IEEE802_11_CipherSuite>::SIZE;
  const std::size_t sizes[] = {SUITE_SIZE,
                               size_on_wire(pairwise_ciphers_),
                               size_on_wire(akm_suites_),
                               sizeof(std::uint16_t),
                               size_on_wire(pmkids_),
                               SUITE_SIZE};
  return std::accumulate(sizes, sizes + fields_written(), serialization::WireType<Uint16>::SIZE);
}

void IEEE802_11_RSNElement::put_body(serialization::Writer& out) const {
  const int fields = fields_written();
  out.put(VERSION);
  if (fields >= 1) {
    out.put(group_data_.value_or(IEEE802_11_CipherSuite()));
  }
  if (fields >= 2) {
    put_list(out, pairwise_ciphers_);
  }
  if (fields >= 3) {
    put_list(out, akm_suites_);
  }
  if (fields >= 4) {
    out.put(rsn_capabilities_.value_or(std::bitset<16>()));
  }
  if (fields >= 5) {
    put_list(out, pmkids_);
  }
  if (fields >= 6) {
    out.put(*group_management_cipher_);
  }
}

void IEEE802_11_RSNElement::take_body(ElementBody& body) {
  *this = IEEE802_11_RSNElement();
  body.get<Uint16>();
  if (!body.empty()) {
    body.get(group_data_.emplace());
  }
  if (!body.empty()) {
    take_list(body, pairwise_ciphers_);
  }
  if (!body.empty()) {
    take_list(body, akm_suites_);
  }
  if (!body.empty()) {
    body.get(rsn_capabilities_.emplace());
  }
  if (!body.empty()) {
    take_list(body, pmkids_);
  }
  if (!body.empty()) {
    body.get(group_management_cipher_.emplace());
  }
}

bool IEEE802_11_RSNElement::equals(const IEEE802_11_RSNElement& other) const {
  return group_data_ == other.group_data_ && pairwise_ciphers_ == other.pairwise_ciphers_ &&
         akm_suites_ == other.akm_suites_ && rsn_capabilities_ == other.rsn_capabilities_ && pmkids_ == other.pmkids_ &&
         group_management_cipher_ == other.group_management_cipher_;
}

void IEEE802_11_RSNElement::dbg_str(std::ostream& os) const {
  os << "RSN";
  if (group_data_) {
    os << " Group Data Cipher: " << *group_data_;
  }
  print_list(os, " Pairwise Ciphers: ", pairwise_ciphers_);
  print_list(os, " AKM Suites: ", akm_suites_);
  if (rsn_capabilities_) {
    os << " RSN Capabilities: 0x" << hex_text(*rsn_capabilities_);
  }
  print_list(os, " PMKIDs: ", pmkids_);
  if (group_management_cipher_) {
    os << " Group Management Cipher: " << *group_management_cipher_;
  }
}

template class IEEE802_11_Element<IEEE802_11_RSNElement, 48>;

}  // namespace qel::ieee802_11

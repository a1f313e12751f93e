#pragma once

#include <concepts>
#include <cstddef>
#include <iterator>
#include <list>
#include <memory>
#include <type_traits>

#include "qel/ieee1905_1/tlv.h"

namespace qel::ieee1905_1 {

/// A class of TLVs that knows its own type, as all classes but TLV itself do. It must be the library's class for that
/// type: it is what decoding creates, so a class of your own derived from it is not found.
template <class T>
concept TypedTLV = std::derived_from<T, TLVCommon<std::remove_const_t<T>::TYPE>>;

/// The TLVs of one class in a list, in order. Nothing is copied; the list must outlive the range. T may be const.
template <TypedTLV T>
class TypedRange {
 public:
  using List = std::list<std::unique_ptr<TLV>>;

  /// Skips TLVs of other types.
  class iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    iterator() = default;
    iterator(List::const_iterator position, List::const_iterator end) : position_(position), end_(end) { skip(); }

    reference operator*() const { return static_cast<T&>(**position_); }
    pointer operator->() const { return &**this; }
    iterator& operator++() {
      ++position_;
      skip();
      return *this;
    }
    iterator operator++(int) {
      iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const iterator& left, const iterator& right) { return left.position_ == right.position_; }

   private:
    void skip() {
      while (position_ != end_ && (*position_)->get_type() != T::TYPE) {
        ++position_;
      }
    }

    List::const_iterator position_;
    List::const_iterator end_;
  };

  explicit TypedRange(const List& list) : list_(&list) {}

  iterator begin() const { return {list_->begin(), list_->end()}; }
  iterator end() const { return {list_->end(), list_->end()}; }
  bool empty() const { return begin() == end(); }

 private:
  const List* list_;
};

}  // namespace qel::ieee1905_1

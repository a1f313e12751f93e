#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace qel {

/// A strategy decides whether a later value replaces an earlier one that is set.
///
/// This one: only if it differs, so the timestamp is that of the last change.
struct LastChangedStrategy {
  template <class T>
  static constexpr bool replaces(const T& stored, const T& offered) {
    return !(stored == offered);  // NaN differs from itself
  }
};

/// Always, so the timestamp is that of the last report.
struct LastUpdatedStrategy {
  template <class T>
  static constexpr bool replaces(const T&, const T&) {
    return true;
  }
};

/// Never; the first value stays.
struct SetOnceStrategy {
  template <class T>
  static constexpr bool replaces(const T&, const T&) {
    return false;
  }
};

/// A value that may be unset, with its timestamp and a strategy for accepting a later value.
template <class T, class Strategy>
class DynamicValue {
 public:
  /// Nanoseconds of the steady clock; 0 means unset.
  using Timestamp = std::int64_t;

  /// Unset.
  constexpr DynamicValue() = default;

  /// Set, with the current time.
  explicit DynamicValue(T value) : DynamicValue(std::move(value), now()) {}

  /// Unset if the timestamp is 0.
  constexpr DynamicValue(T value, Timestamp timestamp)
      : value_(timestamp == 0 ? T{} : std::move(value)), timestamp_(timestamp) {}

  constexpr bool is_set() const { return timestamp_ != 0; }

  /// Throws std::logic_error if unset.
  constexpr const T& get() const {
    if (!is_set()) {
      throw std::logic_error("DynamicValue: not set");
    }
    return value_;
  }

  constexpr Timestamp get_timestamp() const { return timestamp_; }

  constexpr void reset() { *this = DynamicValue(); }

  /// True if `update(other)` would change this value: `other` is set and later, and this value is unset or the strategy
  /// replaces it.
  constexpr bool can_update_from(const DynamicValue& other) const {
    return other.is_set() && other.timestamp_ > timestamp_ && (!is_set() || Strategy::replaces(value_, other.value_));
  }

  /// Takes the other's value and timestamp if `can_update_from(other)`, and returns whether it did.
  constexpr bool update(const DynamicValue& other) {
    const bool takes = can_update_from(other);
    if (takes) {
      *this = other;
    }
    return takes;
  }

  /// True if both are unset, or both are set to equal values, whatever their timestamps.
  constexpr bool equivalent_to(const DynamicValue& other) const {
    return is_set() == other.is_set() && (!is_set() || value_ == other.value_);
  }

  /// Compares values and timestamps; NaN differs from itself.
  friend constexpr bool operator==(const DynamicValue& left, const DynamicValue& right) {
    return left.timestamp_ == right.timestamp_ && (!left.is_set() || left.value_ == right.value_);
  }

  static Timestamp now() {
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
  }

 private:
  T value_{};
  Timestamp timestamp_ = 0;
};

/// A value with the time of its last change.
template <class T>
using LastChanged = DynamicValue<T, LastChangedStrategy>;

/// A value with the time at which it was last set, changed or not.
template <class T>
using LastUpdated = DynamicValue<T, LastUpdatedStrategy>;

}  // namespace qel

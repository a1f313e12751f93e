#pragma once

#include <gtest/gtest.h>

#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// The setter and the getter of a field of any class, by its name; or what adds to a list, and what gives the list.
/// Only the preprocessor can put names together.
#define FIELD(NAME) FIELD_OF(set_##NAME, get_##NAME)
#define FIELD_OF(SET, GET)                                                                             \
  std::pair([](auto& object, const auto& value) -> decltype(object.SET(value)) { object.SET(value); }, \
            [](const auto& object) -> decltype(auto) { return object.GET(); })

namespace qel::test {

template <class Set, class Get, class Value>
struct Field {
  Field(const std::pair<Set, Get>& accessors, const Value& its_value)
      : set(accessors.first), get(accessors.second), value(its_value) {}

  /// As the getter gives it.
  decltype(auto) wanted_of(const auto& object) const {
    using Held = std::remove_cvref_t<decltype(get(object))>;
    return static_cast<std::conditional_t<std::is_abstract_v<Held>, const Value&, Held>>(value);
  }
  bool is_in(const auto& object) const { return get(object) == wanted_of(object); }
  void put_into(auto& object) const {
    if constexpr (std::is_invocable_v<Set, decltype(object), decltype(wanted_of(object))>) {
      set(object, wanted_of(object));
    } else {
      for (const auto& element : value) {
        set(object, element);
      }
    }
  }

  Set set;
  Get get;
  const Value& value;
};

template <class T, class... Fields>
T check_fields(const auto& make_blank, T object, const Fields&... field) {
  const T blank = make_blank();
  int number = 0;
  const auto check = [&](const auto& one) {
    SCOPED_TRACE(testing::Message() << "field " << ++number << " of " << typeid(T).name());
    T changed = make_blank();
    one.put_into(changed);
    EXPECT_TRUE(one.is_in(changed) && !one.is_in(blank));
    EXPECT_EQ((0 + ... + int{!(field.get(changed) == field.get(blank))}), 1);
    if (!one.is_in(object)) {
      EXPECT_TRUE(one.get(object) == one.get(blank));
      one.put_into(object);
    }
  };
  (check(field), ...);
  EXPECT_TRUE((field.is_in(object) && ...));
  return object;
}

/// The object with the value in each field; behind it come a field, its value, and so on. Every value is another than
/// in the objects that `make_blank` makes; where the object has not got it yet, the setter puts it in. In a blank
/// object a setter alone changes what its getter gives, to the value, and what no other getter gives.
template <class T, class... Arguments>
T fields_from(const auto& make_blank, T object, const Arguments&... arguments) {
  const auto all = std::tie(arguments...);
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return check_fields(make_blank, std::move(object), Field(std::get<2 * I>(all), std::get<2 * I + 1>(all))...);
  }
  (std::make_index_sequence<sizeof...(Arguments) / 2>());
}
template <class T, class... Arguments>
T fields(T object, const Arguments&... arguments) {
  return fields_from([] { return T(); }, std::move(object), arguments...);
}

}  // namespace qel::test

#pragma once

#include <type_traits>
#include <typeinfo>

#include "tests/support/testing.h"

/// The setter and getter of a field of any class, by name; or the functions that add to and return a list. Only the
/// preprocessor can compose names.
#define FIELD(NAME) FIELD_OF(set_##NAME, get_##NAME)
#define FIELD_OF(SET, GET)                                                                             \
  std::pair([](auto& object, const auto& value) -> decltype(object.SET(value)) { object.SET(value); }, \
            [](const auto& object) -> decltype(auto) { return object.GET(); })

namespace qel::test {

/// Returns the value that the getter gives.
template <class Field, class Value>
decltype(auto) held(const auto& object, const Field& field, const Value& value) {
  using Held = std::remove_cvref_t<decltype(field.second(object))>;
  return static_cast<std::conditional_t<std::is_abstract_v<Held>, const Value&, Held>>(value);
}

/// Returns the object after calling each setter with the value that follows it, or with each of its elements.
template <class T>
T filled(T object) {
  return object;
}
template <class T, class Field, class Value, class... More>
T filled(T object, const Field& field, const Value& value, const More&... more) {
  if constexpr (requires { field.first(object, held(object, field, value)); }) {
    field.first(object, held(object, field, value));
  } else {
    for (const auto& element : value) {
      field.first(object, element);
    }
  }
  return filled(std::move(object), more...);
}

/// As above, and checks that every value differs from those in the objects that `make_blank` returns, and that in such
/// an object each setter changes what its own getter returns, to the value, and nothing that another getter returns.
template <class T, class... Arguments>
T fields_from(const auto& make_blank, T object, const Arguments&... arguments) {
  const auto all = std::tie(arguments...);
  const T blank = make_blank();
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    int number = 0;
    const auto check = [&](const auto& field, const auto& value) {
      SCOPED_TRACE(testing::Message() << "field " << ++number << " of " << typeid(T).name());
      const auto has = [&](const T& holder) { return field.second(holder) == held(holder, field, value); };
      const T changed = filled(make_blank(), field, value);
      EXPECT_TRUE(has(changed) && !has(blank));
      EXPECT_EQ((0 + ... + int{!(std::get<2 * I>(all).second(changed) == std::get<2 * I>(all).second(blank))}), 1);
      if (!has(object)) {
        EXPECT_TRUE(field.second(object) == field.second(blank));
        object = filled(std::move(object), field, value);
      }
    };
    (check(std::get<2 * I>(all), std::get<2 * I + 1>(all)), ...);
  }
  (std::make_index_sequence<sizeof...(Arguments) / 2>());
  return object;
}
template <class T, class... Arguments>
T fields(T object, const Arguments&... arguments) {
  return fields_from([] { return T(); }, std::move(object), arguments...);
}

}  // namespace qel::test

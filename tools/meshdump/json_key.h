#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace meshdump {

/// The pointer as the compiler spells it; g++ and clang end with "= &qel::C::get_member]". C++20 has no other way to
/// get the name of a member, and a list of names beside the wire tables would become outdated.
template <auto POINTER>
consteval auto spelling() {
  return std::string_view(__PRETTY_FUNCTION__);
}

/// The name of a member or an accessor in JSON.
struct JsonKey {
  std::array<char, 64> characters{};
  std::size_t size = 0;

  constexpr operator std::string_view() const { return {characters.data(), size}; }
};

/// Turns both `get_AL_MAC_neighbor_vector` and `AL_MAC_neighbor_vector_` into "al_mac_neighbor".
consteval JsonKey json_key(std::string_view spelling) {
  const std::size_t end = spelling.size() - 1;
  const std::size_t begin = spelling.rfind(':', end) + 1;
  std::string_view name = spelling.substr(begin, end - begin);
  for (const std::string_view prefix : {"get_", "is_"}) {
    name.remove_prefix(name.starts_with(prefix) ? prefix.size() : 0);
  }
  for (const std::string_view suffix : {"_", "_vector"}) {
    name.remove_suffix(name.ends_with(suffix) ? suffix.size() : 0);
  }
  JsonKey key;
  for (const char character : name) {
    const bool is_upper = character >= 'A' && character <= 'Z';
    const bool is_other = (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
    if (!is_upper && !is_other && character != '_') {
      throw "not compilable: the compiler spells pointers to members in another way";
    }
    key.characters[key.size++] = is_upper ? static_cast<char>(character - 'A' + 'a') : character;
  }
  return key;
}

template <auto POINTER>
inline constexpr JsonKey JSON_KEY = json_key(spelling<POINTER>());

}  // namespace meshdump

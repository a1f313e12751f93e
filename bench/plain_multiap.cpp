#include "bench/plain_multiap.h"

#include <cstring>

namespace plain {

bool decode(Cursor& in, APCapability& capability) {
  if (!in.has(1)) {
    return false;
  }
  capability.flags = *in.p++;
  return true;
}

bool decode(Cursor& in, RadioCapabilities& capabilities) {
  if (!in.has(8)) {
    return false;
  }
  std::memcpy(&capabilities.radio, in.p, 6);
  capabilities.max_bss = in.p[6];
  const std::uint8_t count = in.p[7];
  in.p += 8;
  if (!in.has(std::size_t{count} * 3)) {
    return false;
  }
  capabilities.classes = new OperatingClass[count]();
  capabilities.count = count;
  for (std::uint8_t i = 0; i < count; ++i) {
    if (!in.has(3)) {
      return false;
    }
    OperatingClass& operating_class = capabilities.classes[i];
    operating_class.number = in.p[0];
    operating_class.power = static_cast<signed char>(in.p[1]);
    const std::uint8_t channels = in.p[2];
    in.p += 3;
    if (!in.has(channels)) {
      return false;
    }
    operating_class.channels = new std::uint8_t[channels];
    operating_class.count = channels;
    copy(operating_class.channels, in.p, channels);
    in.p += channels;
  }
  return true;
}

bool decode(Cursor& in, HTCapabilities& capabilities) {
  if (!in.has(7)) {
    return false;
  }
  std::memcpy(&capabilities.radio, in.p, 6);
  capabilities.flags = in.p[6];
  in.p += 7;
  return true;
}

bool decode(Cursor& in, VHTCapabilities& capabilities) {
  if (!in.has(12)) {
    return false;
  }
  std::memcpy(&capabilities.radio, in.p, 6);
  capabilities.tx_mcs = load_flags(in.p + 6);
  capabilities.rx_mcs = load_flags(in.p + 8);
  capabilities.flags = load_flags(in.p + 10);
  in.p += 12;
  return true;
}

bool decode(Cursor& in, ChannelPreferences& preferences) {
  if (!in.has(7)) {
    return false;
  }
  std::memcpy(&preferences.radio, in.p, 6);
  const std::uint8_t count = in.p[6];
  in.p += 7;
  if (!in.has(std::size_t{count} * 3)) {
    return false;
  }
  preferences.preferences = new Preference[count]();
  preferences.count = count;
  for (std::uint8_t i = 0; i < count; ++i) {
    if (!in.has(2)) {
      return false;
    }
    Preference& preference = preferences.preferences[i];
    preference.operating_class = in.p[0];
    const std::uint8_t channels = in.p[1];
    in.p += 2;
    if (!in.has(channels + std::size_t{1})) {
      return false;
    }
    preference.channels = new std::uint8_t[channels];
    preference.count = channels;
    copy(preference.channels, in.p, channels);
    preference.preference = in.p[channels];
    in.p += channels + std::size_t{1};
  }
  return true;
}

bool decode(Cursor& in, Restriction& restriction) {
  if (!in.has(7)) {
    return false;
  }
  std::memcpy(&restriction.radio, in.p, 6);
  const std::uint8_t count = in.p[6];
  in.p += 7;
  if (!in.has(std::size_t{count} * 2)) {
    return false;
  }
  restriction.classes = new RestrictedClass[count]();
  restriction.count = count;
  for (std::uint8_t i = 0; i < count; ++i) {
    if (!in.has(2)) {
      return false;
    }
    RestrictedClass& restricted = restriction.classes[i];
    restricted.number = in.p[0];
    const std::uint8_t channels = in.p[1];
    in.p += 2;
    if (!in.has(channels * sizeof(RestrictedChannel))) {
      return false;
    }
    restricted.channels = new RestrictedChannel[channels];
    restricted.count = channels;
    copy(restricted.channels, in.p, channels * sizeof(RestrictedChannel));
    in.p += channels * sizeof(RestrictedChannel);
  }
  return true;
}

void clear(const RadioCapabilities& capabilities) {
  for (std::uint8_t i = 0; i < capabilities.count; ++i) {
    delete[] capabilities.classes[i].channels;
  }
  delete[] capabilities.classes;
}

void clear(const ChannelPreferences& preferences) {
  for (std::uint8_t i = 0; i < preferences.count; ++i) {
    delete[] preferences.preferences[i].channels;
  }
  delete[] preferences.preferences;
}

void clear(const Restriction& restriction) {
  for (std::uint8_t i = 0; i < restriction.count; ++i) {
    delete[] restriction.classes[i].channels;
  }
  delete[] restriction.classes;
}

std::size_t size_of(const RadioCapabilities& capabilities) {
  std::size_t size = 8;
  for (std::uint8_t i = 0; i < capabilities.count; ++i) {
    size += 3U + capabilities.classes[i].count;
  }
  return size;
}

std::size_t size_of(const ChannelPreferences& preferences) {
  std::size_t size = 7;
  for (std::uint8_t i = 0; i < preferences.count; ++i) {
    size += 3U + preferences.preferences[i].count;
  }
  return size;
}

std::size_t size_of(const Restriction& restriction) {
  std::size_t size = 7;
  for (std::uint8_t i = 0; i < restriction.count; ++i) {
    size += 2 + restriction.classes[i].count * sizeof(RestrictedChannel);
  }
  return size;
}

std::uint8_t* encode(const APCapability& capability, std::uint8_t* p) {
  *p = capability.flags;
  return p + 1;
}

std::uint8_t* encode(const RadioCapabilities& capabilities, std::uint8_t* p) {
  std::memcpy(p, &capabilities.radio, 6);
  p[6] = capabilities.max_bss;
  p[7] = capabilities.count;
  p += 8;
  for (std::uint8_t i = 0; i < capabilities.count; ++i) {
    const OperatingClass& operating_class = capabilities.classes[i];
    p[0] = operating_class.number;
    p[1] = static_cast<std::uint8_t>(operating_class.power);
    p[2] = operating_class.count;
    copy(p + 3, operating_class.channels, operating_class.count);
    p += 3 + operating_class.count;
  }
  return p;
}

std::uint8_t* encode(const HTCapabilities& capabilities, std::uint8_t* p) {
  std::memcpy(p, &capabilities.radio, 6);
  p[6] = capabilities.flags;
  return p + 7;
}

std::uint8_t* encode(const VHTCapabilities& capabilities, std::uint8_t* p) {
  std::memcpy(p, &capabilities.radio, 6);
  store_flags(p + 6, capabilities.tx_mcs);
  store_flags(p + 8, capabilities.rx_mcs);
  store_flags(p + 10, capabilities.flags);
  return p + 12;
}

std::uint8_t* encode(const ChannelPreferences& preferences, std::uint8_t* p) {
  std::memcpy(p, &preferences.radio, 6);
  p[6] = preferences.count;
  p += 7;
  for (std::uint8_t i = 0; i < preferences.count; ++i) {
    const Preference& preference = preferences.preferences[i];
    p[0] = preference.operating_class;
    p[1] = preference.count;
    copy(p + 2, preference.channels, preference.count);
    p += 2 + preference.count;
    *p++ = preference.preference;
  }
  return p;
}

std::uint8_t* encode(const Restriction& restriction, std::uint8_t* p) {
  std::memcpy(p, &restriction.radio, 6);
  p[6] = restriction.count;
  p += 7;
  for (std::uint8_t i = 0; i < restriction.count; ++i) {
    const RestrictedClass& restricted = restriction.classes[i];
    p[0] = restricted.number;
    p[1] = restricted.count;
    copy(p + 2, restricted.channels, restricted.count * sizeof(RestrictedChannel));
    p += 2 + restricted.count * sizeof(RestrictedChannel);
  }
  return p;
}

}  // namespace plain

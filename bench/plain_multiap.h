#pragma once

#include <cstddef>
#include <cstdint>

#include "bench/plain_codec.h"
#include "bench/plain_octets.h"

/// The bodies of the Multi-AP TLVs for the hand-written codec. Each is decoded into a zeroed struct; `clear` frees its
/// arrays, even if decoding failed. `encode` returns the end of what it wrote.
namespace plain {

struct APCapability {
  std::uint8_t flags;
};

struct OperatingClass {
  std::uint8_t number;
  signed char power;
  std::uint8_t count;
  std::uint8_t* channels;
};

struct RadioCapabilities {
  Mac radio;
  std::uint8_t max_bss;
  std::uint8_t count;
  OperatingClass* classes;
};

struct HTCapabilities {
  Mac radio;
  std::uint8_t flags;
};

struct VHTCapabilities {
  Mac radio;
  std::uint16_t tx_mcs, rx_mcs, flags;
};

struct Preference {
  std::uint8_t operating_class;
  std::uint8_t preference;
  std::uint8_t count;
  std::uint8_t* channels;
};

struct ChannelPreferences {
  Mac radio;
  std::uint8_t count;
  Preference* preferences;
};

struct RestrictedChannel {
  std::uint8_t channel;
  std::uint8_t separation;
};

struct RestrictedClass {
  std::uint8_t number;
  std::uint8_t count;
  RestrictedChannel* channels;
};

struct Restriction {
  Mac radio;
  std::uint8_t count;
  RestrictedClass* classes;
};

bool decode(Cursor& in, APCapability& capability);
bool decode(Cursor& in, RadioCapabilities& capabilities);
bool decode(Cursor& in, HTCapabilities& capabilities);
bool decode(Cursor& in, VHTCapabilities& capabilities);
bool decode(Cursor& in, ChannelPreferences& preferences);
bool decode(Cursor& in, Restriction& restriction);

void clear(const RadioCapabilities& capabilities);
void clear(const ChannelPreferences& preferences);
void clear(const Restriction& restriction);

std::size_t size_of(const RadioCapabilities& capabilities);
std::size_t size_of(const ChannelPreferences& preferences);
std::size_t size_of(const Restriction& restriction);

std::uint8_t* encode(const APCapability& capability, std::uint8_t* p);
std::uint8_t* encode(const RadioCapabilities& capabilities, std::uint8_t* p);
std::uint8_t* encode(const HTCapabilities& capabilities, std::uint8_t* p);
std::uint8_t* encode(const VHTCapabilities& capabilities, std::uint8_t* p);
std::uint8_t* encode(const ChannelPreferences& preferences, std::uint8_t* p);
std::uint8_t* encode(const Restriction& restriction, std::uint8_t* p);

}  // namespace plain

#include <algorithm>
#include <array>

#include "qel/channel/operating_class_deduction.h"

/// The regulatory tables (IEEE 802.11-2020, Annex E: E-2 for Europe, E-4 for the global classes).

namespace qel {

namespace {

using Row = OperatingClassDeduction::OpclassRow;
using Behavior = OperatingClassDeduction::Behavior;

constexpr Behavior EIGHTY_PLUS[] = {Behavior::EIGHTY_PLUS_BEHAVIOR};
constexpr Behavior UNMAPPED[] = {Behavior::UNMAPPED_BEHAVIOR};
constexpr Behavior PRIMARY_LOWER[] = {Behavior::PRIMARY_LOWER_BEHAVIOR};
constexpr Behavior PRIMARY_UPPER[] = {Behavior::PRIMARY_UPPER_BEHAVIOR};

template <unsigned char... CHANNELS>
constexpr unsigned char LIST[] = {CHANNELS...};

/// Includes both ends.
template <unsigned char FIRST, unsigned char LAST, unsigned char STEP = 1>
constexpr auto FROM_TO = [] {
  std::array<unsigned char, std::size_t{LAST - FIRST} / STEP + 1> channels{};
  for (std::size_t i = 0; i < channels.size(); ++i) {
    channels[i] = static_cast<unsigned char>(FIRST + i * STEP);
  }
  return channels;
}();

/// Sorts by spacing; rows of equal spacing keep their order.
template <std::size_t N>
constexpr std::array<Row, N> by_spacing(std::array<Row, N> rows) {
  for (auto end = rows.begin(); end != rows.end(); ++end) {
    std::rotate(std::ranges::upper_bound(rows.begin(), end, end->channel_spacing, {}, &Row::channel_spacing), end,
                end + 1);
  }
  return rows;
}

// The 20 MHz classes at 2.4 GHz have a spacing of 25 MHz, so that a lookup of a 20 MHz channel tries the others first.

// clang-format off
constexpr auto EUROPE = by_spacing(std::to_array<Row>({
    // class, start, spacing, primary channels, centre channels, behaviours
    {  1, kHz( 5000000), MHz(  20), LIST<36, 40, 44, 48>,               {},                      {}},
    {  2, kHz( 5000000), MHz(  20), LIST<52, 56, 60, 64>,               {},                      {}},
    {  3, kHz( 5000000), MHz(  20), FROM_TO<100, 140, 4>,               {},                      {}},
    {  4, kHz( 2407000), MHz(  25), FROM_TO<1, 13>,                     {},                      {}},
    {  5, kHz( 5000000), MHz(  40), LIST<36, 44>,                       {},                      PRIMARY_LOWER},
    {  6, kHz( 5000000), MHz(  40), LIST<52, 60>,                       {},                      PRIMARY_LOWER},
    {  7, kHz( 5000000), MHz(  40), LIST<100, 108, 116, 124, 132>,      {},                      PRIMARY_LOWER},
    {  8, kHz( 5000000), MHz(  40), LIST<40, 48>,                       {},                      PRIMARY_UPPER},
    {  9, kHz( 5000000), MHz(  40), LIST<56, 64>,                       {},                      PRIMARY_UPPER},
    { 10, kHz( 5000000), MHz(  40), LIST<104, 112, 120, 128, 136>,      {},                      PRIMARY_UPPER},
    { 11, kHz( 2407000), MHz(  40), FROM_TO<1, 9>,                      {},                      PRIMARY_LOWER},
    { 12, kHz( 2407000), MHz(  40), FROM_TO<5, 13>,                     {},                      PRIMARY_UPPER},
    { 13, kHz( 5002500), MHz(   5), FROM_TO<171, 184>,                  {},                      UNMAPPED},
    { 14, kHz( 5000000), MHz(  10), FROM_TO<171, 184>,                  {},                      UNMAPPED},
    { 15, kHz( 5000000), MHz(  20), FROM_TO<172, 183>,                  {},                      UNMAPPED},
    { 16, kHz( 5000000), MHz(  20), FROM_TO<100, 140, 4>,               {},                      UNMAPPED},
    { 17, kHz( 5000000), MHz(  20), LIST<149, 153, 157, 161, 165, 169>, {},                      {}},
    { 18, kHz(56160000), MHz(2160), LIST<1, 2, 3, 4>,                   {},                      {}},
    {128, kHz( 5000000), MHz(  80), {},                                 LIST<42, 58, 106, 122>,  {}},
    {129, kHz( 5000000), MHz( 160), {},                                 LIST<50, 114>,           {}},
    {130, kHz( 5000000), MHz(  80), {},                                 LIST<42, 58, 106, 122>,  EIGHTY_PLUS},
}));

constexpr auto GLOBAL = by_spacing(std::to_array<Row>({
    // class, start, spacing, primary channels, centre channels, behaviours
    { 81, kHz( 2407000), MHz(  25), FROM_TO<1, 13>,                     {},                      {}},
    { 82, kHz( 2414000), MHz(  25), LIST<14>,                           {},                      {}},  // at 2484 MHz
    { 83, kHz( 2407000), MHz(  40), FROM_TO<1, 9>,                      {},                      PRIMARY_LOWER},
    { 84, kHz( 2407000), MHz(  40), FROM_TO<5, 13>,                     {},                      PRIMARY_UPPER},
    {115, kHz( 5000000), MHz(  20), LIST<36, 40, 44, 48>,               {},                      {}},
    {116, kHz( 5000000), MHz(  40), LIST<36, 44>,                       {},                      PRIMARY_LOWER},
    {117, kHz( 5000000), MHz(  40), LIST<40, 48>,                       {},                      PRIMARY_UPPER},
    {118, kHz( 5000000), MHz(  20), LIST<52, 56, 60, 64>,               {},                      {}},
    {119, kHz( 5000000), MHz(  40), LIST<52, 60>,                       {},                      PRIMARY_LOWER},
    {120, kHz( 5000000), MHz(  40), LIST<56, 64>,                       {},                      PRIMARY_UPPER},
    {121, kHz( 5000000), MHz(  20), FROM_TO<100, 144, 4>,               {},                      {}},
    {122, kHz( 5000000), MHz(  40), LIST<100, 108, 116, 124, 132, 140>, {},                      PRIMARY_LOWER},
    {123, kHz( 5000000), MHz(  40), LIST<104, 112, 120, 128, 136, 144>, {},                      PRIMARY_UPPER},
    {125, kHz( 5000000), MHz(  20), FROM_TO<149, 177, 4>,               {},                      {}},
    {126, kHz( 5000000), MHz(  40), LIST<149, 157, 165, 173>,           {},                      PRIMARY_LOWER},
    {127, kHz( 5000000), MHz(  40), LIST<153, 161, 169, 177>,           {},                      PRIMARY_UPPER},
    {128, kHz( 5000000), MHz(  80), {}, LIST<42, 58, 106, 122, 138, 155, 171>,                   {}},
    {129, kHz( 5000000), MHz( 160), {}, LIST<50, 114, 163>,                                      {}},
    {130, kHz( 5000000), MHz(  80), {}, LIST<42, 58, 106, 122, 138, 155, 171>,                   EIGHTY_PLUS},
    {131, kHz( 5950000), MHz(  20), FROM_TO<1, 233, 4>,                 {},                      {}},
    {132, kHz( 5950000), MHz(  40), {},                                 FROM_TO<3, 227, 8>,      {}},
    {133, kHz( 5950000), MHz(  80), {},                                 FROM_TO<7, 215, 16>,     {}},
    {134, kHz( 5950000), MHz( 160), {}, LIST<15, 47, 79, 111, 143, 175, 207>,                    {}},
    {135, kHz( 5950000), MHz(  80), {},                                 FROM_TO<7, 215, 16>,     EIGHTY_PLUS},
    {136, kHz( 5925000), MHz(  20), {},                                 LIST<2>,                 {}},
    {180, kHz(56160000), MHz(2160), FROM_TO<1, 6>,                      {},                      {}},
}));
// clang-format on

}  // namespace

constinit const OperatingClassDeduction::OpclassLookup OperatingClassDeduction::_channel_opclasses_europe(EUROPE);
constinit const OperatingClassDeduction::OpclassLookup OperatingClassDeduction::_channel_opclasses_global(GLOBAL);

}  // namespace qel

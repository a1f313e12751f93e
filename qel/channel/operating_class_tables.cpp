#include "qel/channel/operating_class_deduction.h"

/// The regulatory tables (IEEE 802.11-2020, Annex E: for Europe E-2, the global classes E-4).

namespace qel {

namespace {

constexpr auto EIGHTY_PLUS = OperatingClassDeduction::Behavior::EIGHTY_PLUS_BEHAVIOR;
constexpr auto UNMAPPED = OperatingClassDeduction::Behavior::UNMAPPED_BEHAVIOR;
constexpr auto PRIMARY_LOWER = OperatingClassDeduction::Behavior::PRIMARY_LOWER_BEHAVIOR;
constexpr auto PRIMARY_UPPER = OperatingClassDeduction::Behavior::PRIMARY_UPPER_BEHAVIOR;

/// Both ends included.
std::vector<unsigned char> from_to(int first, int last, int step = 1) {
  std::vector<unsigned char> channels;
  for (int channel = first; channel <= last; channel += step) {
    channels.push_back(static_cast<unsigned char>(channel));
  }
  return channels;
}

}  // namespace

// The priority puts the tables before the static objects of all other files, which may ask them. The classes of 2.4 GHz
// that are 20 MHz wide stand under a spacing of 25 MHz, so that a 20 MHz channel is looked for among the others first.

// clang-format off
[[gnu::init_priority(101)]] const OperatingClassDeduction::OpclassLookup
    OperatingClassDeduction::_channel_opclasses_europe{
    // class, start, spacing, primary channels, centre channels, behaviours
    {  1, kHz( 5000000), MHz(  20), {36, 40, 44, 48},               {},                 {}},
    {  2, kHz( 5000000), MHz(  20), {52, 56, 60, 64},               {},                 {}},
    {  3, kHz( 5000000), MHz(  20), from_to(100, 140, 4),           {},                 {}},
    {  4, kHz( 2407000), MHz(  25), from_to(1, 13),                 {},                 {}},
    {  5, kHz( 5000000), MHz(  40), {36, 44},                       {},                 {PRIMARY_LOWER}},
    {  6, kHz( 5000000), MHz(  40), {52, 60},                       {},                 {PRIMARY_LOWER}},
    {  7, kHz( 5000000), MHz(  40), {100, 108, 116, 124, 132},      {},                 {PRIMARY_LOWER}},
    {  8, kHz( 5000000), MHz(  40), {40, 48},                       {},                 {PRIMARY_UPPER}},
    {  9, kHz( 5000000), MHz(  40), {56, 64},                       {},                 {PRIMARY_UPPER}},
    { 10, kHz( 5000000), MHz(  40), {104, 112, 120, 128, 136},      {},                 {PRIMARY_UPPER}},
    { 11, kHz( 2407000), MHz(  40), from_to(1, 9),                  {},                 {PRIMARY_LOWER}},
    { 12, kHz( 2407000), MHz(  40), from_to(5, 13),                 {},                 {PRIMARY_UPPER}},
    { 13, kHz( 5002500), MHz(   5), from_to(171, 184),              {},                 {UNMAPPED}},
    { 14, kHz( 5000000), MHz(  10), from_to(171, 184),              {},                 {UNMAPPED}},
    { 15, kHz( 5000000), MHz(  20), from_to(172, 183),              {},                 {UNMAPPED}},
    { 16, kHz( 5000000), MHz(  20), from_to(100, 140, 4),           {},                 {UNMAPPED}},
    { 17, kHz( 5000000), MHz(  20), {149, 153, 157, 161, 165, 169}, {},                 {}},
    { 18, kHz(56160000), MHz(2160), {1, 2, 3, 4},                   {},                 {}},
    {128, kHz( 5000000), MHz(  80), {},                             {42, 58, 106, 122}, {}},
    {129, kHz( 5000000), MHz( 160), {},                             {50, 114},          {}},
    {130, kHz( 5000000), MHz(  80), {},                             {42, 58, 106, 122}, {EIGHTY_PLUS}},
};

[[gnu::init_priority(101)]] const OperatingClassDeduction::OpclassLookup
    OperatingClassDeduction::_channel_opclasses_global{
    // class, start, spacing, primary channels, centre channels, behaviours
    { 81, kHz( 2407000), MHz(  25), from_to(1, 13),                 {}, {}},
    { 82, kHz( 2414000), MHz(  25), {14},                           {}, {}},  // starts so that 14 comes to 2484 MHz
    { 83, kHz( 2407000), MHz(  40), from_to(1, 9),                  {}, {PRIMARY_LOWER}},
    { 84, kHz( 2407000), MHz(  40), from_to(5, 13),                 {}, {PRIMARY_UPPER}},
    {115, kHz( 5000000), MHz(  20), {36, 40, 44, 48},               {}, {}},
    {116, kHz( 5000000), MHz(  40), {36, 44},                       {}, {PRIMARY_LOWER}},
    {117, kHz( 5000000), MHz(  40), {40, 48},                       {}, {PRIMARY_UPPER}},
    {118, kHz( 5000000), MHz(  20), {52, 56, 60, 64},               {}, {}},
    {119, kHz( 5000000), MHz(  40), {52, 60},                       {}, {PRIMARY_LOWER}},
    {120, kHz( 5000000), MHz(  40), {56, 64},                       {}, {PRIMARY_UPPER}},
    {121, kHz( 5000000), MHz(  20), from_to(100, 144, 4),           {}, {}},
    {122, kHz( 5000000), MHz(  40), {100, 108, 116, 124, 132, 140}, {}, {PRIMARY_LOWER}},
    {123, kHz( 5000000), MHz(  40), {104, 112, 120, 128, 136, 144}, {}, {PRIMARY_UPPER}},
    {125, kHz( 5000000), MHz(  20), from_to(149, 177, 4),           {}, {}},
    {126, kHz( 5000000), MHz(  40), {149, 157, 165, 173},           {}, {PRIMARY_LOWER}},
    {127, kHz( 5000000), MHz(  40), {153, 161, 169, 177},           {}, {PRIMARY_UPPER}},
    {128, kHz( 5000000), MHz(  80), {}, {42, 58, 106, 122, 138, 155, 171},     {}},
    {129, kHz( 5000000), MHz( 160), {}, {50, 114, 163},                        {}},
    {130, kHz( 5000000), MHz(  80), {}, {42, 58, 106, 122, 138, 155, 171},     {EIGHTY_PLUS}},
    {131, kHz( 5950000), MHz(  20), from_to(1, 233, 4),             {}, {}},
    {132, kHz( 5950000), MHz(  40), {}, from_to(3, 227, 8),                    {}},
    {133, kHz( 5950000), MHz(  80), {}, from_to(7, 215, 16),                   {}},
    {134, kHz( 5950000), MHz( 160), {}, {15, 47, 79, 111, 143, 175, 207},      {}},
    {135, kHz( 5950000), MHz(  80), {}, from_to(7, 215, 16),                   {EIGHTY_PLUS}},
    {136, kHz( 5925000), MHz(  20), {}, {2},                                   {}},
    {180, kHz(56160000), MHz(2160), from_to(1, 6),                  {}, {}},
};
// clang-format on

}  // namespace qel

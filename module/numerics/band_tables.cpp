#include "numerics/band_tables.h"

#include <array>

namespace vynpack {
namespace {

// clang-format off
// Kept: no band covers 27 to 28 Hz, and the highest one ends at 22497 Hz.
constexpr std::array<Band, kThirdOctaveBands> kThirdOctaves = {{
    {   16.0F,    14.0F,    18.0F, -56.7F},
    {   20.0F,    18.0F,    23.0F, -50.5F},
    {   25.0F,    23.0F,    27.0F, -44.7F},
    {   31.5F,    28.0F,    35.5F, -39.4F},
    {   40.0F,    35.5F,    45.0F, -34.6F},
    {   50.0F,    45.0F,    56.0F, -30.2F},
    {   63.0F,    56.0F,    71.0F, -26.2F},
    {   80.0F,    71.0F,    89.0F, -22.5F},
    {  100.0F,    89.0F,   112.0F, -19.1F},
    {  125.0F,   112.0F,   141.0F, -16.1F},
    {  160.0F,   141.0F,   178.0F, -13.4F},
    {  200.0F,   178.0F,   223.0F, -10.9F},
    {  250.0F,   223.0F,   280.0F,  -8.6F},
    {  315.0F,   280.0F,   355.0F,  -6.6F},
    {  400.0F,   355.0F,   450.0F,  -4.8F},
    {  500.0F,   450.0F,   560.0F,  -3.2F},
    {  630.0F,   560.0F,   710.0F,  -1.9F},
    {  800.0F,   710.0F,   890.0F,  -0.8F},
    { 1000.0F,   890.0F,  1120.0F,   0.0F},
    { 1250.0F,  1120.0F,  1410.0F,   0.6F},
    { 1600.0F,  1410.0F,  1780.0F,   1.0F},
    { 2000.0F,  1780.0F,  2230.0F,   1.2F},
    { 2500.0F,  2230.0F,  2800.0F,   1.3F},
    { 3150.0F,  2800.0F,  3550.0F,   1.2F},
    { 4000.0F,  3550.0F,  4500.0F,   1.0F},
    { 5000.0F,  4500.0F,  5600.0F,   0.5F},
    { 6300.0F,  5600.0F,  7100.0F,  -0.1F},
    { 8000.0F,  7100.0F,  8900.0F,  -1.1F},
    {10000.0F,  8900.0F, 11200.0F,  -2.5F},
    {12500.0F, 11200.0F, 14130.0F,  -4.3F},
    {16000.0F, 14130.0F, 17780.0F,  -6.6F},
    {20000.0F, 17780.0F, 22497.0F,  -9.3F},
    {    0.0F,     0.0F,     0.0F,   0.0F},
}};

constexpr std::array<Band, kOctaveBands> kOctaves = {{
    {   16.0F,    11.0F,    22.0F, -56.7F},
    {   31.5F,    22.0F,    44.0F, -39.4F},
    {   63.0F,    44.0F,    89.0F, -26.2F},
    {  125.0F,    89.0F,   178.0F, -16.1F},
    {  250.0F,   178.0F,   355.0F,  -8.6F},
    {  500.0F,   355.0F,   710.0F,  -3.2F},
    { 1000.0F,   710.0F,  1420.0F,   0.0F},
    { 2000.0F,  1420.0F,  2840.0F,   1.2F},
    { 4000.0F,  2840.0F,  5680.0F,   1.0F},
    { 8000.0F,  5680.0F, 11360.0F,  -1.1F},
    {16000.0F, 11360.0F, 22720.0F,  -6.6F},
}};
// clang-format on

}  // namespace

std::span<const Band> thirdOctaveBands() noexcept { return kThirdOctaves; }

std::span<const Band> octaveBands() noexcept { return kOctaves; }

double centreFrequency(std::span<const Band> bands, double number) noexcept {
    const bool inside = number > -1.0 && number < static_cast<double>(bands.size());
    return inside ? static_cast<double>(
                        bands[static_cast<std::size_t>(static_cast<int>(number))].centre)
                  : 0.0;
}

}  // namespace vynpack

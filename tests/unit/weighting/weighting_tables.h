// Nominal frequency weightings and their class 1 limits, as the standards print them.
#pragma once

#include <array>
#include <cmath>
#include <limits>

namespace vynpack::test {

// IEC 61672-1:2013, table 3 (A, C, limits); B from IEC 60651, which it has replaced. The nominal
// frequencies stand for 1000 * 10^(n/10) Hz.
struct NominalWeighting {
    double nominal;  // Hz
    int n;
    double a, b, c;       // dB
    double above, below;  // class 1 limits of the deviation, dB
};

inline constexpr double kNoLimit = std::numeric_limits<double>::infinity();

inline constexpr std::array<NominalWeighting, 34> kNominalWeightings = {{
    {10, -20, -70.4, -38.2, -14.3, 3.0, kNoLimit},
    {12.5, -19, -63.4, -33.2, -11.2, 2.5, kNoLimit},
    {16, -18, -56.7, -28.5, -8.5, 2.0, 4.0},
    {20, -17, -50.5, -24.2, -6.2, 2.0, 2.0},
    {25, -16, -44.7, -20.4, -4.4, 2.0, 1.5},
    {31.5, -15, -39.4, -17.1, -3.0, 1.5, 1.5},
    {40, -14, -34.6, -14.2, -2.0, 1.0, 1.0},
    {50, -13, -30.2, -11.6, -1.3, 1.0, 1.0},
    {63, -12, -26.2, -9.3, -0.8, 1.0, 1.0},
    {80, -11, -22.5, -7.4, -0.5, 1.0, 1.0},
    {100, -10, -19.1, -5.6, -0.3, 1.0, 1.0},
    {125, -9, -16.1, -4.2, -0.2, 1.0, 1.0},
    {160, -8, -13.4, -3.0, -0.1, 1.0, 1.0},
    {200, -7, -10.9, -2.0, 0.0, 1.0, 1.0},
    {250, -6, -8.6, -1.3, 0.0, 1.0, 1.0},
    {315, -5, -6.6, -0.8, 0.0, 1.0, 1.0},
    {400, -4, -4.8, -0.5, 0.0, 1.0, 1.0},
    {500, -3, -3.2, -0.3, 0.0, 1.0, 1.0},
    {630, -2, -1.9, -0.1, 0.0, 1.0, 1.0},
    {800, -1, -0.8, 0.0, 0.0, 1.0, 1.0},
    {1000, 0, 0.0, 0.0, 0.0, 0.7, 0.7},
    {1250, 1, 0.6, 0.0, 0.0, 1.0, 1.0},
    {1600, 2, 1.0, 0.0, -0.1, 1.0, 1.0},
    {2000, 3, 1.2, -0.1, -0.2, 1.0, 1.0},
    {2500, 4, 1.3, -0.2, -0.3, 1.0, 1.0},
    {3150, 5, 1.2, -0.4, -0.5, 1.0, 1.0},
    {4000, 6, 1.0, -0.7, -0.8, 1.0, 1.0},
    {5000, 7, 0.5, -1.2, -1.3, 1.5, 1.5},
    {6300, 8, -0.1, -1.9, -2.0, 1.5, 2.0},
    {8000, 9, -1.1, -2.9, -3.0, 1.5, 2.5},
    {10000, 10, -2.5, -4.3, -4.4, 2.0, 3.0},
    {12500, 11, -4.3, -6.1, -6.2, 2.0, 5.0},
    {16000, 12, -6.6, -8.4, -8.5, 2.5, 16.0},
    {20000, 13, -9.3, -11.1, -11.2, 3.0, kNoLimit},
}};

inline double exactFrequency(const NominalWeighting& row) {
    return 1000.0 * std::pow(10.0, row.n / 10.0);
}

}  // namespace vynpack::test

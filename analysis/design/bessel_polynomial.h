// Roots of the reverse Bessel polynomials, the poles of the maximally flat delay.
#pragma once

#include <complex>
#include <vector>

namespace ovanlys {

// The `order` roots of theta_n(s) = sum_k (2n-k)! / ((n-k)! k! 2^(n-k)) s^k, right to the last
// digit for orders 1 to 25.
std::vector<std::complex<long double>> reverseBesselRoots(int order);

// The frequency in rad/s at which 1 / product(1 - s/pole) has fallen to half its power at 0.
long double halfPowerFrequency(const std::vector<std::complex<long double>>& poles);

}  // namespace ovanlys

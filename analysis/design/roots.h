// What a design hands on: the roots of a transfer function.
#pragma once

#include <complex>
#include <vector>

namespace ovanlys {

// gain * product(z - zero) / product(z - pole), in the precision of the design.
struct Roots {
    std::vector<std::complex<long double>> zeros;
    std::vector<std::complex<long double>> poles;
    long double gain = 1.0L;
};

}  // namespace ovanlys

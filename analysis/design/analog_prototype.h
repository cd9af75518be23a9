// Analog low-pass prototypes with the edge at 1 rad/s.
//
// Source of the designs: T. W. Parks, C. S. Burrus, "Digital Filter Design"; elliptic: S. J.
// Orfanidis, "Lecture Notes on Elliptic Filter Design"; Bessel: J. R. Johnson, D. E. Johnson,
// P. W. Boudra, R. P. Stokes, "Filters using Bessel-type polynomials".
#pragma once

#include "design/roots.h"

namespace ovanlys {

// All take an order of 1 or more and positive dB values; `gain` makes the response
// gain * product(s - zero) / product(s - pole).
Roots butterworthPrototype(int order);                    // -3.01 dB at the edge
Roots chebyshevPrototype(int order, long double ripple);  // pass-band ripple up to the edge
Roots inverseChebyshevPrototype(int order, long double attenuation);  // stop band from the edge on
Roots ellipticPrototype(int order, long double ripple, long double attenuation);  // pass-band edge

inline constexpr int kMaxBesselOrder = 25;
Roots besselPrototype(int order);  // order <= kMaxBesselOrder; -3.01 dB at the edge

}  // namespace ovanlys

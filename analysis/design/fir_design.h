// FIR filters by the window method.
//
// Source: A. V. Oppenheim, R. W. Schafer, "Discrete-Time Signal Processing", on design by
// windowing.
#pragma once

#include <span>

#include "design/iir_design.h"

namespace ovanlys {

// The codes of the windows, all symmetric.
enum class FirWindow {
    rectangular = 0,
    hanning = 1,      // 0.5 - 0.5 cos, zero ends
    hamming = 2,      // 0.54 - 0.46 cos
    blackman = 5,     // 0.42 - 0.5 cos + 0.08 cos
    triangular = 30,  // non-zero ends
    kaiser = 60,      // I0(beta sqrt(1 - t^2)) / I0(beta), -1 <= t <= 1
};

// The window of a code; rectangular for an unknown one.
FirWindow firWindow(int code);

// The ideal response of a kind, windowed and scaled to 1 at 0 Hz (low pass, band stop), at half the
// rate (high pass) or at the band's centre (band pass). Where that response is 0 by symmetry or by
// the window, it is left unscaled. The edges make sense, beta is finite, there is a coefficient.
void designFir(FilterKind kind, double rate, double f1, double f2, FirWindow window, double beta,
               std::span<double> coefficients);

}  // namespace ovanlys

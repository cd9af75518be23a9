// The A, B and C frequency weightings of sound measurement as the spectral path applies them.
#pragma once

namespace vynpack {

enum class WeightingCurve { linear, a, b, c };

// The curve of a stored number: 0 and below linear, 1 A, 2 B, 3 and above C.
constexpr WeightingCurve weightingCurveOf(int number) noexcept {
    if (number <= 0) return WeightingCurve::linear;
    if (number >= 3) return WeightingCurve::c;
    return number == 1 ? WeightingCurve::a : WeightingCurve::b;
}

// The stored number that a value at the control input stands for: rounded half up, 0..3; linear for
// no number.
int weightingOfControl(float value) noexcept;

// Weighting at a frequency in Hz, in tenths of a dB, about 0 at 1000 Hz: the curve's magnitude by
// the corner frequencies of IEC 61672-1 as rounded by older editions (20.6, 107.7, 737.9 and 12200
// Hz). At 0 Hz minus infinity, for a linear curve 0.
double exactTenths(WeightingCurve curve, double frequency) noexcept;

// The weighting in dB, in steps of 0.1 dB: negative values cut toward zero, positive ones rounded
// half up. At 0 Hz it is 0.
double weightingInTenths(WeightingCurve curve, double frequency) noexcept;

}  // namespace vynpack

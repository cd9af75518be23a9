// The A, B and C frequency weightings as digital filters for time signals.
#pragma once

#include "blocks/filter/weighting/weighting_curves.h"
#include "ovanlys/filter_head.h"

namespace vynpack {

// Poles of the largest weighting filter; a filter object of that order takes any of them.
inline constexpr int kWeightingFilterOrder = 6;

// Sample rates in Hz that time signals are weighted at.
constexpr bool takesWeightingFilter(double sampleRate) noexcept {
    return sampleRate >= 4000.0 && sampleRate <= 1e6;
}

// Fills the head with the curve's filter for a sample rate in Hz and marks it as changed, so that
// the object starts again at rest. The analog prototype (corner frequencies of IEC 61672-1:
// double poles at 20.6 Hz and 12194.22 Hz, for A also 107.65 Hz and 737.86 Hz, for B 158.49 Hz;
// four, three, two zeros at 0 Hz for A, B, C) goes through the bilinear transform with each corner
// pre-warped; |H| is 1 at 1000 Hz. A linear curve gives a filter that passes everything.
void designWeightingFilter(WeightingCurve curve, double sampleRate,
                           ovanlys::FilterHead& head) noexcept;

}  // namespace vynpack

// The rules for window functions that the spectrum and the dual spectrum dialog share.
#pragma once

#include <cstddef>
#include <string_view>

namespace vynpack {

// The length to which the text of a window parameter is read.
inline constexpr std::size_t kWindowParameterLength = 20;

// The correction matters for every window but "Keine" and "Rechteck".
bool windowTakesCorrection(int window) noexcept;

// Kaiser-Bessel, Cauchy, Gauß and Exponential have a shape parameter.
bool windowTakesParameter(int window) noexcept;

// The parameter as it is stored: the text read as a number, limited to 0..100.
double windowParameterOf(std::string_view text) noexcept;

}  // namespace vynpack

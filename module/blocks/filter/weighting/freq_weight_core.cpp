#include "blocks/filter/weighting/freq_weight_core.h"

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <span>

namespace vynpack {
namespace {

// An analog prototype: real poles at corner frequencies in Hz, zeros at 0 Hz, and two zeros at
// infinity.
struct Prototype {
    std::span<const double> corners;
    int zerosAtZero;
};

constexpr int kZerosAtInfinity = 2;
constexpr std::array kCornersA{20.6, 20.6, 107.65, 737.86, 12194.22, 12194.22};
constexpr std::array kCornersB{20.6, 20.6, 158.49, 12194.22, 12194.22};
constexpr std::array kCornersC{20.6, 20.6, 12194.22, 12194.22};
static_assert(kCornersA.size() == kWeightingFilterOrder);

Prototype prototypeOf(WeightingCurve curve) noexcept {
    switch (curve) {
        case WeightingCurve::a: return {kCornersA, 4};
        case WeightingCurve::b: return {kCornersB, 3};
        case WeightingCurve::c: return {kCornersC, 2};
        case WeightingCurve::linear: break;
    }
    return {{}, 0};
}

// The z-plane pole of a corner frequency: z = (2 + s) / (2 - s) with the pre-warped corner
// s = -2 tan(w T / 2). Kept: corners above 0.43 of the sample rate are moved down to it, since the
// tangent knows no angle of 180 degrees.
double poleOf(double corner, double sampleRate) noexcept {
    constexpr double kLargestAngle = 0.86 * std::numbers::pi;
    const double angle = std::fmin(2.0 * std::numbers::pi * corner / sampleRate, kLargestAngle);
    const double s = -2.0 * std::tan(angle / 2.0);
    return (2.0 + s) / (2.0 - s);
}

void append(std::int32_t& count, double* roots, double real) noexcept {
    roots[2 * count] = real;
    roots[2 * count + 1] = 0.0;
    ++count;
}

// |product(z - zero) / product(z - pole)| at a frequency.
double magnitude(const ovanlys::FilterHead& head, double frequency, double sampleRate) noexcept {
    const std::complex<double> z = std::polar(1.0, 2.0 * std::numbers::pi * frequency / sampleRate);
    double result = 1.0;
    for (int i = 0; i < head.zeroCount; ++i)
        result *= std::abs(z - head.zeros[2 * i]);
    for (int i = 0; i < head.poleCount; ++i)
        result /= std::abs(z - head.poles[2 * i]);
    return result;
}

}  // namespace

void designWeightingFilter(WeightingCurve curve, double sampleRate,
                           ovanlys::FilterHead& head) noexcept {
    constexpr double kReferenceFrequency = 1000.0;
    const Prototype prototype = prototypeOf(curve);
    head.zeroCount = 0;
    head.poleCount = 0;
    for (const double corner : prototype.corners) {
        append(head.poleCount, head.poles, poleOf(corner, sampleRate));
    }
    for (int i = 0; i < prototype.zerosAtZero; ++i)
        append(head.zeroCount, head.zeros, 1.0);
    if (!prototype.corners.empty()) {
        for (int i = 0; i < kZerosAtInfinity; ++i)
            append(head.zeroCount, head.zeros, -1.0);
    }
    head.gain = 1.0 / magnitude(head, kReferenceFrequency, sampleRate);
    head.changed = 1;
}

}  // namespace vynpack

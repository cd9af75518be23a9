#include "filter/level_kernels.h"

namespace vynpack::VYN_KERNEL_LEVEL {
namespace {

constexpr double kReference = 4e-10;  // the square of 20 µPa

// In place: squares become ratios.
void divide(double* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const double ratio = values[i] / kReference;
        values[i] = ratio == 0.0 ? 1.0 : ratio;
    }
}

template <int lanes>
void smoothLanes(const float* x, std::size_t stride, std::size_t frames, double alpha,
                 double* meanSquares, double* ratios) {
    double mean[lanes];
    for (int lane = 0; lane < lanes; ++lane)
        mean[lane] = meanSquares[lane];
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (int lane = 0; lane < lanes; ++lane) {
            const double value = x[lane];
            mean[lane] += alpha * (value * value - mean[lane]);
            ratios[lane] = mean[lane];
        }
        x += stride;
        ratios += lanes;
    }
    for (int lane = 0; lane < lanes; ++lane)
        meanSquares[lane] = mean[lane];
}

void smooth(const float* x, std::size_t stride, std::size_t frames, int lanes, double alpha,
            double* meanSquares, double* ratios) {
    switch (lanes) {
        case 1: smoothLanes<1>(x, stride, frames, alpha, meanSquares, ratios); break;
        case 2: smoothLanes<2>(x, stride, frames, alpha, meanSquares, ratios); break;
        case 4: smoothLanes<4>(x, stride, frames, alpha, meanSquares, ratios); break;
        default: smoothLanes<8>(x, stride, frames, alpha, meanSquares, ratios); break;
    }
    divide(ratios, frames * static_cast<std::size_t>(lanes));
}

void square(const float* x, std::size_t stride, std::size_t frames, int lanes, double* ratios) {
    double* out = ratios;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (int lane = 0; lane < lanes; ++lane) {
            const double value = x[lane];
            *out++ = value * value;
        }
        x += stride;
    }
    divide(ratios, frames * static_cast<std::size_t>(lanes));
}

template <int lanes>
void gatherLanes(const double* ratios, std::size_t frames, const LevelWindow* window,
                 LevelLanes* state, double* hits) {
    double maximum[lanes];
    double minimum[lanes];
    double energy[lanes];
    double clockMaximum[lanes];
    double from[lanes];
    double to[lanes];
    double hit[lanes];
    for (int lane = 0; lane < lanes; ++lane) {
        maximum[lane] = state->maximum[lane];
        minimum[lane] = state->minimum[lane];
        energy[lane] = state->energy[lane];
        clockMaximum[lane] = state->clockMaximum[lane];
        from[lane] = window->from[lane];
        to[lane] = window->to[lane];
        hit[lane] = 0.0;
    }
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (int lane = 0; lane < lanes; ++lane) {
            const double q = ratios[lane];
            maximum[lane] = q > maximum[lane] ? q : maximum[lane];
            minimum[lane] = q < minimum[lane] ? q : minimum[lane];
            energy[lane] += q;
            clockMaximum[lane] = q > clockMaximum[lane] ? q : clockMaximum[lane];
            hit[lane] += (q >= from[lane]) & (q < to[lane]) ? 1.0 : 0.0;
        }
        ratios += lanes;
    }
    for (int lane = 0; lane < lanes; ++lane) {
        state->maximum[lane] = maximum[lane];
        state->minimum[lane] = minimum[lane];
        state->energy[lane] = energy[lane];
        state->clockMaximum[lane] = clockMaximum[lane];
        hits[lane] = hit[lane];
    }
}

void gather(const double* ratios, std::size_t frames, int lanes, const LevelWindow* window,
            LevelLanes* state, double* hits) {
    switch (lanes) {
        case 1: gatherLanes<1>(ratios, frames, window, state, hits); break;
        case 2: gatherLanes<2>(ratios, frames, window, state, hits); break;
        case 4: gatherLanes<4>(ratios, frames, window, state, hits); break;
        default: gatherLanes<8>(ratios, frames, window, state, hits); break;
    }
}

}  // namespace

const LevelKernels levelKernels = {smooth, square, gather};

}  // namespace vynpack::VYN_KERNEL_LEVEL

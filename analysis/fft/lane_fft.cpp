#include "fft/lane_fft.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <new>
#include <numbers>
#include <utility>

namespace ovanlys {
namespace {

// e^(-2 pi j i / n) for n = a multiple of 8, from long double to the last digit: coarse and fine
// points of an eighth of the circle multiply to any of its points, the rest is symmetry.
class Circle {
public:
    struct Point {
        double re;
        double im;
    };

    explicit Circle(std::size_t n) : n_(n), fineCount_(std::size_t{1} << (std::bit_width(n) / 2)) {
        const long double step = 2.0L * std::numbers::pi_v<long double> / n;
        for (std::size_t i = 0; i < fineCount_; ++i)
            fine_.push_back({std::cos(step * i), std::sin(step * i)});
        for (std::size_t i = 0; i <= n / 8; i += fineCount_)
            coarse_.push_back({std::cos(step * i), std::sin(step * i)});
    }

    Point at(std::size_t i) const {
        i %= n_;
        if (i > n_ / 2) {
            const Point mirrored = upperHalf(n_ - i);
            return {mirrored.re, mirrored.im};
        }
        const Point above = upperHalf(i);
        return {above.re, -above.im};
    }

private:
    struct LongPoint {
        long double re;
        long double im;
    };

    // Counter-clockwise, i <= n / 2.
    Point upperHalf(std::size_t i) const {
        if (i > n_ / 4) {
            const Point mirrored = quarter(n_ / 2 - i);
            return {-mirrored.re, mirrored.im};
        }
        return quarter(i);
    }
    Point quarter(std::size_t i) const {
        if (i > n_ / 8) {
            const Point mirrored = eighth(n_ / 4 - i);
            return {mirrored.im, mirrored.re};
        }
        return eighth(i);
    }
    Point eighth(std::size_t i) const {
        const LongPoint a = coarse_[i / fineCount_];
        const LongPoint b = fine_[i % fineCount_];
        return {static_cast<double>(a.re * b.re - a.im * b.im),
                static_cast<double>(a.re * b.im + a.im * b.re)};
    }

    std::size_t n_;
    std::size_t fineCount_;
    std::vector<LongPoint> fine_;
    std::vector<LongPoint> coarse_;
};

// A load waits for a store before it whose address is the same but for multiples of these bytes.
constexpr std::size_t kPage = 4096;
// How far the lanes lie from the samples but for such multiples: away from where steps read the one
// and write the other, rows of a quarter of it and more apart. (Measured at 256 to 65536 samples:
// side by side, stages take up to twice the time.)
constexpr std::size_t kLanesFromSamples = 2560;

// A block of points that the nearest cache holds together with its twiddles.
constexpr std::ptrdiff_t kNearPoints = 128;

}  // namespace

bool LaneFft::serves(std::size_t length) noexcept {
    return length >= kShortest && std::has_single_bit(length);
}

void LaneFft::Free::operator()(double* values) const noexcept {
    ::operator delete[](values, std::align_val_t{64});
}

LaneFft::Values LaneFft::allocate(std::size_t count) {
    return Values(new (std::align_val_t{64}) double[count]);
}

LaneFft::LaneFft(std::size_t length, vyn::KernelLevel level)
    : kernels_(vyn::kernelsAt<LaneFftKernels>(level)),
      points_(static_cast<std::ptrdiff_t>(length / kFftPoint)) {
    const Circle circle(length);
    stageTwiddles_ = allocate(makeStages());
    double* next = stageTwiddles_.get();
    for (const Stage& stage : stages_) {
        const auto step = length / static_cast<std::size_t>(stage.radix * stage.stride);
        for (std::ptrdiff_t q = 1; q < stage.stride; ++q) {
            for (int i = 1; i < stage.radix; ++i) {
                const Circle::Point point = circle.at(step * static_cast<std::size_t>(q * i));
                *next++ = point.re;
                *next++ = point.im;
            }
        }
    }
    for (std::ptrdiff_t k = 0; k < points_; k += kFftLanes)
        groupPlaces_.push_back(kFftPoint * placeOf(k));

    // Those of the groups halve the sums and differences that Y_m are made of.
    const auto points = static_cast<std::size_t>(points_);
    constexpr auto kLanes = static_cast<std::size_t>(kFftLanes);
    joinTwiddles_ = allocate(points / 2 / kLanes * kFftGroupTwiddles + kFftMiddleTwiddles);
    next = joinTwiddles_.get();
    const auto putEight = [&](std::size_t factor, std::size_t line, double scale) {
        for (std::size_t i = 0; i < kLanes; ++i, ++next) {
            const Circle::Point point = circle.at(factor * (line + i));
            next[0] = point.re * scale;
            next[kLanes] = point.im * scale;
        }
        next += kLanes;
    };
    for (std::size_t first = 0; first < points / 2; first += kLanes) {
        for (std::size_t sequence = 1; sequence < 2 * kLanes; ++sequence)
            putEight(sequence, first, 0.5);
    }
    putEight(points / 2, 0, 1.0);

    work_ = allocate(length + kPage / sizeof(double));
}

// As many stages of radix 8 as leave stages of radix 4 for the rest; one of radix 16 for the
// shortest transform. Returns the values of their twiddles.
std::size_t LaneFft::makeStages() {
    std::size_t twiddles = 0;
    for (std::ptrdiff_t left = points_; left > 1;) {
        const bool single = points_ == 16;
        const int radix = single ? 16 : left == 4 || left == 16 ? 4 : 8;
        left /= radix;
        stages_.push_back({radix, left, twiddles});
        twiddles += static_cast<std::size_t>((left - 1) * 2 * (radix - 1));
    }
    return twiddles;
}

std::ptrdiff_t LaneFft::placeOf(std::ptrdiff_t k) const noexcept {
    std::ptrdiff_t place = 0;
    for (const Stage& stage : stages_) {
        place += k % stage.radix * stage.stride;
        k /= stage.radix;
    }
    return place;
}

// Line k+i of a group lies i strides of the first stage behind line k. Its mirror line P-k-i is one
// of the group that mirrors this one, but for i = 0: the first line of the group behind that one.
template <class Number>
FftGroup<Number> LaneFft::group(Number* lanes, std::ptrdiff_t index) const noexcept {
    const auto groups = static_cast<std::ptrdiff_t>(groupPlaces_.size());
    const auto place = [&](std::ptrdiff_t i) { return lanes + groupPlaces_[i]; };
    const std::ptrdiff_t step = kFftPoint * stages_.front().stride;
    return {place(index), place(index == 0 ? 0 : groups - index),
            place(groups - 1 - index) + kFftLanes * step, step};
}

void LaneFft::runOuter(const double* from, double* to, bool inverse) const noexcept {
    const Stage& stage = stages_.front();
    const auto& run = stage.radix == 8 ? kernels_.outer8 : kernels_.outer16;
    run[inverse ? 1 : 0](from, to, stageTwiddles_.get(), stage.stride, 1);
}

void LaneFft::runInner(const Stage& stage, double* points, std::ptrdiff_t blocks,
                       bool inverse) const noexcept {
    const auto& run = stage.radix == 8 ? kernels_.inner8 : kernels_.inner4;
    run[inverse ? 1 : 0](points, points, stageTwiddles_.get() + stage.twiddles, stage.stride,
                         blocks);
}

void LaneFft::forwardFrom(std::size_t index, double* points, std::ptrdiff_t count) const noexcept {
    if (count <= kNearPoints) {
        for (; index < stages_.size(); ++index) {
            const Stage& stage = stages_[index];
            runInner(stage, points, count / (stage.radix * stage.stride), false);
        }
        return;
    }
    const Stage& stage = stages_[index];
    runInner(stage, points, 1, false);
    for (int block = 0; block < stage.radix; ++block)
        forwardFrom(index + 1, points + kFftPoint * stage.stride * block, stage.stride);
}

void LaneFft::inverseTo(std::size_t index, double* points, std::ptrdiff_t count) const noexcept {
    if (count <= kNearPoints) {
        for (std::size_t i = stages_.size(); i-- > index;) {
            const Stage& stage = stages_[i];
            runInner(stage, points, count / (stage.radix * stage.stride), true);
        }
        return;
    }
    const Stage& stage = stages_[index];
    for (int block = 0; block < stage.radix; ++block)
        inverseTo(index + 1, points + kFftPoint * stage.stride * block, stage.stride);
    runInner(stage, points, 1, true);
}

double* LaneFft::lanesBeside(const double* samples) const noexcept {
    const auto start = reinterpret_cast<std::uintptr_t>(work_.get());
    const std::size_t shift =
        (reinterpret_cast<std::uintptr_t>(samples) + kLanesFromSamples - start) % kPage;
    return work_.get() + shift / 64 * 64 / sizeof(double);
}

// Those of the first stage, or all of them at once where they are near.
template <class Work>
void LaneFft::forEachBlock(double* lanes, Work work) const noexcept {
    const std::ptrdiff_t block = points_ <= kNearPoints ? points_ : stages_.front().stride;
    for (std::ptrdiff_t first = 0; first < points_; first += block)
        work(lanes + kFftPoint * first, block);
}

void LaneFft::forward(double* re, double* im) const noexcept {
    double* const lanes = lanesBeside(re);
    runOuter(re, lanes, false);
    forEachBlock(lanes,
                 [&](double* points, std::ptrdiff_t count) { forwardFrom(1, points, count); });
    // The middle line first, since one by itself waits for its own numbers.
    const std::ptrdiff_t middle = points_ / 2 / kFftLanes;
    kernels_.joinMiddle(lanes + groupPlaces_[middle], groupTwiddles(middle), points_, re, im);
    for (std::ptrdiff_t i = 0; i < middle; ++i) {
        kernels_.join(group<const double>(lanes, i), groupTwiddles(i), points_, kFftLanes * i, re,
                      im);
    }
    im[0] = 0.0;
    im[kFftLanes * points_] = 0.0;
}

void LaneFft::inverse(double* re, double* im) const noexcept {
    double* const lanes = lanesBeside(re);
    const std::ptrdiff_t last = kFftLanes * points_;
    const double scale = 1.0 / static_cast<double>(last);
    im[0] = 0.0;
    im[last] = 0.0;
    const std::ptrdiff_t middle = points_ / 2 / kFftLanes;
    kernels_.splitMiddle(re, im, groupTwiddles(middle), points_, scale,
                         lanes + groupPlaces_[middle]);
    for (std::ptrdiff_t i = 0; i < middle; ++i) {
        kernels_.split(re, im, groupTwiddles(i), points_, kFftLanes * i, scale, group(lanes, i));
    }
    forEachBlock(lanes, [&](double* points, std::ptrdiff_t count) { inverseTo(1, points, count); });
    runOuter(lanes, re, true);
}

}  // namespace ovanlys

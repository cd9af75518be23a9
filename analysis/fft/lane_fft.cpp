#include "fft/lane_fft.h"

#include <algorithm>
#include <bit>
#include <cmath>
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

    // As many stages of radix 8 as leave stages of radix 4 for the rest.
    std::size_t twiddles = 0;
    for (std::ptrdiff_t stride = 1; stride < points_;) {
        const std::ptrdiff_t left = points_ / stride;
        const int radix = left == 4 || left == 16 ? 4 : 8;
        const std::ptrdiff_t groups = left / radix;
        stages_.push_back({radix, twiddles, groups, stride});
        twiddles += static_cast<std::size_t>((groups - 1) * 2 * (radix - 1));
        stride *= radix;
    }
    stageTwiddles_ = allocate(twiddles);
    double* next = stageTwiddles_.get();
    const auto put = [&](std::size_t place, double factor) {
        const Circle::Point point = circle.at(place);
        next[0] = point.re * factor;
        next[1] = point.im * factor;
        next += 2;
    };
    for (const Stage& stage : stages_) {
        const std::size_t step = static_cast<std::size_t>(kFftPoint * stage.stride);
        for (std::ptrdiff_t group = 1; group < stage.groups; ++group) {
            for (int j = 1; j < stage.radix; ++j)
                put(step * static_cast<std::size_t>(group * j), 1.0);
        }
    }

    // The twiddles of the lanes halve what the halves doubled.
    const auto points = static_cast<std::size_t>(points_);
    constexpr auto kLanes = static_cast<std::size_t>(kFftLanes);
    const auto putPoints = [&](std::size_t factor, std::size_t line, int step, double scale) {
        for (std::size_t i = 0; i < kLanes; ++i, ++next) {
            const Circle::Point point = circle.at(factor * line);
            next[0] = point.re * scale;
            next[kLanes] = point.im * scale;
            line += static_cast<std::size_t>(step);
        }
        next += kLanes;
    };
    joinTwiddles_ = allocate(points / 2 / kLanes * kFftGroupTwiddles + kFftMiddleTwiddles);
    next = joinTwiddles_.get();
    for (std::size_t first = 0; first < points / 2; first += kLanes) {
        putPoints(kLanes, first, 1, 1.0);
        for (std::size_t lane = 1; lane < kLanes; ++lane)
            putPoints(lane, first, 1, 0.5);
        for (std::size_t lane = 1; lane < kLanes; ++lane)
            putPoints(lane, points - first, -1, 0.5);
    }
    put(kLanes * points / 2, 1.0);
    for (std::size_t lane = 0; lane < kLanes; ++lane, ++next) {
        const Circle::Point point = circle.at(lane * points / 2);
        next[0] = point.re * 0.5;
        next[kLanes] = point.im * 0.5;
    }

    lanes_ = allocate(static_cast<std::size_t>(kFftPoint * (points_ + 1)));
    if (joinsLastStage()) work_ = allocate(length);
}

void LaneFft::runStage(const Stage& stage, const double* from, double* to,
                       bool inverse) const noexcept {
    const auto& run = stage.radix == 4 ? kernels_.radix4 : kernels_.radix8;
    run[inverse ? 1 : 0](from, to, stageTwiddles_.get() + stage.twiddles, stage.groups,
                         stage.stride);
}

void LaneFft::repeatFirstPoint() const noexcept {
    double* const lanes = lanes_.get();
    std::copy_n(lanes, kFftPoint, lanes + kFftPoint * points_);
}

// Eight butterflies from either end of the last stage go on to the lines as soon as they are made.
// Butterfly q makes the points k = q + stride i, butterfly stride - q their mirror points P - k:
// after each step from both ends, the lines from q on are due, and those from stride - q on, whose
// mirror lines go down from q.
void LaneFft::joinLastStage(double* re, double* im) const noexcept {
    const Stage& last = stages_.back();
    const auto run = kernels_.lastRadix4;
    double* const lanes = lanes_.get();
    const auto joinFrom = [&](std::ptrdiff_t q) {
        for (std::ptrdiff_t k = q; k < points_ / 2; k += last.stride)
            kernels_.joinGroup(lanes, joinTwiddles_.get(), points_, k, re, im);
    };
    for (std::ptrdiff_t q = 0; q < last.stride / 2; q += kFftLanes) {
        run(lanes + kFftPoint * q, last.stride, kFftLanes);
        run(lanes + kFftPoint * (last.stride - q - kFftLanes), last.stride, kFftLanes);
        if (q == 0) {
            repeatFirstPoint();
        } else {
            joinFrom(last.stride - q);
        }
        joinFrom(q);
    }
    joinFrom(last.stride / 2);
}

// The stages take turns between the arrays, so that the last one leaves its results in the lanes.
void LaneFft::forward(double* re, double* im) const noexcept {
    double* const lanes = lanes_.get();
    const Stage* const last = &stages_.back();
    double* here = re;
    for (const Stage* stage = stages_.data(); stage != last; ++stage) {
        double* there = here == lanes ? re : lanes;
        if (work_ && here == re) there = work_.get();
        runStage(*stage, here, there, false);
        here = there;
    }
    const auto joinMiddle = [&] {
        kernels_.joinMiddle(lanes, joinTwiddles_.get(), points_, re, im);
    };
    if (joinsLastStage()) {
        joinLastStage(re, im);
        joinMiddle();
    } else {
        runStage(*last, here, lanes, false);
        repeatFirstPoint();
        joinMiddle();  // first, since one line by itself waits for its own numbers
        for (std::ptrdiff_t k = 0; k < points_ / 2; k += kFftLanes)
            kernels_.joinGroup(lanes, joinTwiddles_.get(), points_, k, re, im);
    }
    im[0] = 0.0;
    im[kFftLanes * points_] = 0.0;
}

void LaneFft::inverse(double* re, double* im) const noexcept {
    const std::ptrdiff_t last = kFftLanes * points_;
    im[0] = 0.0;
    im[last] = 0.0;
    kernels_.split(re, im, joinTwiddles_.get(), points_, 1.0 / static_cast<double>(last),
                   lanes_.get());
    // The stages take turns between the two arrays, so that the last one leaves its results in re;
    // it may work in place for that.
    double* here = lanes_.get();
    for (const Stage& stage : stages_) {
        const bool isLast = &stage == &stages_.back();
        double* there = isLast || here == lanes_.get() ? re : lanes_.get();
        runStage(stage, here, there, true);
        here = there;
    }
}

}  // namespace ovanlys

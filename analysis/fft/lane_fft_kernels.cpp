#include "fft/lane_fft_kernels.h"

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

// V is a register, or a double for what stands alone: both run the same operations in the same
// order.
template <class V>
struct Complex {
    V re;
    V im;

    friend Complex operator+(const Complex& a, const Complex& b) {
        return {a.re + b.re, a.im + b.im};
    }
    friend Complex operator-(const Complex& a, const Complex& b) {
        return {a.re - b.re, a.im - b.im};
    }
};

template <class V>
Complex<V> plusJ(const Complex<V>& a, const Complex<V>& b) {
    return {a.re - b.im, a.im + b.re};
}

template <class V>
Complex<V> minusJ(const Complex<V>& a, const Complex<V>& b) {
    return {a.re + b.im, a.im - b.re};
}

template <class V, class W>
Complex<V> times(const Complex<V>& a, W re, W im) {
    return {a.re * re - a.im * im, a.re * im + a.im * re};
}

template <class V, class W>
Complex<V> timesConjugate(const Complex<V>& a, W re, W im) {
    return {a.re * re + a.im * im, a.im * re - a.re * im};
}

template <class V>
[[gnu::always_inline]] inline void transform(Complex<V> (&x)[4]) {
    const auto sum02 = x[0] + x[2];
    const auto difference02 = x[0] - x[2];
    const auto sum13 = x[1] + x[3];
    const auto difference13 = x[1] - x[3];
    x[0] = sum02 + sum13;
    x[1] = minusJ(difference02, difference13);
    x[2] = sum02 - sum13;
    x[3] = plusJ(difference02, difference13);
}

// Times the root of a half. What is missing to 1 is a number that a double hits eight times as
// closely as it does the root itself.
template <class V>
V timesRootOfHalf(V value) {
    return value - value * 0.29289321881345247560;
}

template <class V>
[[gnu::always_inline]] inline void transform(Complex<V> (&x)[8]) {
    Complex<V> even[4] = {x[0] + x[4], x[1] + x[5], x[2] + x[6], x[3] + x[7]};
    const Complex<V> odd[4] = {x[0] - x[4], x[1] - x[5], x[2] - x[6], x[3] - x[7]};
    transform(even);
    x[0] = even[0];
    x[2] = even[1];
    x[4] = even[2];
    x[6] = even[3];

    const auto a = minusJ(odd[0], odd[2]);
    const auto b = minusJ(odd[1], odd[3]);
    const auto c = plusJ(odd[0], odd[2]);
    const auto d = plusJ(odd[1], odd[3]);
    // Times (1 - j) / root 2, and times (1 + j) / root 2.
    const Complex<V> turnedB = {timesRootOfHalf(b.re + b.im), timesRootOfHalf(b.im - b.re)};
    const Complex<V> turnedD = {timesRootOfHalf(d.re - d.im), timesRootOfHalf(d.re + d.im)};
    x[1] = a + turnedB;
    x[3] = c - turnedD;
    x[5] = a - turnedB;
    x[7] = c + turnedD;
}

// Calls work(lane) for each register's worth of lanes.
template <class Work>
void forLanes(Work work) {
#pragma GCC unroll 4
    for (std::ptrdiff_t lane = 0; lane < kFftLanes; lane += kLanes)
        work(lane);
}

// The butterflies of one group. Outputs from 1 on are turned by their twiddles, but in group 0.
template <int radix, bool turns>
[[gnu::always_inline]] inline void butterflies(const double* in, std::ptrdiff_t inStep, double* out,
                                               std::ptrdiff_t imaginary, const double* twiddles,
                                               std::ptrdiff_t stride) {
    const std::ptrdiff_t outStep = kFftPoint * stride;
    for (std::ptrdiff_t point = 0; point < outStep; point += kFftPoint) {
        forLanes([=](std::ptrdiff_t lane) {
            const double* from = in + point + lane;
            double* to = out + point + lane;
            Complex<Register> x[radix];
#pragma GCC unroll 8
            for (int j = 0; j < radix; ++j)
                x[j] = {load<Register>(from + j * inStep),
                        load<Register>(from + j * inStep + imaginary)};
            transform(x);
#pragma GCC unroll 8
            for (int j = 0; j < radix; ++j) {
                if (turns && j > 0) x[j] = times(x[j], twiddles[2 * j - 2], twiddles[2 * j - 1]);
                store(x[j].re, to + j * outStep);
                store(x[j].im, to + j * outStep + imaginary);
            }
        });
    }
}

template <int radix>
void stage(const double* in, double* out, std::ptrdiff_t imaginary, const double* twiddles,
           std::ptrdiff_t groups, std::ptrdiff_t stride) {
    const std::ptrdiff_t inStep = kFftPoint * stride * groups;
    butterflies<radix, false>(in, inStep, out, imaginary, nullptr, stride);
    for (std::ptrdiff_t group = 1; group < groups; ++group, twiddles += 2 * (radix - 1)) {
        butterflies<radix, true>(in + kFftPoint * stride * group, inStep,
                                 out + kFftPoint * stride * radix * group, imaginary, twiddles,
                                 stride);
    }
}

#if defined(__AVX512F__)

Register reversed(Register v) { return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0); }

Register evenOf(Register a, Register b) {
    return __builtin_shufflevector(a, b, 0, 8, 2, 10, 4, 12, 6, 14);
}
Register oddOf(Register a, Register b) {
    return __builtin_shufflevector(a, b, 1, 9, 3, 11, 5, 13, 7, 15);
}
Register evenPairsOf(Register a, Register b) {
    return __builtin_shufflevector(a, b, 0, 1, 4, 5, 8, 9, 12, 13);
}
Register oddPairsOf(Register a, Register b) {
    return __builtin_shufflevector(a, b, 2, 3, 6, 7, 10, 11, 14, 15);
}

// Rows to columns. The three steps join pairs of rows, of pairs and of fours.
[[gnu::always_inline]] inline void transpose(Register (&rows)[8]) {
    Register two[8];
#pragma GCC unroll 4
    for (int i = 0; i < 8; i += 2) {
        two[i] = evenOf(rows[i], rows[i + 1]);
        two[i + 1] = oddOf(rows[i], rows[i + 1]);
    }
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) {
        const Register upper04 = evenPairsOf(two[i], two[i + 2]);
        const Register upper26 = oddPairsOf(two[i], two[i + 2]);
        const Register lower04 = evenPairsOf(two[i + 4], two[i + 6]);
        const Register lower26 = oddPairsOf(two[i + 4], two[i + 6]);
        rows[i] = evenPairsOf(upper04, lower04);
        rows[i + 2] = evenPairsOf(upper26, lower26);
        rows[i + 4] = oddPairsOf(upper04, lower04);
        rows[i + 6] = oddPairsOf(upper26, lower26);
    }
}

#elif defined(__AVX2__)

Register reversed(Register v) { return __builtin_shufflevector(v, v, 3, 2, 1, 0); }

[[gnu::always_inline]] inline void transpose(Register (&rows)[4]) {
    const Register upperEven = __builtin_shufflevector(rows[0], rows[1], 0, 4, 2, 6);
    const Register upperOdd = __builtin_shufflevector(rows[0], rows[1], 1, 5, 3, 7);
    const Register lowerEven = __builtin_shufflevector(rows[2], rows[3], 0, 4, 2, 6);
    const Register lowerOdd = __builtin_shufflevector(rows[2], rows[3], 1, 5, 3, 7);
    rows[0] = __builtin_shufflevector(upperEven, lowerEven, 0, 1, 4, 5);
    rows[1] = __builtin_shufflevector(upperOdd, lowerOdd, 0, 1, 4, 5);
    rows[2] = __builtin_shufflevector(upperEven, lowerEven, 2, 3, 6, 7);
    rows[3] = __builtin_shufflevector(upperOdd, lowerOdd, 2, 3, 6, 7);
}

#else

Register reversed(Register v) { return __builtin_shufflevector(v, v, 1, 0); }

[[gnu::always_inline]] inline void transpose(Register (&rows)[2]) {
    const Register first = __builtin_shufflevector(rows[0], rows[1], 0, 2);
    rows[1] = __builtin_shufflevector(rows[0], rows[1], 1, 3);
    rows[0] = first;
}

#endif

// The lanes of `width` lines from `point` on, lane l of all of them in x[l].
template <int width>
struct Lines;

template <>
struct Lines<kLanes> {
    using Value = Register;

    [[gnu::always_inline]] static void fromLanes(const double* point, Register (&x)[kFftLanes]) {
#pragma GCC unroll 4
        for (std::ptrdiff_t lane = 0; lane < kFftLanes; lane += kLanes) {
            Register rows[kLanes];
#pragma GCC unroll 8
            for (int i = 0; i < kLanes; ++i)
                rows[i] = load<Register>(point + kFftPoint * i + lane);
            transpose(rows);
#pragma GCC unroll 8
            for (int i = 0; i < kLanes; ++i)
                x[lane + i] = rows[i];
        }
    }
    [[gnu::always_inline]] static void toLanes(const Register (&x)[kFftLanes], double* point) {
#pragma GCC unroll 4
        for (std::ptrdiff_t lane = 0; lane < kFftLanes; lane += kLanes) {
            Register rows[kLanes];
#pragma GCC unroll 8
            for (int i = 0; i < kLanes; ++i)
                rows[i] = x[lane + i];
            transpose(rows);
#pragma GCC unroll 8
            for (int i = 0; i < kLanes; ++i)
                store(rows[i], point + kFftPoint * i + lane);
        }
    }
    static Register loadUp(const double* line) { return load<Register>(line); }
    // Lines that run downwards from `line`.
    static Register loadDown(const double* line) {
        return reversed(load<Register>(line - kLanes + 1));
    }
    static void storeDown(double* line, Register v) { store(reversed(v), line - kLanes + 1); }
};

template <>
struct Lines<1> {
    using Value = double;

    [[gnu::always_inline]] static void fromLanes(const double* point, double (&x)[kFftLanes]) {
        for (int lane = 0; lane < kFftLanes; ++lane)
            x[lane] = point[lane];
    }
    [[gnu::always_inline]] static void toLanes(const double (&x)[kFftLanes], double* point) {
        for (int lane = 0; lane < kFftLanes; ++lane)
            point[lane] = x[lane];
    }
    static double loadDown(const double* line) { return *line; }
    static void storeDown(double* line, double v) { *line = v; }
    static double loadUp(const double* line) { return *line; }
};

// `width` lines k of each lane to the lines k + 2 * points * j of all samples, j = 0..7; those of
// the upper half are the conjugates of lines of the lower one. The twiddles of a lane are
// `laneStep` apart, real and imaginary parts half as far.
template <int width>
[[gnu::always_inline]] inline void joinLines(const double* lanes, std::ptrdiff_t k,
                                             const double* twiddles, std::ptrdiff_t laneStep,
                                             std::ptrdiff_t points, double* re, double* im) {
    using V = typename Lines<width>::Value;
    V partsRe[kFftLanes];
    V partsIm[kFftLanes];
    Lines<width>::fromLanes(lanes + kFftPoint * k, partsRe);
    Lines<width>::fromLanes(lanes + kFftPoint * k + kFftLanes, partsIm);
    Complex<V> x[kFftLanes];
    x[0] = {partsRe[0] * 0.5, partsIm[0] * 0.5};
#pragma GCC unroll 8
    for (int lane = 1; lane < kFftLanes; ++lane) {
        const double* twiddle = twiddles + (lane - 1) * laneStep;
        x[lane] = times(Complex<V>{partsRe[lane], partsIm[lane]}, Lines<width>::loadUp(twiddle),
                        Lines<width>::loadUp(twiddle + laneStep / 2));
    }
    transform(x);
#pragma GCC unroll 8
    for (int j = 0; j < 4; ++j) {
        store(x[j].re, re + k + 2 * points * j);
        store(x[j].im, im + k + 2 * points * j);
    }
#pragma GCC unroll 8
    for (int j = 4; j < 8; ++j) {
        const std::ptrdiff_t line = 2 * points * (8 - j) - k;
        Lines<width>::storeDown(re + line, x[j].re);
        Lines<width>::storeDown(im + line, 0.0 - x[j].im);  // a zero stays without a sign
    }
}

// The way back.
template <int width>
[[gnu::always_inline]] inline void splitLines(const double* re, const double* im, std::ptrdiff_t k,
                                              const double* twiddles, std::ptrdiff_t laneStep,
                                              std::ptrdiff_t points, double* lanes) {
    using V = typename Lines<width>::Value;
    Complex<V> x[kFftLanes];  // real and imaginary parts exchanged: the inverse transform
#pragma GCC unroll 8
    for (int j = 0; j < 4; ++j) {
        const std::ptrdiff_t line = k + 2 * points * j;
        x[j] = {Lines<width>::loadUp(im + line), Lines<width>::loadUp(re + line)};
    }
#pragma GCC unroll 8
    for (int j = 4; j < 8; ++j) {
        const std::ptrdiff_t line = 2 * points * (8 - j) - k;
        x[j] = {-Lines<width>::loadDown(im + line), Lines<width>::loadDown(re + line)};
    }
    transform(x);
    V partsRe[kFftLanes];
    V partsIm[kFftLanes];
    partsRe[0] = x[0].im * 0.5;
    partsIm[0] = x[0].re * 0.5;
#pragma GCC unroll 8
    for (int lane = 1; lane < kFftLanes; ++lane) {
        const double* twiddle = twiddles + (lane - 1) * laneStep;
        const auto turned =
            timesConjugate(Complex<V>{x[lane].im, x[lane].re}, Lines<width>::loadUp(twiddle),
                           Lines<width>::loadUp(twiddle + laneStep / 2));
        partsRe[lane] = turned.re;
        partsIm[lane] = turned.im;
    }
    Lines<width>::toLanes(partsRe, lanes + kFftPoint * k);
    Lines<width>::toLanes(partsIm, lanes + kFftPoint * k + kFftLanes);
}

// Each lane's transform is that of two real halves, one sample after the other, taken as real and
// imaginary parts. Makes the line and its mirror line, both doubled, out of the two.
void joinHalves(double* line, double* mirror, double re, double im) {
    forLanes([=](std::ptrdiff_t lane) {
        const Complex<Register> z = {load<Register>(line + lane),
                                     load<Register>(line + lane + kFftLanes)};
        const Complex<Register> m = {load<Register>(mirror + lane),
                                     load<Register>(mirror + lane + kFftLanes)};
        const Complex<Register> even = {z.re + m.re, z.im - m.im};
        const Complex<Register> odd = {z.im + m.im, m.re - z.re};
        const auto turned = times(odd, re, im);
        store(even.re + turned.re, line + lane);
        store(even.im + turned.im, line + lane + kFftLanes);
        store(even.re - turned.re, mirror + lane);
        store(turned.im - even.im, mirror + lane + kFftLanes);
    });
}

// The way back, times `scale` and doubled.
void splitHalves(double* line, double* mirror, double re, double im, double scale) {
    const double scaledRe = re * scale;
    const double scaledIm = im * scale;
    forLanes([=](std::ptrdiff_t lane) {
        const Complex<Register> g = {load<Register>(line + lane),
                                     load<Register>(line + lane + kFftLanes)};
        const Complex<Register> m = {load<Register>(mirror + lane),
                                     load<Register>(mirror + lane + kFftLanes)};
        const Complex<Register> even = {(g.re + m.re) * scale, (g.im - m.im) * scale};
        const auto odd =
            timesConjugate(Complex<Register>{g.re - m.re, g.im + m.im}, scaledRe, scaledIm);
        store(even.re - odd.im, line + lane);
        store(even.im + odd.re, line + lane + kFftLanes);
        store(even.re + odd.im, mirror + lane);
        store(odd.re - even.im, mirror + lane + kFftLanes);
    });
}

constexpr std::ptrdiff_t kLaneStep = 2 * kFftLanes;  // of the twiddles of a group

void join(double* lanes, const double* twiddles, std::ptrdiff_t points, double* re, double* im) {
    for (std::ptrdiff_t first = 0; first < points / 2; first += kFftLanes) {
        const std::ptrdiff_t lowest = points - first - kFftLanes + 1;  // of the mirror lines
        for (std::ptrdiff_t i = 0; i < kFftLanes; ++i) {
            joinHalves(lanes + kFftPoint * (first + i), lanes + kFftPoint * (points - first - i),
                       twiddles[2 * i], twiddles[2 * i + 1]);
        }
        twiddles += 2 * kFftLanes;
        for (std::ptrdiff_t i = 0; i < kFftLanes; i += kLanes)
            joinLines<kLanes>(lanes, first + i, twiddles + i, kLaneStep, points, re, im);
        twiddles += kFftLaneTwiddles;
        for (std::ptrdiff_t i = 0; i < kFftLanes; i += kLanes)
            joinLines<kLanes>(lanes, lowest + i, twiddles + i, kLaneStep, points, re, im);
        twiddles += kFftLaneTwiddles;
    }
    double* middle = lanes + kFftPoint * (points / 2);
    joinHalves(middle, middle, twiddles[0], twiddles[1]);
    joinLines<1>(lanes, points / 2, twiddles + 2, 2, points, re, im);
}

void split(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
           double scale, double* lanes) {
    for (std::ptrdiff_t first = 0; first < points / 2; first += kFftLanes) {
        const std::ptrdiff_t lowest = points - first - kFftLanes + 1;
        const double* halves = twiddles;
        twiddles += 2 * kFftLanes;
        for (std::ptrdiff_t i = 0; i < kFftLanes; i += kLanes)
            splitLines<kLanes>(re, im, first + i, twiddles + i, kLaneStep, points, lanes);
        twiddles += kFftLaneTwiddles;
        for (std::ptrdiff_t i = 0; i < kFftLanes; i += kLanes)
            splitLines<kLanes>(re, im, lowest + i, twiddles + i, kLaneStep, points, lanes);
        twiddles += kFftLaneTwiddles;
        for (std::ptrdiff_t i = 0; i < kFftLanes; ++i) {
            splitHalves(lanes + kFftPoint * (first + i), lanes + kFftPoint * (points - first - i),
                        halves[2 * i], halves[2 * i + 1], scale);
        }
    }
    splitLines<1>(re, im, points / 2, twiddles + 2, 2, points, lanes);
    double* middle = lanes + kFftPoint * (points / 2);
    splitHalves(middle, middle, twiddles[0], twiddles[1], scale);
}

constexpr LaneFftKernels kTable = {stage<4>, stage<8>, join, split};

}  // namespace

constinit const LaneFftKernels LaneFftKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys

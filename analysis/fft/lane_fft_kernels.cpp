#include "fft/lane_fft_kernels.h"

#include "kernels/lanes.h"
#if defined(__AVX2__)
#include <immintrin.h>
#endif

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

// Times the root of a half. What is missing to 1 is a number that a double hits eight times as
// closely as it does the root itself.
template <class V>
V timesRootOfHalf(V value) {
    return value - value * 0.29289321881345247560;
}

// What four of eight inputs, two apart, give to the transform of all eight.
template <class V>
struct FourOfEight {
    [[gnu::always_inline]] FourOfEight(const Complex<V>& x0, const Complex<V>& x2,
                                       const Complex<V>& x4, const Complex<V>& x6) {
        const auto sum04 = x0 + x4;
        const auto difference04 = x0 - x4;
        const auto sum26 = x2 + x6;
        const auto difference26 = x2 - x6;
        sum = sum04 + sum26;
        difference = sum04 - sum26;
        back = minusJ(difference04, difference26);
        forth = plusJ(difference04, difference26);
    }

    Complex<V> sum, difference, back, forth;
};

// Calls put(j, X[j]) for the transform of x[0..7]; `even` is made of the even ones. Where there are
// sixteen registers, all of them are full in the middle: inputs should be loaded four by four, and
// outputs leave as soon as they are made. X[j] comes before X[7 - j], j = 0..3, if `lowerFirst`.
template <bool lowerFirst, class V, class Put>
[[gnu::always_inline]] inline void transform(const FourOfEight<V>& even, const FourOfEight<V>& odd,
                                             Put put) {
    put(0, even.sum + odd.sum);
    const auto x4 = even.sum - odd.sum;
    if (!lowerFirst) put(4, x4);
    put(2, minusJ(even.difference, odd.difference));
    const auto x6 = plusJ(even.difference, odd.difference);
    if (!lowerFirst) put(6, x6);
    // Times (1 - j) / root 2, and times (1 + j) / root 2.
    const Complex<V> back = {timesRootOfHalf(odd.back.re + odd.back.im),
                             timesRootOfHalf(odd.back.im - odd.back.re)};
    put(1, even.back + back);
    put(5, even.back - back);
    const Complex<V> forth = {timesRootOfHalf(odd.forth.re - odd.forth.im),
                              timesRootOfHalf(odd.forth.re + odd.forth.im)};
    put(3, even.forth - forth);
    put(7, even.forth + forth);
    if (lowerFirst) {
        put(6, x6);
        put(4, x4);
    }
}

// The same over four inputs.
template <class V, class Put>
[[gnu::always_inline]] inline void transform(const Complex<V>& x0, const Complex<V>& x1,
                                             const Complex<V>& x2, const Complex<V>& x3, Put put) {
    const auto sum02 = x0 + x2;
    const auto difference02 = x0 - x2;
    const auto sum13 = x1 + x3;
    const auto difference13 = x1 - x3;
    put(0, sum02 + sum13);
    put(1, minusJ(difference02, difference13));
    put(2, sum02 - sum13);
    put(3, plusJ(difference02, difference13));
}

// Eight rows of memory, `step` numbers apart, in four registers: the processor adds a multiple by
// 1, 2 or 4 of a step while it loads.
template <class Number>
struct Rows {
    Rows(Number* first, std::ptrdiff_t rowStep)
        : row0(first), row3(first + 3 * rowStep), step(rowStep), step3(3 * rowStep) {}

    // j is a constant wherever this is called.
    [[gnu::always_inline]] Number* at(int j) const {
        if (j == 3) return row3;
        if (j == 5) return row3 + 2 * step;
        if (j == 6) return row0 + 2 * step3;
        if (j == 7) return row3 + 4 * step;
        return row0 + j * step;
    }
    void advance(std::ptrdiff_t numbers) {
        row0 += numbers;
        row3 += numbers;
    }

    Number* row0;
    Number* row3;
    std::ptrdiff_t step, step3;
};

// Calls work(lane) for each register's worth of lanes.
template <class Work>
[[gnu::always_inline]] inline void forLanes(Work work) {
#pragma GCC unroll 4
    for (std::ptrdiff_t lane = 0; lane < kFftLanes; lane += kLanes)
        work(lane);
}

// One butterfly, all lanes alike. Outputs from 1 on are turned by their twiddles, where it turns.
// With real and imaginary parts exchanged the transform is the inverse one. All inputs are read
// before the first output is written.
template <int radix, bool turns, bool inverse>
[[gnu::always_inline]] inline void butterfly(const Rows<const double>& in, const Rows<double>& out,
                                             const double* twiddles) {
    constexpr std::ptrdiff_t kRe = inverse ? kFftLanes : 0;
    constexpr std::ptrdiff_t kIm = inverse ? 0 : kFftLanes;
    forLanes([&](std::ptrdiff_t lane) __attribute__((always_inline)) {
        const auto x = [&](int j) __attribute__((always_inline)) {
            return Complex<Register>{load<Register>(in.at(j) + lane + kRe),
                                     load<Register>(in.at(j) + lane + kIm)};
        };
        const auto put = [&](int j, Complex<Register> y) __attribute__((always_inline)) {
            if (turns && j > 0) y = times(y, twiddles[2 * j - 2], twiddles[2 * j - 1]);
            store(y.re, out.at(j) + lane + kRe);
            store(y.im, out.at(j) + lane + kIm);
        };
        if constexpr (radix == 4) {
            transform(x(0), x(1), x(2), x(3), put);
        } else {
            const FourOfEight<Register> even(x(0), x(2), x(4), x(6));
            const FourOfEight<Register> odd(x(1), x(3), x(5), x(7));
            transform<false>(even, odd, put);
        }
    });
}

// One stage (lane_fft.h). In the first one, of stride 1, the places of the outputs are constants.
template <int radix, bool inverse>
void stage(const double* in, double* out, const double* twiddles, std::ptrdiff_t groups,
           std::ptrdiff_t stride) {
    constexpr std::ptrdiff_t kTwiddles = 2 * (radix - 1);
    Rows<const double> from(in, kFftPoint * stride * groups);
    if (stride == 1) {
        butterfly<radix, false, inverse>(from, {out, kFftPoint}, nullptr);
        for (std::ptrdiff_t group = 1; group < groups; ++group, twiddles += kTwiddles) {
            from.advance(kFftPoint);
            out += kFftPoint * radix;
            butterfly<radix, true, inverse>(from, {out, kFftPoint}, twiddles);
        }
        return;
    }
    Rows<double> to(out, kFftPoint * stride);
    for (std::ptrdiff_t q = 0; q < stride; ++q) {
        butterfly<radix, false, inverse>(from, to, nullptr);
        from.advance(kFftPoint);
        to.advance(kFftPoint);
    }
    for (std::ptrdiff_t group = 1; group < groups; ++group, twiddles += kTwiddles) {
        to.advance(kFftPoint * stride * (radix - 1));
        for (std::ptrdiff_t q = 0; q < stride; ++q) {
            butterfly<radix, true, inverse>(from, to, twiddles);
            from.advance(kFftPoint);
            to.advance(kFftPoint);
        }
    }
}

void lastRadix4(double* points, std::ptrdiff_t stride, std::ptrdiff_t count) {
    Rows<double> to(points, kFftPoint * stride);
    for (std::ptrdiff_t q = 0; q < count; ++q) {
        butterfly<4, false, false>({to.row0, to.step}, to, nullptr);
        to.advance(kFftPoint);
    }
}

// Lanes that change places with lines at once.
constexpr int kTurned = kLanes == 8 ? 4 : 2;

// Between memory, where the lanes of a line lie side by side, and registers that hold a lane of
// kLanes lines each: lanes 0..kTurned-1 of the lines at `line`, line + step, line + 2 step, ...
#if defined(__AVX512F__)

Register reversed(Register v) { return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0); }

[[gnu::always_inline]] inline void takeLanes(const double* line, std::ptrdiff_t step,
                                             Register (&lanes)[kTurned]) {
    using Four = Lanes<4>::Doubles;
    const auto two = [=](int i) __attribute__((always_inline)) {  // lines i and i + 2
        return __builtin_shufflevector(load<Four>(line + i * step),
                                       load<Four>(line + (i + 2) * step), 0, 1, 2, 3, 4, 5, 6, 7);
    };
    const auto evens = [](Register a, Register b) __attribute__((always_inline)) {
        return __builtin_shufflevector(a, b, 0, 8, 2, 10, 4, 12, 6, 14);
    };
    const auto odds = [](Register a, Register b) __attribute__((always_inline)) {
        return __builtin_shufflevector(a, b, 1, 9, 3, 11, 5, 13, 7, 15);
    };
    const Register first02 = evens(two(0), two(1));
    const Register first13 = odds(two(0), two(1));
    const Register last02 = evens(two(4), two(5));
    const Register last13 = odds(two(4), two(5));
    lanes[0] = __builtin_shufflevector(first02, last02, 0, 1, 4, 5, 8, 9, 12, 13);
    lanes[1] = __builtin_shufflevector(first13, last13, 0, 1, 4, 5, 8, 9, 12, 13);
    lanes[2] = __builtin_shufflevector(first02, last02, 2, 3, 6, 7, 10, 11, 14, 15);
    lanes[3] = __builtin_shufflevector(first13, last13, 2, 3, 6, 7, 10, 11, 14, 15);
}

[[gnu::always_inline]] inline void putLanes(const Register (&lanes)[kTurned], double* line,
                                            std::ptrdiff_t step) {
    const Register first02 = __builtin_shufflevector(lanes[0], lanes[2], 0, 1, 8, 9, 2, 3, 10, 11);
    const Register first13 = __builtin_shufflevector(lanes[1], lanes[3], 0, 1, 8, 9, 2, 3, 10, 11);
    const Register last02 = __builtin_shufflevector(lanes[0], lanes[2], 4, 5, 12, 13, 6, 7, 14, 15);
    const Register last13 = __builtin_shufflevector(lanes[1], lanes[3], 4, 5, 12, 13, 6, 7, 14, 15);
    const auto put = [=](Register v, int i) __attribute__((always_inline)) {  // lines i and i + 2
        store(__builtin_shufflevector(v, v, 0, 1, 2, 3), line + i * step);
        store(__builtin_shufflevector(v, v, 4, 5, 6, 7), line + (i + 2) * step);
    };
    put(__builtin_shufflevector(first02, first13, 0, 8, 2, 10, 4, 12, 6, 14), 0);
    put(__builtin_shufflevector(first02, first13, 1, 9, 3, 11, 5, 13, 7, 15), 1);
    put(__builtin_shufflevector(last02, last13, 0, 8, 2, 10, 4, 12, 6, 14), 4);
    put(__builtin_shufflevector(last02, last13, 1, 9, 3, 11, 5, 13, 7, 15), 5);
}

#elif defined(__AVX2__)

Register reversed(Register v) { return __builtin_shufflevector(v, v, 3, 2, 1, 0); }

[[gnu::always_inline]] inline void takeLanes(const double* line, std::ptrdiff_t step,
                                             Register (&lanes)[kTurned]) {
    const auto two = [=](int i) __attribute__((always_inline)) {  // lines i and i + 2
        return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(line + i * step)),
                                    _mm_loadu_pd(line + (i + 2) * step), 1);
    };
    const Register lines02 = two(0);
    const Register lines13 = two(1);
    lanes[0] = __builtin_shufflevector(lines02, lines13, 0, 4, 2, 6);
    lanes[1] = __builtin_shufflevector(lines02, lines13, 1, 5, 3, 7);
}

[[gnu::always_inline]] inline void putLanes(const Register (&lanes)[kTurned], double* line,
                                            std::ptrdiff_t step) {
    const Register lines02 = __builtin_shufflevector(lanes[0], lanes[1], 0, 4, 2, 6);
    const Register lines13 = __builtin_shufflevector(lanes[0], lanes[1], 1, 5, 3, 7);
    store(__builtin_shufflevector(lines02, lines02, 0, 1), line);
    store(__builtin_shufflevector(lines13, lines13, 0, 1), line + step);
    store(__builtin_shufflevector(lines02, lines02, 2, 3), line + 2 * step);
    store(__builtin_shufflevector(lines13, lines13, 2, 3), line + 3 * step);
}

#else

Register reversed(Register v) { return __builtin_shufflevector(v, v, 1, 0); }

[[gnu::always_inline]] inline void takeLanes(const double* line, std::ptrdiff_t step,
                                             Register (&lanes)[kTurned]) {
    const auto line0 = load<Register>(line);
    const auto line1 = load<Register>(line + step);
    lanes[0] = __builtin_shufflevector(line0, line1, 0, 2);
    lanes[1] = __builtin_shufflevector(line0, line1, 1, 3);
}

[[gnu::always_inline]] inline void putLanes(const Register (&lanes)[kTurned], double* line,
                                            std::ptrdiff_t step) {
    store(__builtin_shufflevector(lanes[0], lanes[1], 0, 2), line);
    store(__builtin_shufflevector(lanes[0], lanes[1], 1, 3), line + step);
}

#endif

// Lines of all samples, as many as V has lanes.
double loadDown(double /*kind*/, const double* line) { return *line; }
Register loadDown(Register /*kind*/, const double* line) {
    return reversed(load<Register>(line - kLanes + 1));
}
void storeDown(double* line, double v) { *line = v; }
void storeDown(double* line, Register v) { store(reversed(v), line - kLanes + 1); }

// The lines k of the lanes, x[lane], to the lines k + 2 * points * j of all samples, j = 0..7;
// those of the upper half are the conjugates of lines of the lower one. The lines in x count
// upwards from k, or, `mirrored`, downwards.
template <bool mirrored, class V>
[[gnu::always_inline]] inline void joinLines(const Complex<V> (&x)[kFftLanes], std::ptrdiff_t k,
                                             std::ptrdiff_t points, double* re, double* im) {
    const Rows<double> upRe(re + k, 2 * points), upIm(im + k, 2 * points);
    const Rows<double> downRe(re + 8 * points - k, -2 * points),
        downIm(im + 8 * points - k, -2 * points);
    const FourOfEight<V> even(x[0], x[2], x[4], x[6]);
    const FourOfEight<V> odd(x[1], x[3], x[5], x[7]);
    const auto put = [&](int j, const Complex<V>& y) __attribute__((always_inline)) {
        const V yIm = j < 4 ? y.im : 0.0 - y.im;  // a zero stays without a sign
        double* const toRe = j < 4 ? upRe.at(j) : downRe.at(j - 4);
        double* const toIm = j < 4 ? upIm.at(j) : downIm.at(j - 4);
        if ((j < 4) != mirrored) {
            store(y.re, toRe);
            store(yIm, toIm);
        } else {
            storeDown(toRe, y.re);
            storeDown(toIm, yIm);
        }
    };
    // The lines points * 1, 3, 5, 7 are made twice, by j and by 7 - j: the later ones stay.
    transform<true>(even, odd, put);
}

// The way back.
template <bool mirrored, class V>
[[gnu::always_inline]] inline void splitLines(const double* re, const double* im, std::ptrdiff_t k,
                                              std::ptrdiff_t points,
                                              Complex<V> (&lanes)[kFftLanes]) {
    const Rows<const double> upRe(re + k, 2 * points), upIm(im + k, 2 * points);
    const Rows<const double> downRe(re + 8 * points - k, -2 * points),
        downIm(im + 8 * points - k, -2 * points);
    // Real and imaginary parts exchanged: the inverse transform.
    const auto x = [&](int j) __attribute__((always_inline)) {
        const double* fromRe = j < 4 ? upRe.at(j) : downRe.at(j - 4);
        const double* fromIm = j < 4 ? upIm.at(j) : downIm.at(j - 4);
        const bool upwards = (j < 4) != mirrored;
        const V lineRe = upwards ? load<V>(fromRe) : loadDown(V{}, fromRe);
        const V lineIm = upwards ? load<V>(fromIm) : loadDown(V{}, fromIm);
        return Complex<V>{j < 4 ? lineIm : -lineIm, lineRe};
    };
    const FourOfEight<V> even(x(0), x(2), x(4), x(6));
    const FourOfEight<V> odd(x(1), x(3), x(5), x(7));
    const auto put = [&](int j, const Complex<V>& y) __attribute__((always_inline)) {
        lanes[j] = {y.im, y.re};
    };
    transform<false>(even, odd, put);
}

// Two lines of a lane, k and its mirror line points-k.
template <class V>
struct Pair {
    Complex<V> line;
    Complex<V> mirror;
};

// Each lane's transform is that of two real halves, one sample after the other, taken as real and
// imaginary parts. Makes the line and its mirror line, both doubled, out of the two.
template <class V>
[[gnu::always_inline]] inline Pair<V> joinHalves(const Complex<V>& z, const Complex<V>& m, V re,
                                                 V im) {
    const Complex<V> even = {z.re + m.re, z.im - m.im};
    const Complex<V> odd = {z.im + m.im, m.re - z.re};
    const auto turned = times(odd, re, im);
    return {{even.re + turned.re, even.im + turned.im}, {even.re - turned.re, turned.im - even.im}};
}

// The way back, times `scale` and doubled.
template <class V>
[[gnu::always_inline]] inline Pair<V> splitHalves(const Complex<V>& g, const Complex<V>& m, V re,
                                                  V im, double scale) {
    const Complex<V> even = {(g.re + m.re) * scale, (g.im - m.im) * scale};
    const auto odd = timesConjugate(Complex<V>{g.re - m.re, g.im + m.im}, re * scale, im * scale);
    return {{even.re - odd.im, even.im + odd.re}, {even.re + odd.im, odd.re - even.im}};
}

// The lanes' twiddles: those of lane 1 first, real and imaginary parts `step` apart.
template <class V>
[[gnu::always_inline]] inline Complex<V> turnLane(int lane, const Complex<V>& x,
                                                  const double* twiddles, std::ptrdiff_t step) {
    if (lane == 0) return {x.re * 0.5, x.im * 0.5};
    const double* twiddle = twiddles + (lane - 1) * 2 * step;
    return times(x, load<V>(twiddle), load<V>(twiddle + step));
}
template <class V>
[[gnu::always_inline]] inline Complex<V> turnLaneBack(int lane, const Complex<V>& x,
                                                      const double* twiddles, std::ptrdiff_t step) {
    if (lane == 0) return {x.re * 0.5, x.im * 0.5};
    const double* twiddle = twiddles + (lane - 1) * 2 * step;
    return timesConjugate(x, load<V>(twiddle), load<V>(twiddle + step));
}

// Calls work(k, twiddles) for kLanes lines from k on and their mirror lines, over a group of eight.
template <class Work>
[[gnu::always_inline]] inline void forGroup(std::ptrdiff_t first, const double* twiddles,
                                            Work work) {
    const double* const ofGroup = twiddles + first / kFftLanes * kFftGroupTwiddles;
    for (std::ptrdiff_t i = 0; i < kFftLanes; i += kLanes)
        work(first + i, ofGroup + i);
}

constexpr std::ptrdiff_t kOfLine = 2 * kFftLanes;  // twiddles behind the halves'
constexpr std::ptrdiff_t kOfMirror = kOfLine + kFftLaneTwiddles;

void joinGroup(const double* lanes, const double* twiddles, std::ptrdiff_t points,
               std::ptrdiff_t first, double* re, double* im) {
    forGroup(
        first, twiddles, [=](std::ptrdiff_t k, const double* w) __attribute__((always_inline)) {
            const auto halfRe = load<Register>(w);
            const auto halfIm = load<Register>(w + kFftLanes);
            Complex<Register> lines[kFftLanes];
            Complex<Register> mirrors[kFftLanes];
#pragma GCC unroll 4
            for (int lane = 0; lane < kFftLanes; lane += kTurned) {
                const double* line = lanes + kFftPoint * k + lane;
                const double* mirror = lanes + kFftPoint * (points - k) + lane;
                Register lineRe[kTurned], lineIm[kTurned], mirrorRe[kTurned], mirrorIm[kTurned];
                takeLanes(line, kFftPoint, lineRe);
                takeLanes(line + kFftLanes, kFftPoint, lineIm);
                takeLanes(mirror, -kFftPoint, mirrorRe);
                takeLanes(mirror + kFftLanes, -kFftPoint, mirrorIm);
#pragma GCC unroll 4
                for (int i = 0; i < kTurned; ++i) {
                    const auto pair = joinHalves<Register>(
                        {lineRe[i], lineIm[i]}, {mirrorRe[i], mirrorIm[i]}, halfRe, halfIm);
                    lines[lane + i] = turnLane(lane + i, pair.line, w + kOfLine, kFftLanes);
                    mirrors[lane + i] = turnLane(lane + i, pair.mirror, w + kOfMirror, kFftLanes);
                }
            }
            joinLines<false>(lines, k, points, re, im);
            joinLines<true>(mirrors, points - k, points, re, im);
        });
}

// The middle line of all lanes, which is its own mirror line: lanes fill the registers here.
struct MiddleLine {
    double re[kFftLanes];
    double im[kFftLanes];
};

void joinMiddle(const double* lanes, const double* twiddles, std::ptrdiff_t points, double* re,
                double* im) {
    const double* w = twiddles + points / 2 / kFftLanes * kFftGroupTwiddles;
    const double* middle = lanes + kFftPoint * (points / 2);
    const Register halfRe = Register{} + w[0];
    const Register halfIm = Register{} + w[1];
    MiddleLine turned;
    forLanes([&](std::ptrdiff_t lane) __attribute__((always_inline)) {
        const Complex<Register> z = {load<Register>(middle + lane),
                                     load<Register>(middle + lane + kFftLanes)};
        const auto line = joinHalves(z, z, halfRe, halfIm).mirror;
        const auto product =
            times(line, load<Register>(w + 2 + lane), load<Register>(w + 2 + kFftLanes + lane));
        store(product.re, turned.re + lane);
        store(product.im, turned.im + lane);
        if (lane > 0) return;
        turned.re[0] = line.re[0] * 0.5;
        turned.im[0] = line.im[0] * 0.5;
    });
    Complex<double> lines[kFftLanes];
    for (int lane = 0; lane < kFftLanes; ++lane)
        lines[lane] = {turned.re[lane], turned.im[lane]};
    joinLines<false>(lines, points / 2, points, re, im);
}

void splitMiddle(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
                 double scale, double* lanes) {
    const double* w = twiddles + points / 2 / kFftLanes * kFftGroupTwiddles;
    double* middle = lanes + kFftPoint * (points / 2);
    const Register halfRe = Register{} + w[0];
    const Register halfIm = Register{} + w[1];
    Complex<double> lines[kFftLanes];
    splitLines<false>(re, im, points / 2, points, lines);
    MiddleLine line;
    for (int lane = 0; lane < kFftLanes; ++lane) {
        line.re[lane] = lines[lane].re;
        line.im[lane] = lines[lane].im;
    }
    forLanes([&](std::ptrdiff_t lane) __attribute__((always_inline)) {
        const Complex<Register> x = {load<Register>(line.re + lane),
                                     load<Register>(line.im + lane)};
        auto turned = timesConjugate(x, load<Register>(w + 2 + lane),
                                     load<Register>(w + 2 + kFftLanes + lane));
        if (lane == 0) {
            turned.re[0] = x.re[0] * 0.5;
            turned.im[0] = x.im[0] * 0.5;
        }
        const auto half = splitHalves(turned, turned, halfRe, halfIm, scale).mirror;
        store(half.re, middle + lane);
        store(half.im, middle + lane + kFftLanes);
    });
}

void split(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
           double scale, double* lanes) {
    const auto splitLanes = [=](std::ptrdiff_t k, const double* w) __attribute__((always_inline)) {
        const auto halfRe = load<Register>(w);
        const auto halfIm = load<Register>(w + kFftLanes);
        Complex<Register> lines[kFftLanes];
        Complex<Register> mirrors[kFftLanes];
        splitLines<false>(re, im, k, points, lines);
        splitLines<true>(re, im, points - k, points, mirrors);
#pragma GCC unroll 4
        for (int lane = 0; lane < kFftLanes; lane += kTurned) {
            Register lineRe[kTurned], lineIm[kTurned], mirrorRe[kTurned], mirrorIm[kTurned];
#pragma GCC unroll 4
            for (int i = 0; i < kTurned; ++i) {
                const auto pair = splitHalves<Register>(
                    turnLaneBack(lane + i, lines[lane + i], w + kOfLine, kFftLanes),
                    turnLaneBack(lane + i, mirrors[lane + i], w + kOfMirror, kFftLanes), halfRe,
                    halfIm, scale);
                lineRe[i] = pair.line.re;
                lineIm[i] = pair.line.im;
                mirrorRe[i] = pair.mirror.re;
                mirrorIm[i] = pair.mirror.im;
            }
            double* line = lanes + kFftPoint * k + lane;
            double* mirror = lanes + kFftPoint * (points - k) + lane;
            putLanes(lineRe, line, kFftPoint);
            putLanes(lineIm, line + kFftLanes, kFftPoint);
            putLanes(mirrorRe, mirror, -kFftPoint);
            putLanes(mirrorIm, mirror + kFftLanes, -kFftPoint);
        }
    };
    for (std::ptrdiff_t first = 0; first < points / 2; first += kFftLanes)
        forGroup(first, twiddles, splitLanes);
    splitMiddle(re, im, twiddles, points, scale, lanes);
}

constexpr LaneFftKernels kTable = {{stage<4, false>, stage<4, true>},
                                   {stage<8, false>, stage<8, true>},
                                   lastRadix4,
                                   joinGroup,
                                   joinMiddle,
                                   split};

}  // namespace

constinit const LaneFftKernels LaneFftKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys

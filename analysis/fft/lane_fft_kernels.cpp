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
// outputs leave as soon as they are made.
template <class V, class Put>
[[gnu::always_inline]] inline void transform(const FourOfEight<V>& even, const FourOfEight<V>& odd,
                                             Put put) {
    put(0, even.sum + odd.sum);
    put(4, even.sum - odd.sum);
    put(2, minusJ(even.difference, odd.difference));
    put(6, plusJ(even.difference, odd.difference));
    // Times (1 - j) / root 2, and times (1 + j) / root 2.
    const Complex<V> back = {timesRootOfHalf(odd.back.re + odd.back.im),
                             timesRootOfHalf(odd.back.im - odd.back.re)};
    put(1, even.back + back);
    put(5, even.back - back);
    const Complex<V> forth = {timesRootOfHalf(odd.forth.re - odd.forth.im),
                              timesRootOfHalf(odd.forth.re + odd.forth.im)};
    put(3, even.forth - forth);
    put(7, even.forth + forth);
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

// The transform of sixteen points, in two steps of radix 4:
//     X[b + 4 j] = sum_a W_4^(a j) (W_16^(a b) sum_t W_4^(t b) x[a + 4 t]).
// So that nothing has to be negated, b = 3 takes W_16^(-a), which makes the sums of j + 1, and for
// b = 2 the inputs a = 2 and 3 leave a factor -j to the second step.
template <class V>
struct SixteenPoints {
    // The first step for the inputs a, a + 4, a + 8, a + 12.
    [[gnu::always_inline]] void take(int a, const Complex<V>& x0, const Complex<V>& x4,
                                     const Complex<V>& x8, const Complex<V>& x12) {
        const auto put = [&](int b, const Complex<V>& y) __attribute__((always_inline)) {
            columns[b][a] = turned(a, b, y);
        };
        transform(x0, x4, x8, x12, put);
    }

    // The second step makes X[place] and X[place + 8], place = 0..7.
    struct Two {
        Complex<V> first, second;
    };
    [[gnu::always_inline]] Two finish(int place) const {
        const bool sums = place < 3 || place == 7;
        const bool turnsJ = place % 4 == 2;
        const auto& y = columns[place % 4];
        Two two;
        if (sums) {
            const auto sum02 = turnsJ ? minusJ(y[0], y[2]) : y[0] + y[2];
            const auto sum13 = turnsJ ? minusJ(y[1], y[3]) : y[1] + y[3];
            two = {sum02 + sum13, sum02 - sum13};
        } else {
            const auto difference02 = turnsJ ? plusJ(y[0], y[2]) : y[0] - y[2];
            const auto difference13 = turnsJ ? plusJ(y[1], y[3]) : y[1] - y[3];
            two = {minusJ(difference02, difference13), plusJ(difference02, difference13)};
        }
        return place == 7 ? Two{two.second, two.first} : two;
    }

    // Turned by W_16^(a b), as above.
    [[gnu::always_inline]] static Complex<V> turned(int a, int b, const Complex<V>& y) {
        constexpr double kCos = 0.92387953251128675613;  // of a sixteenth of the circle
        constexpr double kSin = 0.38268343236508977173;
        if (a == 0 || b == 0) return y;
        if (b == 2 && a == 2) return y;
        if (b == 3) {
            if (a == 1) return times(y, kCos, kSin);
            if (a == 2) return {timesRootOfHalf(y.re - y.im), timesRootOfHalf(y.re + y.im)};
            return times(y, kSin, kCos);
        }
        if (b == 2 || a == 2) return {timesRootOfHalf(y.re + y.im), timesRootOfHalf(y.im - y.re)};
        return a == 1 ? timesConjugate(y, kCos, kSin) : timesConjugate(y, kSin, kCos);
    }

    Complex<V> columns[4][4];  // of b, a
};

// Rows of memory, `step` numbers apart.
template <class Number, int count>
struct Rows {
    Rows(Number* firstRow, std::ptrdiff_t rowStep) : first(firstRow), step(rowStep) {}

    // j is a constant wherever this is called.
    [[gnu::always_inline]] Number* at(int j) const { return first + j * step; }
    void advance(std::ptrdiff_t numbers) { first += numbers; }

    Number* first;
    std::ptrdiff_t step;
};

// Eight of them in four registers: the processor adds a multiple by 1, 2 or 4 of a step while it
// loads.
template <class Number>
struct Rows<Number, 8> {
    Rows(Number* firstRow, std::ptrdiff_t rowStep)
        : row0(firstRow), row3(firstRow + 3 * rowStep), step(rowStep), step3(3 * rowStep) {}

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

// How the lanes of a point lie: all real parts, then all imaginary ones, as the samples do; or a
// register of real parts, the imaginary parts of the same lanes, and so on, as in the work array.
// There a register's two parts share a line of the cache, into which processors put two stores at
// once.
enum class Lie { asSamples, asRegisters };
template <Lie lie>
constexpr std::ptrdiff_t realParts(std::ptrdiff_t lane) {
    return lie == Lie::asSamples ? lane : 2 * (lane - lane % kLanes) + lane % kLanes;
}
template <Lie lie>
constexpr std::ptrdiff_t kToImaginary = lie == Lie::asSamples ? kFftLanes : kLanes;

// Calls work(lane) for each register's worth of lanes.
template <class Work>
[[gnu::always_inline]] inline void forLanes(Work work) {
#pragma GCC unroll 4
    for (std::ptrdiff_t lane = 0; lane < kFftLanes; lane += kLanes)
        work(lane);
}

// One butterfly, all lanes alike. Where there are twiddles, they turn the outputs from 1 on, or, in
// an inverse transform, the inputs from 1 on. With real and imaginary parts exchanged the transform
// is the inverse one. All inputs of a register are read before its first output is written.
template <int radix, bool turns, bool inverse, Lie from, Lie to>
[[gnu::always_inline]] inline void butterfly(const Rows<const double, radix>& in,
                                             const Rows<double, radix>& out,
                                             const double* twiddles) {
    const auto turned = [&](int j, const Complex<Register>& z) __attribute__((always_inline)) {
        return j > 0 ? times(z, twiddles[2 * j - 2], twiddles[2 * j - 1]) : z;
    };
    forLanes([&](std::ptrdiff_t lane) __attribute__((always_inline)) {
        const auto x = [&](int j) __attribute__((always_inline)) {
            const double* point = in.at(j) + realParts<from>(lane);
            const auto re = load<Register>(point);
            const auto im = load<Register>(point + kToImaginary<from>);
            if constexpr (!inverse)
                return Complex<Register>{re, im};
            else if constexpr (turns)
                return turned(j, {im, re});
            else
                return Complex<Register>{im, re};
        };
        const auto put = [&](int j, Complex<Register> y) __attribute__((always_inline)) {
            if constexpr (!inverse && turns) y = turned(j, y);
            double* point = out.at(j) + realParts<to>(lane);
            store(inverse ? y.im : y.re, point);
            store(inverse ? y.re : y.im, point + kToImaginary<to>);
        };
        if constexpr (radix == 4) {
            transform(x(0), x(1), x(2), x(3), put);
        } else if constexpr (radix == 8) {
            const FourOfEight<Register> even(x(0), x(2), x(4), x(6));
            const FourOfEight<Register> odd(x(1), x(3), x(5), x(7));
            transform(even, odd, put);
        } else {
            SixteenPoints<Register> points;
#pragma GCC unroll 4
            for (int a = 0; a < 4; ++a)
                points.take(a, x(a), x(a + 4), x(a + 8), x(a + 12));
#pragma GCC unroll 8
            for (int place = 0; place < 8; ++place) {
                const auto two = points.finish(place);
                put(place, two.first);
                put(place + 8, two.second);
            }
        }
    });
}

// One stage (lane_fft.h). The outermost one reads or writes samples.
template <int radix, bool inverse, bool outermost>
void stage(const double* in, double* out, const double* twiddles, std::ptrdiff_t stride,
           std::ptrdiff_t blocks) {
    constexpr Lie from = outermost && !inverse ? Lie::asSamples : Lie::asRegisters;
    constexpr Lie to = outermost && inverse ? Lie::asSamples : Lie::asRegisters;
    constexpr std::ptrdiff_t kTwiddles = 2 * (radix - 1);
    if (stride == 1) {  // the places of the points are constants here
        for (std::ptrdiff_t block = 0; block < blocks; ++block) {
            butterfly<radix, false, inverse, from, to>({in, kFftPoint}, {out, kFftPoint}, nullptr);
            in += kFftPoint * radix;
            out += kFftPoint * radix;
        }
        return;
    }
    if constexpr (radix < 16) {
        Rows<const double, radix> source(in, kFftPoint * stride);
        Rows<double, radix> target(out, kFftPoint * stride);
        for (std::ptrdiff_t block = 0; block < blocks; ++block) {
            butterfly<radix, false, inverse, from, to>(source, target, nullptr);
            const double* twiddle = twiddles;
            for (std::ptrdiff_t q = 1; q < stride; ++q, twiddle += kTwiddles) {
                source.advance(kFftPoint);
                target.advance(kFftPoint);
                butterfly<radix, true, inverse, from, to>(source, target, twiddle);
            }
            source.advance(kFftPoint * (stride * (radix - 1) + 1));
            target.advance(kFftPoint * (stride * (radix - 1) + 1));
        }
    }
}

// Lanes that change places with lines at once.
constexpr int kTurned = kLanes == 8 ? 4 : 2;

// Between the work array, where the lanes of a line lie side by side, and registers that hold a
// lane of kLanes lines each: line(i) is where the first of kTurned lanes of line i lies.
#if defined(__AVX512F__)

Register reversed(Register v) { return __builtin_shufflevector(v, v, 7, 6, 5, 4, 3, 2, 1, 0); }

template <class Line>
[[gnu::always_inline]] inline void turnLanes(Line line, Register (&lanes)[kTurned]) {
    using Four = Lanes<4>::Doubles;
    const auto two = [=](int i) __attribute__((always_inline)) {  // lines i and i + 2
        return __builtin_shufflevector(load<Four>(line(i)), load<Four>(line(i + 2)), 0, 1, 2, 3, 4,
                                       5, 6, 7);
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

// Calls put(i, the lanes of line i) for half a register's worth of lanes.
template <class Put>
[[gnu::always_inline]] inline void turnBack(const Register (&lanes)[kTurned], Put put) {
    const Register first02 = __builtin_shufflevector(lanes[0], lanes[2], 0, 1, 8, 9, 2, 3, 10, 11);
    const Register first13 = __builtin_shufflevector(lanes[1], lanes[3], 0, 1, 8, 9, 2, 3, 10, 11);
    const Register last02 = __builtin_shufflevector(lanes[0], lanes[2], 4, 5, 12, 13, 6, 7, 14, 15);
    const Register last13 = __builtin_shufflevector(lanes[1], lanes[3], 4, 5, 12, 13, 6, 7, 14, 15);
    const auto putTwo = [=](Register v, int i) __attribute__((always_inline)) {  // i and i + 2
        put(i, __builtin_shufflevector(v, v, 0, 1, 2, 3));
        put(i + 2, __builtin_shufflevector(v, v, 4, 5, 6, 7));
    };
    putTwo(__builtin_shufflevector(first02, first13, 0, 8, 2, 10, 4, 12, 6, 14), 0);
    putTwo(__builtin_shufflevector(first02, first13, 1, 9, 3, 11, 5, 13, 7, 15), 1);
    putTwo(__builtin_shufflevector(last02, last13, 0, 8, 2, 10, 4, 12, 6, 14), 4);
    putTwo(__builtin_shufflevector(last02, last13, 1, 9, 3, 11, 5, 13, 7, 15), 5);
}

#elif defined(__AVX2__)

Register reversed(Register v) { return __builtin_shufflevector(v, v, 3, 2, 1, 0); }

template <class Line>
[[gnu::always_inline]] inline void turnLanes(Line line, Register (&lanes)[kTurned]) {
    const auto two = [=](int i) __attribute__((always_inline)) {  // lines i and i + 2
        return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(line(i))),
                                    _mm_loadu_pd(line(i + 2)), 1);
    };
    const Register lines02 = two(0);
    const Register lines13 = two(1);
    lanes[0] = __builtin_shufflevector(lines02, lines13, 0, 4, 2, 6);
    lanes[1] = __builtin_shufflevector(lines02, lines13, 1, 5, 3, 7);
}

template <class Put>
[[gnu::always_inline]] inline void turnBack(const Register (&lanes)[kTurned], Put put) {
    const Register lines02 = __builtin_shufflevector(lanes[0], lanes[1], 0, 4, 2, 6);
    const Register lines13 = __builtin_shufflevector(lanes[0], lanes[1], 1, 5, 3, 7);
    put(0, _mm256_castpd256_pd128(lines02));
    put(1, _mm256_castpd256_pd128(lines13));
    put(2, _mm256_extractf128_pd(lines02, 1));
    put(3, _mm256_extractf128_pd(lines13, 1));
}

#else

Register reversed(Register v) { return __builtin_shufflevector(v, v, 1, 0); }

template <class Line>
[[gnu::always_inline]] inline void turnLanes(Line line, Register (&lanes)[kTurned]) {
    const auto line0 = load<Register>(line(0));
    const auto line1 = load<Register>(line(1));
    lanes[0] = __builtin_shufflevector(line0, line1, 0, 2);
    lanes[1] = __builtin_shufflevector(line0, line1, 1, 3);
}

template <class Put>
[[gnu::always_inline]] inline void turnBack(const Register (&lanes)[kTurned], Put put) {
    put(0, __builtin_shufflevector(lanes[0], lanes[1], 0, 2));
    put(1, __builtin_shufflevector(lanes[0], lanes[1], 1, 3));
}

#endif

using TurnedLanes = Lanes<kTurned>::Doubles;

// kTurned lanes of kLanes points.
struct ComplexLanes {
    template <class Line>
    [[gnu::always_inline]] void take(Line line) {
        turnLanes(line, re);
        turnLanes(
            [=](int i) __attribute__((always_inline)) { return line(i) + kLanes; }, im);
    }
    template <class Line>
    [[gnu::always_inline]] void put(Line line) const {
        TurnedLanes ofRe[kLanes];
        turnBack(
            re, [&](int i, TurnedLanes v) __attribute__((always_inline)) { ofRe[i] = v; });
        turnBack(
            im, [&](int i, TurnedLanes v) __attribute__((always_inline)) {
                store(ofRe[i], line(i));
                store(v, line(i) + kLanes);
            });
    }

    Register re[kTurned];
    Register im[kTurned];
};

Register loadDown(const double* line) { return reversed(load<Register>(line - kLanes + 1)); }
void storeDown(double* line, Register v) { store(reversed(v), line - kLanes + 1); }

// The lines k + points * i of all samples, i = 0..7, upwards from k, and those that the upper half
// of the lines are the conjugates of, downwards: points * (8 - i) - k.
template <class Number>
struct LineRows {
    LineRows(Number* re, Number* im, std::ptrdiff_t points, std::ptrdiff_t k)
        : upRe(re + k, points),
          upIm(im + k, points),
          downRe(re + 8 * points - k, -points),
          downIm(im + 8 * points - k, -points) {}

    Rows<Number, 8> upRe, upIm, downRe, downIm;
};

Complex<Register> twiddleOf(std::ptrdiff_t sequence, const double* twiddles) {
    const double* twiddle = twiddles + (sequence - 1) * 2 * kFftLanes;
    return {load<Register>(twiddle), load<Register>(twiddle + kFftLanes)};
}

// kLanes lines of the group from `first` on and their mirror lines: the sixteen sub-sequences, and
// what four of them each give to the lines of all samples.
[[gnu::always_inline]] inline void takeLines(const FftGroup<const double>& group, int first,
                                             const double* twiddles,
                                             SixteenPoints<Register>& lines) {
#pragma GCC unroll 4
    for (int lane = 0; lane < kFftLanes / 2; lane += kTurned) {
        Complex<Register> even[2][kTurned], odd[2][kTurned];
#pragma GCC unroll 2
        for (int half = 0; half < 2; ++half) {
            const std::ptrdiff_t l = lane + half * kFftLanes / 2;
            const std::ptrdiff_t place = realParts<Lie::asRegisters>(l);
            ComplexLanes line, mirror;
            line.take([&](int i)
                          __attribute__((always_inline)) { return group.line(first + i) + place; });
            mirror.take([&](int i) __attribute__((always_inline)) {
                return group.mirrorLine(first + i) + place;
            });
#pragma GCC unroll 4
            for (int i = 0; i < kTurned; ++i) {
                const Complex<Register> sum = {line.re[i] + mirror.re[i],
                                               line.im[i] - mirror.im[i]};
                const Complex<Register> rest = {line.im[i] + mirror.im[i],
                                                mirror.re[i] - line.re[i]};
                if (l + i == 0) {
                    even[half][i] = {sum.re * 0.5, sum.im * 0.5};
                } else {
                    const auto twiddle = twiddleOf(l + i, twiddles + first);
                    even[half][i] = times(sum, twiddle.re, twiddle.im);
                }
                const auto twiddle = twiddleOf(l + i + kFftLanes, twiddles + first);
                odd[half][i] = times(rest, twiddle.re, twiddle.im);
            }
        }
#pragma GCC unroll 4
        for (int i = 0; i < kTurned; ++i)
            lines.take(lane + i, even[0][i], even[1][i], odd[0][i], odd[1][i]);
    }
}

void join(const FftGroup<const double>& group, const double* twiddles, std::ptrdiff_t points,
          std::ptrdiff_t k, double* re, double* im) {
    constexpr int kParts = kFftLanes / kLanes;
    constexpr int kAtOnce = kParts < 2 ? 1 : 2;  // neighbours leave for the same lines of the cache
    for (int part = 0; part < kParts; part += kAtOnce) {
        SixteenPoints<Register> lines[kAtOnce];
#pragma GCC unroll 2
        for (int i = 0; i < kAtOnce; ++i)
            takeLines(group, (part + i) * kLanes, twiddles, lines[i]);
        const LineRows<double> rows(re, im, points, k + part * kLanes);
#pragma GCC unroll 8
        for (int place = 0; place < 8; ++place) {
            using Two = SixteenPoints<Register>::Two;
            Two two[kAtOnce];
#pragma GCC unroll 2
            for (int i = 0; i < kAtOnce; ++i)
                two[i] = lines[i].finish(place);
            const auto putAll = [&](auto put) __attribute__((always_inline)) {
#pragma GCC unroll 2
                for (int i = 0; i < kAtOnce; ++i)
                    put(i * kLanes, two[i]);
            };
            putAll([&](std::ptrdiff_t i, const Two& x) __attribute__((always_inline)) {
                store(x.first.re, rows.upRe.at(place) + i);
            });
            putAll([&](std::ptrdiff_t i, const Two& x) __attribute__((always_inline)) {
                store(x.first.im, rows.upIm.at(place) + i);
            });
            putAll([&](std::ptrdiff_t i, const Two& x) __attribute__((always_inline)) {
                storeDown(rows.downRe.at(place) - i, x.second.re);
            });
            putAll([&](std::ptrdiff_t i, const Two& x) __attribute__((always_inline)) {
                storeDown(rows.downIm.at(place) - i, 0.0 - x.second.im);  // a zero without a sign
            });
        }
    }
}

// The line j of the eight that the middle line of the lanes makes; from 4 on, its conjugate.
std::ptrdiff_t middleLine(std::ptrdiff_t points, int j) {
    return points / 2 + points * (j < 4 ? 2 * j : 15 - 2 * j);
}

// Lanes fill the registers here.
struct MiddleLine {
    Complex<double> at(int lane) const { return {re[lane], im[lane]}; }

    double re[kFftLanes];
    double im[kFftLanes];
};

void joinMiddle(const double* middle, const double* twiddles, std::ptrdiff_t points, double* re,
                double* im) {
    MiddleLine x;
    forLanes([&](std::ptrdiff_t lane) __attribute__((always_inline)) {
        const double* point = middle + realParts<Lie::asRegisters>(lane);
        const auto zRe = load<Register>(point);
        const auto zIm = load<Register>(point + kToImaginary<Lie::asRegisters>);
        const auto turned =
            times(Complex<Register>{zRe, 0.0 - zIm}, load<Register>(twiddles + lane),
                  load<Register>(twiddles + kFftLanes + lane));
        store(turned.re, x.re + lane);
        store(turned.im, x.im + lane);
    });
    const FourOfEight<double> even(x.at(0), x.at(2), x.at(4), x.at(6));
    const FourOfEight<double> odd(x.at(1), x.at(3), x.at(5), x.at(7));
    transform(even, odd, [&](int j, const Complex<double>& y) {
        re[middleLine(points, j)] = y.re;
        im[middleLine(points, j)] = j < 4 ? y.im : 0.0 - y.im;
    });
}

void splitMiddle(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
                 double scale, double* middle) {
    // Real and imaginary parts exchanged: the inverse transform.
    const auto x = [&](int j) {
        const double lineIm = im[middleLine(points, j)];
        return Complex<double>{j < 4 ? lineIm : -lineIm, re[middleLine(points, j)]};
    };
    const FourOfEight<double> even(x(0), x(2), x(4), x(6));
    const FourOfEight<double> odd(x(1), x(3), x(5), x(7));
    MiddleLine y;
    transform(even, odd, [&](int lane, const Complex<double>& exchanged) {
        y.re[lane] = exchanged.im;
        y.im[lane] = exchanged.re;
    });
    forLanes([&](std::ptrdiff_t lane) __attribute__((always_inline)) {
        const Complex<Register> line = {load<Register>(y.re + lane), load<Register>(y.im + lane)};
        const auto turned = timesConjugate(line, load<Register>(twiddles + lane) * scale,
                                           load<Register>(twiddles + kFftLanes + lane) * scale);
        double* point = middle + realParts<Lie::asRegisters>(lane);
        store(turned.re, point);
        store(-turned.im, point + kToImaginary<Lie::asRegisters>);
    });
}

void split(const double* re, const double* im, const double* twiddles, std::ptrdiff_t points,
           std::ptrdiff_t k, double scale, const FftGroup<double>& wholeGroup) {
    for (int first = 0; first < kFftLanes; first += kLanes) {
        const FftGroup<double> group = wholeGroup.from(first);
        const LineRows<const double> rows(re, im, points, k + first);
        // Real and imaginary parts exchanged: the inverse transform.
        const auto x = [&](int i) __attribute__((always_inline)) {
            if (i < 8)
                return Complex<Register>{load<Register>(rows.upIm.at(i)),
                                         load<Register>(rows.upRe.at(i))};
            return Complex<Register>{-loadDown(rows.downIm.at(i - 8)),
                                     loadDown(rows.downRe.at(i - 8))};
        };
        SixteenPoints<Register> lines;
#pragma GCC unroll 4
        for (int a = 0; a < 4; ++a)
            lines.take(a, x(a), x(a + 4), x(a + 8), x(a + 12));
        // The sub-sequence, turned back.
        const auto back = [&](std::ptrdiff_t sequence, const Complex<Register>& exchanged)
            __attribute__((always_inline)) {
            const Complex<Register> turned = {exchanged.im, exchanged.re};
            if (sequence == 0)
                return Complex<Register>{turned.re * (0.5 * scale), turned.im * (0.5 * scale)};
            const auto twiddle = twiddleOf(sequence, twiddles + first);
            return timesConjugate(turned, twiddle.re * scale, twiddle.im * scale);
        };
#pragma GCC unroll 4
        for (int lane = 0; lane < kFftLanes; lane += kTurned) {
            ComplexLanes line, mirror;
#pragma GCC unroll 4
            for (int i = 0; i < kTurned; ++i) {
                const auto two = lines.finish(lane + i);
                const auto even = back(lane + i, two.first);
                const auto odd = back(lane + i + kFftLanes, two.second);
                line.re[i] = even.re - odd.im;
                line.im[i] = even.im + odd.re;
                mirror.re[i] = even.re + odd.im;
                mirror.im[i] = odd.re - even.im;
            }
            const std::ptrdiff_t place = realParts<Lie::asRegisters>(lane);
            // The line 0 is its own mirror line, and stays as the line.
            mirror.put([&](int i)
                           __attribute__((always_inline)) { return group.mirrorLine(i) + place; });
            line.put([&](int i) __attribute__((always_inline)) { return group.line(i) + place; });
        }
    }
}

constexpr LaneFftKernels kTable = {{stage<16, false, true>, stage<16, true, true>},
                                   {stage<8, false, true>, stage<8, true, true>},
                                   {stage<8, false, false>, stage<8, true, false>},
                                   {stage<4, false, false>, stage<4, true, false>},
                                   join,
                                   joinMiddle,
                                   split,
                                   splitMiddle};

}  // namespace

constinit const LaneFftKernels LaneFftKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys

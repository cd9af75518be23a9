// For kernel sources: numbers side by side in registers. Neighbouring channels of a row of
// interleaved samples, or neighbouring outputs, take a lane each, so that every one of them keeps
// the order of its own terms, and the results do not depend on the level. Everything here belongs
// to the source that includes it, as the levels differ in it.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace vyn {
namespace {

// Doubles that a register of this level holds.
#if defined(__AVX512F__)
constexpr int kLanes = 8;
#elif defined(__AVX2__)
constexpr int kLanes = 4;
#else
constexpr int kLanes = 2;
#endif

// Numbers side by side, a register of doubles at most; operators work lane by lane, comparisons
// give masks for `?:`. Bits are those of the doubles. The standard library has no such type yet; a
// loop over a small array is not reliably kept in registers.
template <int lanes>
struct Lanes;
template <>
struct Lanes<8> {
    using Floats [[gnu::vector_size(32)]] = float;
    using Doubles [[gnu::vector_size(64)]] = double;
    using Integers [[gnu::vector_size(32)]] = std::int32_t;
    using Bits [[gnu::vector_size(64)]] = std::uint64_t;
};
template <>
struct Lanes<4> {
    using Floats [[gnu::vector_size(16)]] = float;
    using Doubles [[gnu::vector_size(32)]] = double;
    using Integers [[gnu::vector_size(16)]] = std::int32_t;
    using Bits [[gnu::vector_size(32)]] = std::uint64_t;
};
template <>
struct Lanes<2> {
    using Floats [[gnu::vector_size(8)]] = float;
    using Doubles [[gnu::vector_size(16)]] = double;
    using Integers [[gnu::vector_size(8)]] = std::int32_t;
    using Bits [[gnu::vector_size(16)]] = std::uint64_t;
};
template <>
struct Lanes<1> {
    using Floats = float;
    using Doubles = double;
    using Integers = std::int32_t;
    using Bits = std::uint64_t;
};

// A full one.
using Register = Lanes<kLanes>::Doubles;

// The same numbers in the other precision, or in the one that they have.
template <class To, class From>
inline To converted(From from) {
    if constexpr (sizeof(from) + sizeof(To) == sizeof(float) + sizeof(double)) {
        return static_cast<To>(from);
    } else if constexpr (sizeof(from) == sizeof(To)) {
        return from;
    } else {
        return __builtin_convertvector(from, To);
    }
}

// In one instruction; the compiler would convert a register in two halves, and two numbers one by
// one.
template <>
inline Lanes<2>::Doubles converted<Lanes<2>::Doubles>(Lanes<2>::Floats from) {
    return _mm_cvtps_pd(__builtin_shufflevector(from, from, 0, 1, -1, -1));
}
template <>
inline Lanes<2>::Floats converted<Lanes<2>::Floats>(Lanes<2>::Doubles from) {
    const __m128 both = _mm_cvtpd_ps(from);
    return __builtin_shufflevector(both, both, 0, 1);
}
#if defined(__AVX2__)
template <>
inline Lanes<4>::Doubles converted<Lanes<4>::Doubles>(Lanes<4>::Floats from) {
    return _mm256_cvtps_pd(from);
}
template <>
inline Lanes<4>::Floats converted<Lanes<4>::Floats>(Lanes<4>::Doubles from) {
    return _mm256_cvtpd_ps(from);
}
#endif
#if defined(__AVX512F__)
// (The forms without a mask draw a false warning from the compiler's own header.)
template <>
inline Lanes<8>::Doubles converted<Lanes<8>::Doubles>(Lanes<8>::Floats from) {
    return _mm512_maskz_cvtps_pd(0xff, from);
}
template <>
inline Lanes<8>::Floats converted<Lanes<8>::Floats>(Lanes<8>::Doubles from) {
    return _mm512_maskz_cvtpd_ps(0xff, from);
}
#endif

// In single precision.
inline float single(double number) { return static_cast<float>(number); }
inline Lanes<kLanes>::Floats single(Register numbers) {
    return converted<Lanes<kLanes>::Floats>(numbers);
}

// At the end of a kernel that tools/wide-registers finds. Compilers clear the upper halves of the
// registers that they know as written; to the processor they are in use as well after numbers are
// narrowed straight from memory, or moved between registers late in the compiler's work. It then
// waits 50 ns at the next instruction of the old kind, in the code of whoever called.
inline void leaveWideRegisters() {
#if defined(__AVX2__)
    _mm256_zeroupper();
#endif
}

// Unaligned moves between arrays and lanes.
template <class Vector, class Number>
inline Vector load(const Number* from) {
    Vector vector;
    __builtin_memcpy(&vector, from, sizeof vector);
    return vector;
}
template <class Vector, class Number>
inline void store(Vector vector, Number* to) {
    __builtin_memcpy(to, &vector, sizeof vector);
}

// Calls work(i, V{}) for the places from 0 to count, as many at once as V has lanes: registers, and
// doubles for what is left over.
template <class Work>
[[gnu::always_inline]] inline void forEachPlace(std::size_t count, Work work) {
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes)
        work(i, Register{});
    for (; i < count; ++i)
        work(i, 0.0);
}

// Calls body(Lanes<n>{}, first) for groups of n neighbouring channels that cover all: as many full
// registers as there are, then halves.
template <class Body>
inline void forEachLaneGroup(std::size_t channels, Body body) {
    std::size_t first = 0;
    for (; first + kLanes <= channels; first += kLanes)
        body(Lanes<kLanes>{}, first);
    if constexpr (kLanes > 4) {
        if ((channels & 4U) != 0) {
            body(Lanes<4>{}, first);
            first += 4;
        }
    }
    if constexpr (kLanes > 2) {
        if ((channels & 2U) != 0) {
            body(Lanes<2>{}, first);
            first += 2;
        }
    }
    if ((channels & 1U) != 0) body(Lanes<1>{}, first);
}

}  // namespace
}  // namespace vyn

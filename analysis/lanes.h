// Lanes of doubles for kernel sources: as many registers of the level's width as the count needs.
// Every operation is lane by lane, so the results do not depend on the width. For inclusion in
// kernel sources alone: everything here is the including file's own.
#pragma once

namespace ovanlys::VYN_KERNEL_LEVEL {
namespace {

#if defined(__AVX512F__)
inline constexpr int kRegisterLanes = 8;
#elif defined(__AVX2__)
inline constexpr int kRegisterLanes = 4;
#else
inline constexpr int kRegisterLanes = 2;
#endif

typedef double Register __attribute__((vector_size(8 * kRegisterLanes)));
typedef long long RegisterBits __attribute__((vector_size(8 * kRegisterLanes)));
typedef Register LooseRegister __attribute__((aligned(8), may_alias));

template <int count>
struct Lanes {
    Lanes<count / 2> low;
    Lanes<count / 2> high;

    static Lanes load(const double* values) {
        return {Lanes<count / 2>::load(values), Lanes<count / 2>::load(values + count / 2)};
    }
    void store(double* values) const {
        low.store(values);
        high.store(values + count / 2);
    }
    friend Lanes operator+(const Lanes& a, const Lanes& b) {
        return {a.low + b.low, a.high + b.high};
    }
    friend Lanes operator+(double a, const Lanes& b) { return {a + b.low, a + b.high}; }
    friend Lanes operator*(const Lanes& a, double b) { return {a.low * b, a.high * b}; }
};

template <>
struct Lanes<kRegisterLanes> {
    Register value;

    static Lanes load(const double* values) {
        return {*reinterpret_cast<const LooseRegister*>(values)};
    }
    void store(double* values) const { *reinterpret_cast<LooseRegister*>(values) = value; }
    friend Lanes operator+(const Lanes& a, const Lanes& b) { return {a.value + b.value}; }
    friend Lanes operator+(double a, const Lanes& b) { return {a + b.value}; }
    friend Lanes operator*(const Lanes& a, double b) { return {a.value * b}; }
};

}  // namespace
}  // namespace ovanlys::VYN_KERNEL_LEVEL

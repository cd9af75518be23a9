// What the filter tests share: an owned object, its head, and exact responses.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "ovanlys/filter_head.h"
#include "ovanlys/functions.h"

namespace ovanlys::test {

using Samples = std::vector<double>;

inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();

inline std::vector<std::uint32_t> bits(const std::vector<float>& samples) {
    std::vector<std::uint32_t> result;
    for (const float x : samples)  // one pattern for all NaNs
        result.push_back(std::isnan(x) ? ~std::uint32_t{0} : std::bit_cast<std::uint32_t>(x));
    return result;
}

enum Kind { kLowPass, kHighPass, kBandPass, kBandStop };

// A filter object of the library, destroyed with its owner.
class Filter {
public:
    Filter(int kind, int order) : object_(ZABFunc233(kind, order)) {}

    void* object() const { return object_.get(); }
    FilterHead& head() const { return *static_cast<FilterHead*>(object_.get()); }

    Samples operator()(const Samples& x) const {
        Samples y(x.size());
        EXPECT_EQ(ZABFunc91(x.data(), static_cast<int>(x.size()), object(), y.data()), 0);
        return y;
    }

private:
    struct Destroy {
        void operator()(void* object) const { ZABFunc234(object); }
    };
    std::unique_ptr<void, Destroy> object_;
};

enum class Characteristic { butterworth, chebyshev, inverseChebyshev, elliptic, bessel };

struct DesignCase {
    Characteristic characteristic;
    int kind;
    int order;
    double rate;
    double f1;
    double f2;
    double ripple;
    double attenuation;
};

inline int design(const DesignCase& c, void* object) {
    switch (c.characteristic) {
        case Characteristic::butterworth: return ZABFunc18(c.rate, c.f1, c.f2, object);
        case Characteristic::chebyshev: return ZABFunc24(c.rate, c.f1, c.f2, c.ripple, object);
        case Characteristic::inverseChebyshev:
            return ZABFunc98(c.rate, c.f1, c.f2, c.attenuation, object);
        case Characteristic::elliptic:
            return ZABFunc61(c.rate, c.f1, c.f2, c.ripple, c.attenuation, object);
        case Characteristic::bessel: return ZABFunc12(c.rate, c.f1, c.f2, object);
    }
    return -99;
}

inline void PrintTo(const DesignCase& c, std::ostream* out) {
    constexpr const char* kNames[] = {"Butterworth", "Chebyshev", "inverse Chebyshev", "elliptic",
                                      "Bessel"};
    constexpr const char* kKinds[] = {"low pass", "high pass", "band pass", "band stop"};
    *out << kNames[static_cast<int>(c.characteristic)] << ' ' << kKinds[c.kind] << " of order "
         << c.order << ", " << c.f1 << " to " << c.f2 << " Hz at " << c.rate << " Hz";
}

// The magnitude of a head's transfer function, in long double.
inline double magnitude(const FilterHead& head, double rate, double frequency) {
    const long double angle = 2 * std::numbers::pi_v<long double> * frequency / rate;
    const std::complex<long double> z = std::polar(1.0L, angle);
    std::complex<long double> product = head.gain;
    for (int i = 0; i < head.poleCount; ++i)
        product /= z - std::complex<long double>(head.poles[2 * i], head.poles[2 * i + 1]);
    for (int i = 0; i < head.zeroCount; ++i)
        product *= z - std::complex<long double>(head.zeros[2 * i], head.zeros[2 * i + 1]);
    return static_cast<double>(std::abs(product));
}
}  // namespace ovanlys::test

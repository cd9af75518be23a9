// The 13 functions and those beside them, thin: arguments are checked, the matter's own file does
// the work, and no exception leaves.
#include <algorithm>
#include <cmath>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "design/analog_prototype.h"
#include "design/fir_design.h"
#include "design/iir_design.h"
#include "fft/fft.h"
#include "filter/channel_convolution.h"
#include "filter/channel_filter.h"
#include "filter/convolution.h"
#include "filter/filter_object.h"
#include "filter/floating_point.h"
#include "filter/last_design.h"
#include "ovanlys/functions.h"
#include "version.h"

namespace ovanlys {
namespace {

enum Status { kDone = 0, kBadArgument = -1, kRefused = -2, kOutOfMemory = -3 };

template <class Work>
int guarded(Work work) noexcept {
    try {
        return work();
    } catch (...) {  // bad_alloc, or length_error for counts beyond all memory
        return kOutOfMemory;
    }
}

bool isKind(int kind) { return kind >= 0 && kind <= 3; }

bool isPositive(double decibels) { return decibels > 0 && std::isfinite(decibels); }

// What the caller asks for; the object says the rest.
struct Wish {
    Characteristic characteristic;
    double rate;
    double f1;
    double f2;
    double ripple = 0;
    double attenuation = 0;
};

DesignOrder orderOf(const Wish& wish, const FilterObject& filter) {
    return {wish.characteristic, filter.kind(),   filter.order(), wish.rate, wish.f1, wish.f2,
            wish.ripple,         wish.attenuation};
}

// No prototype is a refusal.
std::optional<Roots> prototypeOf(const Wish& wish, int order) {
    switch (wish.characteristic) {
        case Characteristic::butterworth: return butterworthPrototype(order);
        case Characteristic::chebyshev:
            if (!isPositive(wish.ripple)) return std::nullopt;
            return chebyshevPrototype(order, wish.ripple);
        case Characteristic::inverseChebyshev:
            if (!isPositive(wish.attenuation)) return std::nullopt;
            return inverseChebyshevPrototype(order, wish.attenuation);
        case Characteristic::elliptic:
            if (!isPositive(wish.ripple) || !isPositive(wish.attenuation)) return std::nullopt;
            if (wish.attenuation <= wish.ripple) return std::nullopt;
            return ellipticPrototype(order, wish.ripple, wish.attenuation);
        case Characteristic::bessel:
            if (order > kMaxBesselOrder) return std::nullopt;
            return besselPrototype(order);
    }
    return std::nullopt;
}

// The filter at rest, or nothing for a refusal.
std::optional<FilterObject> designed(const Wish& wish, FilterKind kind, int order) {
    if (!edgesMakeSense(kind, wish.rate, wish.f1, wish.f2)) return std::nullopt;
    const std::optional<Roots> prototype = prototypeOf(wish, order);
    if (!prototype) return std::nullopt;
    FilterObject filter(kind, order);
    if (!filter.design(digitalFilter(*prototype, kind, wish.rate, wish.f1, wish.f2))) {
        return std::nullopt;
    }
    return filter;
}

int design(void* object, const Wish& wish) {
    static LastDesign last;
    if (object == nullptr) return kBadArgument;
    return guarded([&] {
        const StandardMode mode;
        auto& filter = *static_cast<FilterObject*>(object);
        const DesignOrder order = orderOf(wish, filter);
        auto result = last.find(order);
        if (!result) {
            result = designed(wish, filter.kind(), filter.order());
            if (!result) return kRefused;
            last.keep(order, *result);
        }
        filter = *std::move(result);
        return kDone;
    });
}

}  // namespace

int ZABFunc147(double* a, double* b, int n) {
    if (a == nullptr || b == nullptr || n < 1) return kBadArgument;
    return guarded([&] {
        forwardRealTransform(a, b, n);
        return kDone;
    });
}

int ZABFunc148(double* re, double* im, int n) {
    if (re == nullptr || im == nullptr || n < 1) return kBadArgument;
    return guarded([&] {
        inverseRealTransform(re, im, n);
        return kDone;
    });
}

int ZABFunc91(const double* in, int n, void* object, double* out) {
    if (in == nullptr || object == nullptr || out == nullptr || n < 0) return kBadArgument;
    if (n == 0) return kDone;
    return guarded(
        [&] { return static_cast<FilterObject*>(object)->filter(in, out, n) ? kDone : kRefused; });
}

void* ZABFunc233(int kind, int order) {
    if (!isKind(kind) || order < 1 || order > kMaxOrder) return nullptr;
    return new (std::nothrow) FilterObject(static_cast<FilterKind>(kind), order);
}

void ZABFunc234(void* object) { delete static_cast<FilterObject*>(object); }

int ZABFunc18(double fs, double f1, double f2, void* object) {
    return design(object, {Characteristic::butterworth, fs, f1, f2});
}

int ZABFunc24(double fs, double f1, double f2, double ripple, void* object) {
    return design(object, {Characteristic::chebyshev, fs, f1, f2, ripple});
}

int ZABFunc98(double fs, double f1, double f2, double attenuation, void* object) {
    return design(object, {Characteristic::inverseChebyshev, fs, f1, f2, 0, attenuation});
}

int ZABFunc61(double fs, double f1, double f2, double ripple, double attenuation, void* object) {
    return design(object, {Characteristic::elliptic, fs, f1, f2, ripple, attenuation});
}

int ZABFunc12(double fs, double f1, double f2, void* object) {
    return design(object, {Characteristic::bessel, fs, f1, f2});
}

int ZABFunc79() { return kVersion; }

int ZABFunc335(int kind, double fs, double f1, double f2, int length, int window, double beta,
               double* coefficients) {
    if (coefficients == nullptr || length < 1) return kBadArgument;
    const StandardMode mode;
    const std::span target(coefficients, static_cast<std::size_t>(length));
    const FirWindow shape = firWindow(window);
    const bool refused = !isKind(kind) ||
                         !edgesMakeSense(static_cast<FilterKind>(kind), fs, f1, f2) ||
                         (shape == FirWindow::kaiser && !std::isfinite(beta));
    if (refused) {
        std::fill(target.begin(), target.end(), 0.0);
        return kRefused;
    }
    designFir(static_cast<FilterKind>(kind), fs, f1, f2, shape, beta, target);
    return kDone;
}

int ZABFunc32(const double* c, std::int64_t length, const double* x, int n, double* y) {
    if (c == nullptr || x == nullptr || y == nullptr || length < 1 || n < 1) return kBadArgument;
    return guarded([&] {
        const DenormalsFlushed mode;
        const auto taps = static_cast<std::size_t>(length);
        const auto samples = static_cast<std::size_t>(n);
        convolve({c, taps}, {x, samples}, {y, taps + samples});
        return kDone;
    });
}

int ovanlysFilterChannels(const float* in, int n, void* const* objects, int channels, float* out) {
    if (in == nullptr || objects == nullptr || out == nullptr || channels < 1 || n < 0)
        return kBadArgument;
    const std::span handles(objects, static_cast<std::size_t>(channels));
    if (std::find(handles.begin(), handles.end(), nullptr) != handles.end()) return kBadArgument;
    if (n == 0) return kDone;
    return guarded([&] {
        const std::span filters(reinterpret_cast<FilterObject* const*>(objects), handles.size());
        return filterChannels(filters, in, n, out) ? kDone : kRefused;
    });
}

int ovanlysConvolveChannels(const double* c, std::int64_t length, const float* before,
                            const float* in, int n, int channels, float* out) {
    if (c == nullptr || in == nullptr || out == nullptr || length < 1 || n < 0 || channels < 1 ||
        (before == nullptr && length > 1))
        return kBadArgument;
    if (n == 0) return kDone;
    return guarded([&] {
        convolveChannels(
            {c, static_cast<std::size_t>(length)},
            {static_cast<std::size_t>(channels), before, in, static_cast<std::size_t>(n)}, out);
        return kDone;
    });
}

}  // namespace ovanlys

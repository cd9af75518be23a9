#include "blocks/spectral/core/window_functions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace vynpack {
namespace {

using std::numbers::pi;

template <class Weight>
void fill(std::vector<double>& weights, Weight weight) {
    for (std::size_t i = 0; i < weights.size(); ++i)
        weights[i] = weight(static_cast<double>(i));
}

WindowFactors meansOf(const std::vector<double>& weights) {
    double power = 0.0;
    double gain = 0.0;
    for (const double w : weights) {
        power += w * w;
        gain += w;
    }
    const auto n = static_cast<double>(weights.size());
    return {power / n, gain / n};
}

// Terms a0 + a1 cos(theta) + a2 cos(2 theta) + ..., theta = 2 pi i / n.
template <std::size_t Terms>
void fillCosineSum(std::vector<double>& weights, const double (&a)[Terms]) {
    const auto n = static_cast<double>(weights.size());
    fill(weights, [&](double i) {
        const double theta = 2.0 * pi * i / n;
        double w = a[0];
        for (std::size_t k = 1; k < Terms; ++k)
            w += a[k] * std::cos(static_cast<double>(k) * theta);
        return w;
    });
}

void fillKaiserBessel(std::vector<double>& weights, double parameter) {
    const double last = static_cast<double>(weights.size()) - 1.0;
    const double b = parameter / 2.5;
    const double norm = besselI0(b);
    fill(weights,
         [&](double i) { return besselI0(b * (2.0 / last) * std::sqrt(i * (last - i))) / norm; });
}

void fillCosineTaper(std::vector<double>& weights, double taper) {
    const auto n = static_cast<double>(weights.size());
    fill(weights, [&](double i) {
        if (i < taper) return 0.5 * (1.0 - std::cos(pi * i / taper));
        if (i >= n - taper) return 0.5 * (1.0 - std::cos(pi * (n - 1.0 - i) / taper));
        return 1.0;
    });
}

void fillVallee(std::vector<double>& weights) {
    const int n = static_cast<int>(weights.size());
    const double c = n / 2.0;
    const int quarter = n / 4;
    fill(weights, [&](double i) {
        const double d = std::abs(i - c) / c;
        if (quarter < i && i < 3 * quarter) return 1.0 - 6.0 * d * d * (1.0 - d);
        return 2.0 * (1.0 - d) * (1.0 - d) * (1.0 - d);
    });
}

void fillExponential(std::vector<double>& weights, double parameter) {
    const auto n = static_cast<double>(weights.size());
    const double k = ((parameter - 50.0) / (n - 1.0)) / 4.0;
    if (parameter >= 50.0) {
        fill(weights, [&](double i) { return std::exp(-k * (n - i + 1.0)); });
    } else {
        fill(weights, [&](double i) { return std::exp(k * i); });
    }
}

void fillRiemann(std::vector<double>& weights) {
    const auto n = static_cast<double>(weights.size());
    fill(weights, [&](double i) {
        if (i == n / 2.0) return 1.0;
        const double t = (pi / n) * (2.0 * i - n);
        return std::sin(t) / t;
    });
}

}  // namespace

double besselI0(double x) {
    constexpr int kLeastTerms = 100;
    constexpr double kNegligible = 1e-8;
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1;; ++k) {
        term = term * (x / 2.0) / k;
        const double squared = term * term;
        sum += squared;
        // Written so that an infinite or undefined argument ends the series, too.
        if (k >= kLeastTerms && !(squared > kNegligible * sum)) return sum;
    }
}

Window makeWindow(WindowKind kind, double parameter, int n) {
    Window window{std::vector<double>(static_cast<std::size_t>(std::max(n, 0)), 1.0), {}};
    std::vector<double>& weights = window.weights;
    const double half = n / 2.0;
    const double middle = (n - 1) / 2.0;

    switch (kind) {
        case kRectangle: break;
        case kHanning:
            fill(weights, [&](double i) { return 0.5 * (1.0 - std::cos(2.0 * pi * i / n)); });
            window.factors = {0.375, 0.5};
            break;
        case kHamming:
            fillCosineSum(weights, {0.54, -0.46});
            window.factors = {0.3974, 0.54};
            break;
        case kBlackman:
            fillCosineSum(weights, {0.4265907136715391, -0.4965606190885641, 0.07684866723989682});
            window.factors = {0.30821872, 0.4265907136715391};
            break;
        case kFlatTop:
            fillCosineSum(weights, {1.0, -1.93, 1.29, -0.388, 0.0322});
            window.factors = {3.774, 1.0};
            break;
        case kKaiserBessel:
            fillKaiserBessel(weights, parameter);
            window.factors = meansOf(weights);
            break;
        case kCosine10: {
            const double taper = std::trunc((n - 1) / 10.0 + 0.5);
            // Kept: too few samples for a taper get the Welch window instead.
            if (taper == 0.0) return makeWindow(kWelch, parameter, n);
            fillCosineTaper(weights, taper);
            window.factors = {0.875, 0.9};
            break;
        }
        case kWelch:
            fill(weights, [&](double i) {
                const double x = (i - middle) / (middle + 1.0);
                return 1.0 - x * x;
            });
            window.factors = {0.5333333333333333, 0.6666666666666666};
            break;
        case kParzen:
            // Kept: under this name stands a shifted triangle.
            fill(weights,
                 [&](double i) { return 1.0 - std::abs((i + 1.0 - middle) / (middle + 1.0)); });
            window.factors = {0.3333333333333333, 0.5};
            break;
        case kBartlett:
            fill(weights, [&](double i) { return 1.0 - std::abs((i - half) / half); });
            window.factors = {0.3333333333333333, 0.5};
            break;
        case kVallee:
            // Kept: under this name stands the piecewise cubic.
            fillVallee(weights);
            window.factors = {0.2694287, 0.375};
            break;
        case kCauchy:
            fill(weights, [&](double i) {
                const double x = parameter * (i - half) / half;
                return 1.0 / (1.0 + x * x);
            });
            window.factors = meansOf(weights);
            break;
        case kGauss:
            fill(weights, [&](double i) {
                const double x = (parameter / (10.0 * half)) * (i - half);
                return std::exp(-x * x / 2.0);
            });
            window.factors = meansOf(weights);
            break;
        case kExponential:
            fillExponential(weights, parameter);
            window.factors = meansOf(weights);
            break;
        case kRiemann:
            fillRiemann(weights);
            window.factors = {0.45141167, 0.5894899};
            break;
        case kGivenWeights: break;
    }
    return window;
}

int applyWindow(const double* in, const double* parameter, int n, int kind, double* out,
                WindowFactors* factors) {
    if (kind < kRectangle || kind > kGivenWeights) {
        std::copy_n(in, std::max(n, 0), out);
        if (factors != nullptr) *factors = {};
        return kUnknownWindow;
    }
    if (kind == kGivenWeights) {
        for (int i = 0; i < n; ++i)
            out[i] = in[i] * parameter[i];
        if (factors != nullptr && n > 0) {
            // Kept: of given weights only the last one enters the factors.
            const double last = parameter[n - 1];
            *factors = {last * last / n, last / n};
        }
        return 0;
    }
    const Window window = makeWindow(static_cast<WindowKind>(kind), *parameter, n);
    for (int i = 0; i < n; ++i)
        out[i] = in[i] * window.weights[static_cast<std::size_t>(i)];
    if (factors != nullptr) *factors = window.factors;
    return 0;
}

void ChosenWindow::choose(std::uint16_t choice, double parameter, int n) {
    if (choice == choice_ && parameter == parameter_ && n == n_) return;
    forget();
    if (choice >= kRectangleWindow && choice <= kRiemannWindow) {
        window_ = makeWindow(static_cast<WindowKind>(choice - kRectangleWindow), parameter, n);
    }
    choice_ = choice;
    parameter_ = parameter;
    n_ = n;
}

void ChosenWindow::forget() { *this = {}; }

double correctionFactor(int mode, const WindowFactors& factors) {
    switch (mode) {
        case 0: return 1.0 / std::sqrt(factors.power);
        case 1: return 1.0 / factors.gain;
        // Kept: a correction that the dialog does not offer zeroes the spectrum.
        default: return 0.0;
    }
}

}  // namespace vynpack

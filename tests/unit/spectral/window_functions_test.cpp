#include "blocks/spectral/core/window_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

namespace vynpack {
namespace {

constexpr long double kPi = std::numbers::pi_v<long double>;

using Formula = std::function<long double(long double i, long double n, long double p)>;

struct WindowRow {
    WindowKind kind;
    std::string name;
    Formula weight;
    bool tabulated;  // the factors are numbers of their own
    double power;
    double gain;
};

long double i0(long double x) {
    long double sum = 1;
    long double term = 1;
    for (int k = 1; k < 400; ++k) {
        term *= x / 2 / k;
        sum += term * term;
    }
    return sum;
}

long double sq(long double x) { return x * x; }

// Formulas a second time, in long double, as mathematics rather than as loops.
const std::vector<WindowRow>& rows() {
    static const std::vector<WindowRow> table = {
        {kRectangle, "Rechteck", [](auto, auto, auto) { return 1.0L; }, true, 1.0, 1.0},
        {kHanning, "Hanning", [](auto i, auto n, auto) { return sq(std::sin(kPi * i / n)); }, true,
         0.375, 0.5},
        {kHamming, "Hamming",
         [](auto i, auto n, auto) { return 0.54L - 0.46L * std::cos(2 * kPi * i / n); }, true,
         0.3974, 0.54},
        {kBlackman, "Blackman",
         [](auto i, auto n, auto) {
             const auto t = 2 * kPi * i / n;
             return 0.4265907136715391L - 0.4965606190885641L * std::cos(t) +
                    0.07684866723989682L * std::cos(2 * t);
         },
         true, 0.30821872, 0.4265907136715391},
        {kFlatTop, "FlatTop",
         [](auto i, auto n, auto) {
             const auto t = 2 * kPi * i / n;
             return 1 - 1.93L * std::cos(t) + 1.29L * std::cos(2 * t) - 0.388L * std::cos(3 * t) +
                    0.0322L * std::cos(4 * t);
         },
         true, 3.774, 1.0},
        {kKaiserBessel, "Kaiser",
         [](auto i, auto n, auto p) {
             // The usual form over x = 2 i / (n - 1) - 1.
             const auto x = 2 * i / (n - 1) - 1;
             return i0(p / 2.5L * std::sqrt(1 - x * x)) / i0(p / 2.5L);
         },
         false, 0, 0},
        {kCosine10, "Cosinus",
         [](auto i, auto n, auto) {
             const auto m = std::floor((n - 1) / 10 + 0.5L);
             const auto edge = std::min(i, n - 1 - i);
             return edge < m ? sq(std::sin(kPi * edge / (2 * m))) : 1.0L;
         },
         true, 0.875, 0.9},
        {kWelch, "Welch", [](auto i, auto n, auto) { return 1 - sq((2 * i - (n - 1)) / (n + 1)); },
         true, 0.5333333333333333, 0.6666666666666666},
        {kParzen, "Parzen",
         [](auto i, auto n, auto) { return 1 - std::abs((2 * i + 3 - n) / (n + 1)); }, true,
         0.3333333333333333, 0.5},
        {kBartlett, "Bartlett", [](auto i, auto n, auto) { return 1 - std::abs(2 * i - n) / n; },
         true, 0.3333333333333333, 0.5},
        {kVallee, "Vallee",
         [](auto i, auto n, auto) {
             const auto d = std::abs(2 * i - n) / n;
             const auto quarter = std::floor(n / 4);
             return i > quarter && i < 3 * quarter ? 1 - 6 * d * d + 6 * d * d * d
                                                   : 2 * (1 - d) * (1 - d) * (1 - d);
         },
         true, 0.2694287, 0.375},
        {kCauchy, "Cauchy",
         [](auto i, auto n, auto p) { return 1 / (1 + sq(p * (2 * i - n) / n)); }, false, 0, 0},
        {kGauss, "Gauss",
         [](auto i, auto n, auto p) { return std::exp(-sq(p / 10 * (2 * i - n) / n) / 2); }, false,
         0, 0},
        {kExponential, "Exponential",
         [](auto i, auto n, auto p) {
             const auto k = (p - 50) / (n - 1) / 4;
             return p >= 50 ? std::exp(-k * (n - i + 1)) : std::exp(k * i);
         },
         false, 0, 0},
        {kRiemann, "Riemann",
         [](auto i, auto n, auto) {
             const auto t = kPi * (2 * i / n - 1);
             return t == 0 ? 1.0L : std::sin(t) / t;
         },
         true, 0.45141167, 0.5894899},
    };
    return table;
}

class EveryWindow : public testing::TestWithParam<WindowRow> {};
INSTANTIATE_TEST_SUITE_P(Kinds, EveryWindow, testing::ValuesIn(rows()),
                         [](const auto& row) { return row.param.name; });

TEST_P(EveryWindow, HasTheWeightsOfItsFormula) {
    for (const int n : {6, 7, 16, 33, 1000, 1024}) {
        for (const double parameter : {0.5, 10.0, 50.0, 75.0}) {
            const Window window = makeWindow(GetParam().kind, parameter, n);
            ASSERT_EQ(window.weights.size(), static_cast<std::size_t>(n));
            for (int i = 0; i < n; ++i) {
                const long double expected = GetParam().weight(i, n, parameter);
                // Cancellation next to a zero of the window leaves rounding of the cosines, no
                // more.
                EXPECT_NEAR(window.weights[i], static_cast<double>(expected),
                            1e-12 * std::max(1.0, std::abs(static_cast<double>(expected))))
                    << "sample " << i << " of " << n << ", parameter " << parameter;
            }
        }
    }
}

TEST_P(EveryWindow, GivesItsTwoFactors) {
    const WindowRow& row = GetParam();
    const Window window = makeWindow(row.kind, 10.0, 1000);
    if (row.tabulated) {
        EXPECT_EQ(window.factors.power, row.power);
        EXPECT_EQ(window.factors.gain, row.gain);
        return;
    }
    long double power = 0;
    long double gain = 0;
    for (int i = 0; i < 1000; ++i) {
        const long double w = row.weight(i, 1000, 10.0);
        power += w * w / 1000;
        gain += w / 1000;
    }
    EXPECT_NEAR(window.factors.power, static_cast<double>(power), 1e-12 * power);
    EXPECT_NEAR(window.factors.gain, static_cast<double>(gain), 1e-12 * gain);
}

std::vector<WindowRow> tabulatedRows() {
    std::vector<WindowRow> tabulated = rows();
    std::erase_if(tabulated, [](const WindowRow& row) { return !row.tabulated; });
    return tabulated;
}

class EveryTabulatedWindow : public testing::TestWithParam<WindowRow> {};
INSTANTIATE_TEST_SUITE_P(Kinds, EveryTabulatedWindow, testing::ValuesIn(tabulatedRows()),
                         [](const auto& row) { return row.param.name; });

TEST_P(EveryTabulatedWindow, FactorsAreNearTheMeansOfTheWeights) {
    // How far the table and the formula of each window lie apart, as the system defines them.
    const WindowRow& row = GetParam();
    long double power = 0;
    long double gain = 0;
    constexpr int kSamples = 100000;
    for (int i = 0; i < kSamples; ++i) {
        const long double w = row.weight(i, kSamples, 10.0);
        power += w * w / kSamples;
        gain += w / kSamples;
    }
    EXPECT_NEAR(row.power, static_cast<double>(power), 0.005 * power) << row.name;
    EXPECT_NEAR(row.gain, static_cast<double>(gain), 0.003 * gain) << row.name;
}

TEST_P(EveryWindow, RoutineWeightsInPlaceAsWellAsIntoAnotherArray) {
    const int n = 100;
    std::vector<double> in(n);
    for (int i = 0; i < n; ++i)
        in[i] = std::sin(0.1 * i) + 0.3;
    const double parameter = 10.0;
    std::vector<double> out(n);
    WindowFactors factors{-1, -1};
    EXPECT_EQ(applyWindow(in.data(), &parameter, n, GetParam().kind, out.data(), &factors), 0);
    const Window window = makeWindow(GetParam().kind, parameter, n);
    EXPECT_EQ(factors, window.factors);
    std::vector<double> inPlace = in;
    EXPECT_EQ(applyWindow(inPlace.data(), &parameter, n, GetParam().kind, inPlace.data(), nullptr),
              0);
    EXPECT_EQ(inPlace, out);
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(out[i], in[i] * window.weights[i]);
}

TEST(Window, HandWorkedValuesOfEightSamples) {
    EXPECT_NEAR(makeWindow(kHanning, 0, 8).weights[4], 1.0, 1e-15);
    EXPECT_NEAR(makeWindow(kHanning, 0, 8).weights[2], 0.5, 1e-15);
    EXPECT_NEAR(makeWindow(kHamming, 0, 8).weights[0], 0.08, 1e-15);
    EXPECT_NEAR(makeWindow(kFlatTop, 0, 8).weights[4], 1 + 1.93 + 1.29 + 0.388 + 0.0322, 1e-14);
    EXPECT_NEAR(makeWindow(kBartlett, 0, 8).weights[2], 0.5, 1e-15);
    EXPECT_NEAR(makeWindow(kParzen, 0, 7).weights[2], 1.0, 1e-15);  // the shifted peak
    EXPECT_NEAR(makeWindow(kCauchy, 2.0, 8).weights[0], 0.2, 1e-15);
    EXPECT_NEAR(makeWindow(kGauss, 10.0, 8).weights[0], std::exp(-0.5), 1e-15);
    EXPECT_EQ(makeWindow(kRiemann, 0, 8).weights[4], 1.0);
    EXPECT_NEAR(makeWindow(kVallee, 0, 8).weights[3], 1 - 6 * 0.0625 * 0.75, 1e-15);
    EXPECT_NEAR(makeWindow(kVallee, 0, 8).weights[2], 2 * 0.125, 1e-15);  // the quarter is outside
}

TEST(Window, RiemannComparesItsCentreAsARealNumber) {
    // No sample of an odd length lies on the centre; all weights come from the formula.
    for (const double w : makeWindow(kRiemann, 0, 7).weights)
        EXPECT_LT(w, 1.0);
}

TEST(Window, CosineTaperLeavesTheMiddleOfAThousandSamplesAlone) {
    const auto weights = makeWindow(kCosine10, 0, 1000).weights;
    for (int i = 0; i < 1000; ++i) {
        if (i >= 100 && i < 900) {
            EXPECT_EQ(weights[i], 1.0) << i;
        } else {
            EXPECT_LT(weights[i], 1.0) << i;
        }
    }
}

TEST(Window, CosineTaperOfFewerThanSixSamplesIsTheWelchWindow) {
    for (int n = 2; n < 6; ++n) {
        const Window taper = makeWindow(kCosine10, 0, n);
        const Window welch = makeWindow(kWelch, 0, n);
        EXPECT_EQ(taper.weights, welch.weights) << n;
        EXPECT_EQ(taper.factors, welch.factors) << n;
    }
    EXPECT_EQ(makeWindow(kCosine10, 0, 6).factors, (WindowFactors{0.875, 0.9}));
}

TEST(Window, GivenWeightsMultiplyAndOnlyTheLastEntersTheFactors) {
    const std::vector<double> in = {1, 2, 3, 4};
    const std::vector<double> weights = {10, 20, 30, 6};
    std::vector<double> out(4);
    WindowFactors factors;
    EXPECT_EQ(applyWindow(in.data(), weights.data(), 4, kGivenWeights, out.data(), &factors), 0);
    EXPECT_EQ(out, (std::vector<double>{10, 40, 90, 24}));
    EXPECT_EQ(factors.power, 36.0 / 4);
    EXPECT_EQ(factors.gain, 6.0 / 4);
}

TEST(Window, NoGivenWeightsLeaveTheFactorsAsTheyAre) {
    WindowFactors factors{1.5, 2.5};
    const std::vector<double> weights = {3.0};
    double out = 7.0;
    EXPECT_EQ(applyWindow(weights.data(), weights.data() + 1, 0, kGivenWeights, &out, &factors), 0);
    EXPECT_EQ(factors, (WindowFactors{1.5, 2.5}));
    EXPECT_EQ(out, 7.0);
}

TEST(Window, AKindOutsideTheTableCopiesAndSaysSo) {
    const std::vector<double> in = {1, -2, 3};
    for (const int kind : {16, 1000, -1}) {
        std::vector<double> out(3);
        WindowFactors factors{0, 0};
        EXPECT_EQ(applyWindow(in.data(), nullptr, 3, kind, out.data(), &factors), 301);
        EXPECT_EQ(out, in);
        EXPECT_EQ(factors, (WindowFactors{1.0, 1.0}));
    }
}

TEST(ChosenWindow, OutsideTheTableWeightsNothing) {
    ChosenWindow window;
    for (const int choice : {0, 63, 64, 80, 65535}) {
        window.choose(static_cast<std::uint16_t>(choice), 10.0, 16);
        EXPECT_EQ(window.weights(), nullptr) << choice;
        EXPECT_EQ(window.factors(), WindowFactors{}) << choice;
    }
}

TEST(ChosenWindow, FollowsEachOfChoiceParameterAndLength) {
    ChosenWindow window;
    window.choose(kCauchyWindow, 2.0, 8);
    EXPECT_NEAR(window.weights()[0], 0.2, 1e-15);
    window.choose(kCauchyWindow, 3.0, 8);
    EXPECT_NEAR(window.weights()[0], 0.1, 1e-15);
    window.choose(kHanningWindow, 3.0, 8);
    EXPECT_NEAR(window.weights()[2], 0.5, 1e-15);
    window.choose(kHanningWindow, 3.0, 4);
    EXPECT_NEAR(window.weights()[2], 1.0, 1e-15);
    const double* kept = window.weights();
    window.choose(kHanningWindow, 3.0, 4);
    EXPECT_EQ(window.weights(), kept);
}

TEST(WindowCorrection, DividesByTheRootOfThePowerOrByTheGainOrZeroes) {
    const WindowFactors hanning{0.375, 0.5};
    EXPECT_NEAR(correctionFactor(0, hanning), 1.0 / std::sqrt(0.375), 1e-15);
    EXPECT_EQ(correctionFactor(1, hanning), 2.0);
    for (const int mode : {-1, 2, 3, 1000})
        EXPECT_EQ(correctionFactor(mode, hanning), 0.0);
}

TEST(BesselI0, AgreesWithPublishedValues) {
    // Abramowitz & Stegun, table 9.8 and 9.11 (as e^-x I0(x) times e^x).
    EXPECT_EQ(besselI0(0.0), 1.0);
    EXPECT_NEAR(besselI0(1.0), 1.2660658777520084, 1e-15);
    EXPECT_NEAR(besselI0(2.0), 2.2795853023360673, 1e-15);
    EXPECT_NEAR(besselI0(5.0), 27.239871823604442, 1e-13);
    EXPECT_NEAR(besselI0(10.0) / 2815.716628466254, 1.0, 1e-14);
    EXPECT_NEAR(besselI0(40.0) / static_cast<double>(i0(40.0L)), 1.0, 1e-13);
    EXPECT_EQ(besselI0(-3.0), besselI0(3.0));
}

TEST(BesselI0, EndsForArgumentsThatAreNoNumbers) {
    EXPECT_TRUE(std::isnan(besselI0(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(std::isfinite(besselI0(std::numeric_limits<double>::infinity())));
    EXPECT_EQ(besselI0(1e6), std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace vynpack

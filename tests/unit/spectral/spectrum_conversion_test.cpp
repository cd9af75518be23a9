#include "blocks/spectral/core/spectrum_conversion.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "blocks/spectral/core/spectrum_kernels.h"
#include "naive_transform.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

const std::vector<double> kRe = {3, -1, 0, 0, 0, -2, 5e-200, 1};
const std::vector<double> kIm = {4, 1, 2, -2, 0, -2, 0, -1};

std::vector<double> convert(int kind, const std::vector<double>& re,
                            const std::vector<double>& im) {
    std::vector<double> out(re.size(), -99.0);
    std::vector<double> work;
    EXPECT_EQ(convertSpectrum(re, im, kind, out, test::naiveTransform, work), 0);
    return out;
}

TEST(SpectrumConversion, MagnitudeRmsAndPowersByHand) {
    EXPECT_EQ(convert(kToMagnitude, kRe, kIm)[0], 5.0);
    EXPECT_NEAR(convert(kToRms, kRe, kIm)[0], 5.0 / std::numbers::sqrt2, 1e-15);
    EXPECT_EQ(convert(kToHalfPower, kRe, kIm)[0], 12.5);
    EXPECT_EQ(convert(kToPower, kRe, kIm)[0], 25.0);
    EXPECT_EQ(convert(kToMagnitude, kRe, kIm)[4], 0.0);
}

TEST(SpectrumConversion, PhaseInEveryQuadrantAndOnEveryAxis) {
    const auto phase =
        convert(kToPhase, {1, -1, -1, 1, 0, 0, 0, -1, 1}, {1, 1, -1, -1, 1, -1, 0, 0, 0});
    const std::vector<double> expected = {45, 135, -135, -45, 90, -90, 0, 180, 0};
    for (std::size_t k = 0; k < expected.size(); ++k)
        EXPECT_NEAR(phase[k], expected[k], 1e-13) << k;
}

TEST(SpectrumConversion, PhaseAgreesWithTheArcTangentOfTwoArguments) {
    for (int k = -300; k <= 300; ++k) {
        const double angle = k * 0.0104;
        const auto phase = convert(kToPhase, {2 * std::cos(angle)}, {2 * std::sin(angle)});
        EXPECT_NEAR(phase[0], angle * 180 / std::numbers::pi, 1e-12) << k;
    }
}

TEST(SpectrumConversion, AnUndefinedLineHasAnUndefinedPhase) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto phase = convert(kToPhase, {nan, 0, 1}, {1, nan, nan});
    for (const double p : phase)
        EXPECT_TRUE(std::isnan(p));
}

TEST(SpectrumConversion, PhaseMayReplaceTheImaginaryParts) {
    const std::vector<double> re = {1, 0};
    std::vector<double> im = {1, 5};
    std::vector<double> work;
    convertSpectrum(re, im, kToPhase, im, test::naiveTransform, work);
    EXPECT_NEAR(im[0], 45, 1e-13);
    EXPECT_NEAR(im[1], 90, 1e-13);
}

TEST(SpectrumConversion, CepstrumIsThePowerOfTheTransformedLogSpectrum) {
    constexpr int m = 12;
    std::vector<double> re(m);
    std::vector<double> im(m);
    for (int k = 0; k < m; ++k) {
        re[k] = 1.0 + 0.5 * std::cos(0.7 * k);
        im[k] = 0.2 * k;
    }
    const auto cepstrum = convert(kToCepstrum, re, im);
    for (int q = 0; q <= m / 2; ++q) {
        long double sumRe = 0;
        long double sumIm = 0;
        for (int k = 0; k < m; ++k) {
            const long double value = std::log10(static_cast<long double>(re[k]) * re[k] +
                                                 static_cast<long double>(im[k]) * im[k]);
            sumRe += value * std::cos(2 * test::kPi * q * k / m);
            sumIm -= value * std::sin(2 * test::kPi * q * k / m);
        }
        EXPECT_NEAR(cepstrum[q], static_cast<double>((sumRe * sumRe + sumIm * sumIm) / 36), 1e-13);
    }
    for (int q = m / 2 + 1; q < m; ++q)
        EXPECT_EQ(cepstrum[q], -99.0) << "is not written";
}

TEST(SpectrumConversion, CepstrumPassesOnTheTransformsFailure) {
    const std::vector<double> re = {1, 2, 3, 4};
    std::vector<double> out(4, 7.0);
    std::vector<double> work;
    const auto failing = [](double*, double*, int) { return -5; };
    EXPECT_EQ(convertSpectrum(re, re, kToCepstrum, out, failing, work), -5);
    EXPECT_EQ(out, std::vector<double>(4, 7.0));
}

TEST(SpectrumConversion, CepstrumOfNothingWritesNothing) {
    std::vector<double> work;
    EXPECT_EQ(convertSpectrum({}, {}, kToCepstrum, {}, test::naiveTransform, work), 0);
}

TEST(SpectrumConversion, AKindOutsideTheTableWritesNothing) {
    for (const int kind : {6, 7, 100, -1}) {
        EXPECT_EQ(convert(kind, kRe, kIm), std::vector<double>(kRe.size(), -99.0));
    }
}

TEST(SpectrumConversion, EveryKernelLevelGivesTheSameBits) {
    constexpr std::size_t n = 1003;
    std::vector<double> re(n);
    std::vector<double> im(n);
    std::vector<float> samples(3 * n);
    for (std::size_t k = 0; k < n; ++k) {
        re[k] = std::sin(1.7 * static_cast<double>(k)) * 1e3;
        im[k] = std::cos(0.9 * static_cast<double>(k)) / 7;
    }
    for (std::size_t k = 0; k < samples.size(); ++k)
        samples[k] = std::sin(0.37F * static_cast<float>(k));

    const SpectrumKernels& base = vyn::kernelsAt<SpectrumKernels>(vyn::KernelLevel::baseline);
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        const SpectrumKernels& wide = vyn::kernelsAt<SpectrumKernels>(level);
        const auto sameLines = [&](auto member) {
            std::vector<double> a(n);
            std::vector<double> b(n);
            (base.*member)(re.data(), im.data(), a.data(), n);
            (wide.*member)(re.data(), im.data(), b.data(), n);
            EXPECT_EQ(a, b);
        };
        sameLines(&SpectrumKernels::magnitude);
        sameLines(&SpectrumKernels::rms);
        sameLines(&SpectrumKernels::halfPower);
        sameLines(&SpectrumKernels::power);
        sameLines(&SpectrumKernels::smaller);
        sameLines(&SpectrumKernels::larger);

        for (const double* weights : std::array<const double*, 2>{nullptr, im.data()}) {
            std::vector<double> a(n);
            std::vector<double> b(n);
            base.takeSamples(samples.data(), 501.0F, weights, a.data(), n);
            wide.takeSamples(samples.data(), 501.0F, weights, b.data(), n);
            EXPECT_EQ(a, b);
        }
        std::vector<float> a(n);
        std::vector<float> b(n);
        base.putDensities(re.data(), 0.3F, a.data(), n);
        wide.putDensities(re.data(), 0.3F, b.data(), n);
        EXPECT_EQ(a, b);
        base.putSamples(re.data(), 13.0F, a.data(), n);
        wide.putSamples(re.data(), 13.0F, b.data(), n);
        EXPECT_EQ(a, b);
    }
}

TEST(SpectrumConversion, OnePassGivesTheBitsOfItsSteps) {
    constexpr std::size_t n = 1003;
    std::vector<double> re(n);
    std::vector<double> im(n);
    for (std::size_t k = 0; k < n; ++k) {
        const double size = std::pow(10.0, static_cast<double>(k % 91) - 45.0);
        re[k] = k % 97 == 0 ? 0.0 : std::sin(1.7 * static_cast<double>(k)) * size;
        im[k] = k % 89 == 0 ? 0.0 : std::cos(0.9 * static_cast<double>(k)) * size;
    }
    const SpectrumKernels& base = vyn::kernelsAt<SpectrumKernels>(vyn::KernelLevel::baseline);
    constexpr double kFactor = 1.0 / 0.54;
    constexpr auto kSteps = std::array{&SpectrumKernels::magnitude, &SpectrumKernels::rms,
                                       &SpectrumKernels::halfPower, &SpectrumKernels::power};
    for (std::size_t kind = 0; kind < kSteps.size(); ++kind) {
        for (const float divisor : {1.0F, 11.7F}) {
            std::vector<double> scaledRe = re;
            std::vector<double> scaledIm = im;
            base.scale(scaledRe.data(), kFactor, n);
            base.scale(scaledIm.data(), kFactor, n);
            std::vector<double> values(n);
            (base.*kSteps[kind])(scaledRe.data(), scaledIm.data(), values.data(), n);
            std::vector<float> expected(n);
            base.putDensities(values.data(), divisor, expected.data(), n);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                std::vector<float> result(n);
                vyn::kernelsAt<SpectrumKernels>(level).putConverted[kind](
                    re.data(), im.data(), kFactor, divisor, result.data(), n);
                EXPECT_EQ(result, expected) << kind;
            }
        }
    }
}

TEST(SpectrumConversion, APowerOfTwoDividesSamplesAsItsReciprocalMultiplies) {
    std::vector<float> samples;
    for (const float size : {1.0F, 3e38F, 1e-38F, 3e-45F, 7e-44F}) {
        for (int i = -3; i <= 3; ++i)
            samples.push_back(static_cast<float>(i) * 0.33F * size);
    }
    for (const float divisor : {0.5F, 1.0F, 2.0F, 2048.0F, 0x1p30F}) {
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            std::vector<double> taken(samples.size());
            vyn::kernelsAt<SpectrumKernels>(level).takeSamples(samples.data(), divisor, nullptr,
                                                               taken.data(), samples.size());
            for (std::size_t i = 0; i < samples.size(); ++i) {
                volatile float by = divisor;  // not to be worked out by the compiler
                EXPECT_EQ(taken[i], samples[i] / by) << samples[i];
            }
        }
    }
}

TEST(FrequencyStep, IsTheReciprocalOfTheDuration) {
    // N samples dt apart: 1 / (N dt).
    EXPECT_NEAR(frequencyStep(0.0, 1023 / 48000.0, 1024), 48000.0 / 1024, 1e-12);
    EXPECT_NEAR(frequencyStep(1.0, 1.0 + 9 * 0.5, 10), 1.0 / 5.0, 1e-15);
}

TEST(SpectrumAverage, EachModeByHand) {
    const std::vector<double> a = {8, 1};
    const std::vector<double> b = {4, 3};
    const auto average = [&](int mode, std::int64_t n, int status) {
        std::vector<double> out(2);
        EXPECT_EQ(averageSpectra(a, b, n, mode, out), status);
        return out;
    };
    EXPECT_EQ(average(0, 4, 0), (std::vector<double>{7, 1.5}));
    EXPECT_EQ(average(1, 4, 0), (std::vector<double>{5, 2.5}));
    EXPECT_EQ(average(2, 4, 0), (std::vector<double>{4, 1}));
    EXPECT_EQ(average(3, 4, 0), (std::vector<double>{8, 3}));
    EXPECT_EQ(average(5, 4, 401), (std::vector<double>{7, 1.5}));
    EXPECT_EQ(average(-1, 4, 401), (std::vector<double>{7, 1.5}));
}

TEST(SpectrumAverage, ACountBelowTwoComputesNothing) {
    const std::vector<double> a = {1};
    std::vector<double> out = {42};
    for (const std::int64_t n : {1, 0, -7}) {
        EXPECT_EQ(averageSpectra(a, a, n, 1, out), -430);
        EXPECT_EQ(out[0], 42);
    }
}

TEST(SpectrumAverage, ArithmeticModeKeepsTheRunningMean) {
    std::vector<double> mean = {2.0};
    int count = 1;
    for (const double value : {4.0, 9.0, 1.0}) {
        averageSpectra(mean, std::vector<double>{value}, ++count, kAverageArithmetic, mean);
    }
    EXPECT_NEAR(mean[0], (2.0 + 4.0 + 9.0 + 1.0) / 4, 1e-15);
}

}  // namespace
}  // namespace vynpack

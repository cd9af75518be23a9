#include "blocks/spectral/core/inverse_fft_core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "naive_transform.h"
#include "support/signals.h"

namespace vynpack {
namespace {

using signals::cosine;

using test::kFloat;

TEST(InverseSpectrum, RebuildsASineFromItsLine) {
    constexpr int n = 64;
    std::vector<float> reals(n / 2, 0.0F);
    std::vector<float> imaginaries(n / 2, 0.0F);
    reals[5] = 3.0F * std::cos(0.5F);
    imaginaries[5] = 3.0F * std::sin(0.5F);
    InverseSpectrum inverse;
    inverse.prepare(n);
    std::vector<float> samples(n);
    inverse.synthesise(reals, imaginaries, 1, test::naiveInverse, samples);
    const auto expected = cosine(n, 5, 3.0, 0.5);
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(samples[i], expected[i], 3 * kFloat) << i;
}

TEST(InverseSpectrum, TakesTheNyquistLineWithoutTheChannelStride) {
    // Two channels of two lines: channel 0's Nyquist line is the flat value 0 + 1, channel 1's own
    // line 0; channel 1's is the flat value 1 + 1, channel 0's line 1.
    const std::vector<float> reals = {0, 8, 16, 0};
    const std::vector<float> imaginaries = {0, 0, 0, 0};
    InverseSpectrum inverse;
    inverse.prepare(4);
    std::vector<float> samples(8);
    inverse.synthesise(reals, imaginaries, 2, test::naiveInverse, samples);
    // x_i = (R0 + 2 R1 cos(pi i / 2) + Nyquist (-1)^i) / 4, put out times 4 / 2.
    const auto expected = [](double r0, double r1, double nyquist, int i) {
        const double cosine = i == 0 ? 1 : i == 2 ? -1 : 0;
        return (r0 + 2 * r1 * cosine + (i % 2 == 0 ? 1 : -1) * nyquist) / 4 * 4 / 2;
    };
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(samples[2 * i], expected(0, 16, 8, i), 1e-5) << i;
        EXPECT_NEAR(samples[2 * i + 1], expected(8, 0, 16, i), 1e-5) << i;
    }
}

// All that the library's inverse reads of its n numbers.
TEST(InverseSpectrum, HandsTheLibraryLinesUpToTheNyquistLine) {
    static std::vector<double> givenRe;
    static std::vector<double> givenIm;
    const auto recorder = [](double* re, double* im, int n) {
        givenRe.assign(re, re + n / 2 + 1);
        givenIm.assign(im, im + n / 2 + 1);
        return 0;
    };
    InverseSpectrum inverse;
    inverse.prepare(8);
    std::vector<float> samples(8);
    inverse.synthesise(std::vector<float>{1, 2, 3, 4}, std::vector<float>{5, 6, 7, 8}, 1, recorder,
                       samples);
    EXPECT_EQ(givenRe, (std::vector<double>{1, 2, 3, 4, 4}));
    EXPECT_EQ(givenIm, (std::vector<double>{5, 6, 7, 8, 0}));
}

TEST(InverseSpectrum, TakesBothPartsOfEachChannelFromItsOwnLines) {
    static std::vector<std::vector<double>> given;  // re and im of each channel
    const auto recorder = [](double* re, double* im, int n) {
        given.emplace_back(re, re + n / 2 + 1);
        given.emplace_back(im, im + n / 2 + 1);
        return 0;
    };
    // Line k of channel c is 10 c + k + 1, its imaginary part 100 more.
    std::vector<float> reals;
    std::vector<float> imaginaries;
    for (int k = 0; k < 3; ++k) {
        for (int c = 0; c < 3; ++c) {
            reals.push_back(static_cast<float>(10 * c + k + 1));
            imaginaries.push_back(reals.back() + 100.0F);
        }
    }
    InverseSpectrum inverse;
    inverse.prepare(6);
    std::vector<float> samples(18);
    inverse.synthesise(reals, imaginaries, 3, recorder, samples);
    // The Nyquist lines are the flat values 2, 3 and 4: channel 2's line 0, channel 0's and 1's
    // line 1.
    using Row = std::vector<double>;
    EXPECT_EQ(given, (std::vector<Row>{{1, 2, 3, 21},
                                       {101, 102, 103, 0},
                                       {11, 12, 13, 2},
                                       {111, 112, 113, 0},
                                       {21, 22, 23, 12},
                                       {121, 122, 123, 0}}));
}

TEST(InverseSpectrum, SamplesAreScaledInSinglePrecision) {
    const auto constantTransform = [](double* re, double*, int n) {
        std::fill_n(re, n, 0.3);
        return 0;
    };
    InverseSpectrum inverse;
    inverse.prepare(14);
    std::vector<float> samples(14);
    const std::vector<float> lines(7, 0.0F);
    inverse.synthesise(lines, lines, 1, constantTransform, samples);
    const float expected = 0.3F * 14.0F / 2.0F;
    EXPECT_NE(expected, static_cast<float>(0.3 * 14 / 2)) << "double precision would show";
    for (const float sample : samples)
        EXPECT_EQ(sample, expected);
}

TEST(InverseSpectrum, AnOddLengthLeavesNothingFromTheBlockBefore) {
    static std::vector<double> givenRe;
    const auto recorder = [](double* re, double* im, int n) {
        givenRe.assign(re, re + n / 2 + 1);
        for (int i = 0; i < n; ++i)
            re[i] = im[i] = 1e9;
        return 0;
    };
    InverseSpectrum inverse;
    inverse.prepare(7);
    std::vector<float> samples(7);
    const std::vector<float> lines = {1, 2, 3};
    inverse.synthesise(lines, lines, 1, recorder, samples);
    const auto first = givenRe;
    inverse.synthesise(lines, lines, 1, recorder, samples);
    EXPECT_EQ(givenRe, first);
    EXPECT_EQ(first, (std::vector<double>{1, 2, 3, 3}));
}

}  // namespace
}  // namespace vynpack

#include "fft/lane_fft.h"

#include <gtest/gtest.h>
#include <pocketfft_hdronly.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "ovanlys/functions.h"
#include "support/signals.h"
#include "unit/analysis/allocation_count.h"
#include "unit/kernels/levels_of_machine.h"

namespace ovanlys {
namespace {

using signals::noise;
using Samples = std::vector<double>;
using Line = std::complex<long double>;

// All n lines in long double, halving and halving again.
std::vector<Line> longTransform(const std::vector<Line>& samples) {
    const std::size_t n = samples.size();
    if (n == 1) return samples;
    std::vector<Line> even;
    std::vector<Line> odd;
    for (std::size_t i = 0; i < n; i += 2) {
        even.push_back(samples[i]);
        odd.push_back(samples[i + 1]);
    }
    even = longTransform(even);
    odd = longTransform(odd);
    std::vector<Line> lines(n);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const Line turned =
            std::polar(1.0L, -2.0L * std::numbers::pi_v<long double> * k / n) * odd[k];
        lines[k] = even[k] + turned;
        lines[k + n / 2] = even[k] - turned;
    }
    return lines;
}

struct SplitSpectrum {
    explicit SplitSpectrum(const Samples& samples)
        : re(samples), im(samples.size() / 2 + 1, -77.0) {}

    Samples re;
    Samples im;
};

SplitSpectrum transformed(const LaneFft& plan, const Samples& samples) {
    SplitSpectrum spectrum(samples);
    plan.forward(spectrum.re.data(), spectrum.im.data());
    return spectrum;
}

struct Errors {
    void add(Line is, Line expected) {
        squared += static_cast<double>(std::norm(is - expected));
        energy += static_cast<double>(std::norm(expected));
    }
    double relative() const { return std::sqrt(squared / energy); }

    double squared = 0.0;
    double energy = 0.0;
};

const std::vector<std::size_t> kLengths{256, 512, 1024, 2048, 4096, 8192, 16384, 32768, 65536};

// Rounding errors of a transform grow as the root of its number of stages: a third of a rounding
// each. A twiddle that is off by one place would be seen.
TEST(LaneFft, IsAsExactAsItsRoundings) {
    for (const std::size_t n : kLengths) {
        const LaneFft plan(n);
        Errors forward;
        Errors inverse;
        for (unsigned seed = 1; seed <= (n < 8192 ? 8 : 1); ++seed) {
            const Samples samples = noise<double>(n, seed);
            SplitSpectrum spectrum = transformed(plan, samples);
            const auto lines = longTransform({samples.begin(), samples.end()});
            for (std::size_t k = 0; k <= n / 2; ++k)
                forward.add({spectrum.re[k], spectrum.im[k]}, lines[k]);
            plan.inverse(spectrum.re.data(), spectrum.im.data());
            for (std::size_t i = 0; i < n; ++i)
                inverse.add(spectrum.re[i], samples[i]);
        }
        const double stages = std::log2(static_cast<double>(n));
        const double epsilon = std::numeric_limits<double>::epsilon();
        EXPECT_LT(forward.relative(), 0.33 * epsilon * std::sqrt(stages)) << n;
        EXPECT_LT(inverse.relative(), 0.33 * epsilon * std::sqrt(2.0 * stages)) << n;
    }
}

TEST(LaneFft, IsAsExactAsPocketFft) {
    for (const std::size_t n : kLengths) {
        const LaneFft plan(n);
        const pocketfft::detail::pocketfft_r<double> other(n);
        Errors errors;
        Errors othersErrors;
        for (unsigned seed = 1; seed <= (n < 8192 ? 16 : 1); ++seed) {
            const Samples samples = noise<double>(n, seed);
            const auto lines = longTransform({samples.begin(), samples.end()});
            const SplitSpectrum spectrum = transformed(plan, samples);
            Samples packed = samples;
            other.exec(packed.data(), 1.0, true);
            for (std::size_t k = 1; k < n / 2; ++k) {
                errors.add({spectrum.re[k], spectrum.im[k]}, lines[k]);
                othersErrors.add({packed[2 * k - 1], packed[2 * k]}, lines[k]);
            }
        }
        EXPECT_LT(errors.relative(), 1.05 * othersErrors.relative()) << n;
    }
}

TEST(LaneFft, GivesTheSameBitsAtEveryInstructionSetLevel) {
    for (const std::size_t n : kLengths) {
        const Samples samples = noise<double>(n, 3);
        const LaneFft plain(n, vyn::KernelLevel::baseline);
        SplitSpectrum expected = transformed(plain, samples);
        SplitSpectrum expectedBack = expected;
        plain.inverse(expectedBack.re.data(), expectedBack.im.data());
        expected.re.resize(n / 2 + 1);
        for (const auto level : vyn::levelsOfThisMachine()) {
            const LaneFft plan(n, level);
            SplitSpectrum spectrum = transformed(plan, samples);
            SplitSpectrum back = spectrum;
            plan.inverse(back.re.data(), back.im.data());
            spectrum.re.resize(n / 2 + 1);
            EXPECT_EQ(spectrum.re, expected.re) << n;
            EXPECT_EQ(spectrum.im, expected.im) << n;
            EXPECT_EQ(back.re, expectedBack.re) << n;
        }
    }
}

// The work array moves with the samples' address.
TEST(LaneFft, GivesTheSameBitsWhereverTheSamplesLie) {
    for (const std::size_t n : {256, 1024}) {
        const LaneFft plan(n);
        const Samples samples = noise<double>(n, 4);
        const SplitSpectrum expected = transformed(plan, samples);
        SplitSpectrum expectedBack = expected;
        plan.inverse(expectedBack.re.data(), expectedBack.im.data());
        for (std::size_t shift = 0; shift < 4096 / sizeof(double); shift += 3) {
            Samples memory(shift);
            memory.insert(memory.end(), samples.begin(), samples.end());
            double* const re = &memory[shift];
            Samples im(n / 2 + 1);
            plan.forward(re, im.data());
            EXPECT_TRUE(std::equal(re, re + n / 2 + 1, expected.re.begin())) << n << ' ' << shift;
            EXPECT_EQ(im, expected.im) << n << ' ' << shift;
            plan.inverse(re, im.data());
            EXPECT_TRUE(std::equal(re, re + n, expectedBack.re.begin())) << n << ' ' << shift;
        }
    }
}

TEST(LaneFft, PutsTheUnitPulseIntoAllLinesAlike) {
    for (const std::size_t n : kLengths) {
        Samples samples(n, 0.0);
        samples[0] = 1.0;
        const SplitSpectrum spectrum = transformed(LaneFft(n), samples);
        for (std::size_t k = 0; k <= n / 2; ++k) {
            ASSERT_EQ(spectrum.re[k], 1.0) << n << " line " << k;
            ASSERT_EQ(spectrum.im[k], 0.0) << n << " line " << k;
        }
    }
}

TEST(LaneFft, OfSilenceIsZeroWithoutASign) {
    const SplitSpectrum spectrum = transformed(LaneFft(1024), Samples(1024, 0.0));
    for (std::size_t k = 0; k <= 512; ++k) {
        ASSERT_FALSE(std::signbit(spectrum.re[k])) << k;
        ASSERT_FALSE(std::signbit(spectrum.im[k])) << k;
    }
}

TEST(LaneFft, WritesNoImaginaryPartBeyondTheHalf) {
    const std::size_t n = 512;
    const Samples samples = noise<double>(n, 4);
    Samples re = samples;
    Samples im(n, -77.0);
    LaneFft(n).forward(re.data(), im.data());
    for (std::size_t k = n / 2 + 1; k < n; ++k)
        ASSERT_EQ(im[k], -77.0) << k;
}

TEST(LaneFft, ServesPowersOfTwoFrom256On) {
    for (const std::size_t n : {256U, 1024U, 65536U, 1U << 22U})
        EXPECT_TRUE(LaneFft::serves(n)) << n;
    for (const std::size_t n : {0U, 1U, 128U, 255U, 257U, 1000U, 3U << 10U})
        EXPECT_FALSE(LaneFft::serves(n)) << n;
}

TEST(LaneFft, TouchesNothingWhenMemoryIsOut) {
    if (!test::allocationsAreCounted()) GTEST_SKIP() << "the heap is not ours to count here";
    const int n = 1 << 19;  // used by no other test, so that the plan is new
    const Samples before = noise<double>(n, 5);
    Samples a = before;
    Samples b = before;
    int status = -3;
    std::size_t allowed = 0;
    for (; allowed < 100 && status != 0; ++allowed) {
        {
            const test::FailingHeap heap(allowed);
            status = ZABFunc147(a.data(), b.data(), n);
        }
        if (status != 0) {
            ASSERT_EQ(status, -3);
            ASSERT_TRUE(a == before && b == before);
        }
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(allowed, 4U);
}

}  // namespace
}  // namespace ovanlys

#include "blocks/filter/weighting/freq_weight_core.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

#include "unit/weighting/weighting_tables.h"

namespace vynpack {
namespace {

using ovanlys::FilterHead;
using enum WeightingCurve;

struct Analog {
    std::vector<double> corners;  // Hz
    int zeros;
};

Analog analogOf(WeightingCurve curve) {
    switch (curve) {
        case a: return {{20.6, 20.6, 107.65, 737.86, 12194.22, 12194.22}, 4};
        case b: return {{20.6, 20.6, 158.49, 12194.22, 12194.22}, 3};
        default: return {{20.6, 20.6, 12194.22, 12194.22}, 2};
    }
}

// The bilinear transform maps the digital frequency w to the analog one 2 tan(w T / 2) exactly, so
// the digital filter's magnitude is the analog formula's with corners and frequency warped alike.
double warpedFormula(WeightingCurve curve, double f, double rate) {
    const auto warp = [&](double hertz) {
        return 2.0 *
               std::tan(std::min(2.0 * std::numbers::pi * hertz / rate, 0.86 * std::numbers::pi) /
                        2.0);
    };
    const Analog analog = analogOf(curve);
    const auto level = [&](double w) {
        double sum = analog.zeros * std::log10(w);
        for (const double corner : analog.corners)
            sum -= std::log10(std::hypot(w, warp(corner)));
        return 20.0 * sum;
    };
    const double w = 2.0 * std::tan(std::numbers::pi * f / rate);
    const double reference = 2.0 * std::tan(std::numbers::pi * 1000.0 / rate);
    return level(w) - level(reference);
}

double measured(const FilterHead& head, double f, double rate) {
    const std::complex<double> z = std::polar(1.0, 2.0 * std::numbers::pi * f / rate);
    std::complex<double> h = head.gain;
    for (int i = 0; i < head.zeroCount; ++i) {
        h *= z - std::complex(head.zeros[2 * i], head.zeros[2 * i + 1]);
    }
    for (int i = 0; i < head.poleCount; ++i) {
        h /= z - std::complex(head.poles[2 * i], head.poles[2 * i + 1]);
    }
    return 20.0 * std::log10(std::abs(h));
}

std::unique_ptr<FilterHead> designed(WeightingCurve curve, double rate) {
    auto head = std::make_unique<FilterHead>();
    designWeightingFilter(curve, rate, *head);
    return head;
}

TEST(WeightingFilter, HasTheRootsOfItsCurve) {
    const struct {
        WeightingCurve curve;
        int zerosAt1, poles;
    } rows[] = {{a, 4, 6}, {b, 3, 5}, {c, 2, 4}};
    for (const auto& row : rows) {
        const auto head = designed(row.curve, 48000.0);
        EXPECT_EQ(head->poleCount, row.poles);
        ASSERT_EQ(head->zeroCount, row.zerosAt1 + 2);
        int atOne = 0;
        int atMinusOne = 0;
        for (int i = 0; i < head->zeroCount; ++i) {
            EXPECT_EQ(head->zeros[2 * i + 1], 0.0);
            atOne += head->zeros[2 * i] == 1.0 ? 1 : 0;
            atMinusOne += head->zeros[2 * i] == -1.0 ? 1 : 0;
        }
        EXPECT_EQ(atOne, row.zerosAt1);
        EXPECT_EQ(atMinusOne, 2);
        EXPECT_EQ(head->changed, 1);
    }
}

TEST(WeightingFilter, PoleOfACornerAtAQuarterOfTheRateIsZero) {
    // tan(pi / 4) = 1: s = -2, z = 0.
    const auto head = designed(c, 4.0 * 12194.22);
    EXPECT_NEAR(head->poles[4], 0.0, 1e-15);
    EXPECT_NEAR(head->poles[6], 0.0, 1e-15);
}

TEST(WeightingFilter, IsStableAtEveryRate) {
    for (const double rate : {4000.0, 8000.0, 44100.0, 200000.0, 1e6}) {
        for (const auto curve : {a, b, c}) {
            const auto head = designed(curve, rate);
            for (int i = 0; i < head->poleCount; ++i) {
                EXPECT_LT(std::abs(head->poles[2 * i]), 1.0);
                EXPECT_EQ(head->poles[2 * i + 1], 0.0);
            }
        }
    }
}

TEST(WeightingFilter, MagnitudeAt1kHzIsOne) {
    for (const double rate : {4000.0, 8000.0, 16666.666666666, 48000.0, 500000.0, 1e6}) {
        for (const auto curve : {a, b, c}) {
            EXPECT_NEAR(measured(*designed(curve, rate), 1000.0, rate), 0.0, 1e-12);
        }
    }
}

TEST(WeightingFilter, ResponseIsTheAnalogFormulaWithWarpedCorners) {
    for (const double rate : {4000.0, 8000.0, 11025.0, 44100.0, 48000.0, 96000.0, 500000.0, 1e6}) {
        for (const auto curve : {a, b, c}) {
            const auto head = designed(curve, rate);
            for (double f = 5.0; f < 0.499 * rate; f *= 1.21) {
                // Poles near z = 1 lose digits as 1 - z does: 1e-16 * rate / (2 pi 20 Hz).
                EXPECT_NEAR(measured(*head, f, rate), warpedFormula(curve, f, rate), 1e-8)
                    << rate << " " << f;
            }
        }
    }
}

// The corner's angle stops at 0.86 pi, 0.43 of the rate: its pole is (1 - t) / (1 + t) with
// t = tan(0.43 pi).
TEST(WeightingFilter, CornersBeyondTheLimitSitAtIt) {
    const double t = std::tan(0.43 * std::numbers::pi);
    for (const double rate : {4000.0, 8000.0, 22050.0, 28000.0}) {
        const auto head = designed(a, rate);
        EXPECT_NEAR(head->poles[2 * 5], (1.0 - t) / (1.0 + t), 1e-14) << rate;
    }
    EXPECT_GT(designed(a, 30000.0)->poles[2 * 5], (1.0 - t) / (1.0 + t));
}

// Nominal frequencies below half the rate at which the curve is outside the class 1 limits.
std::vector<double> outsideClass1(WeightingCurve curve, double rate) {
    std::vector<double> outside;
    const auto head = designed(curve, rate);
    for (const auto& row : test::kNominalWeightings) {
        const double f = exactFrequency(row);
        if (f >= 0.49 * rate) continue;
        const double deviation = measured(*head, f, rate) - (curve == a ? row.a : row.c);
        if (deviation > row.above || deviation < -row.below) outside.push_back(row.nominal);
    }
    return outside;
}

TEST(WeightingFilter, AAndCAreWithinClass1From40kHzUpwards) {
    for (const double rate :
         {40000.0, 44100.0, 48000.0, 50000.0, 51200.0, 80000.0, 88200.0, 96000.0, 100000.0,
          102400.0, 192000.0, 200000.0, 204800.0, 500000.0}) {
        EXPECT_THAT(outsideClass1(a, rate), testing::IsEmpty()) << rate;
        EXPECT_THAT(outsideClass1(c, rate), testing::IsEmpty()) << rate;
    }
}

// What the bilinear transform costs at lower rates, as the page on weighting tells it.
TEST(WeightingFilter, LeavesClass1AtLowerRates) {
    using testing::ElementsAre;
    EXPECT_THAT(outsideClass1(a, 25600.0), ElementsAre(6300, 8000));
    EXPECT_THAT(outsideClass1(a, 33333.3333333333), ElementsAre(8000, 16000));
    EXPECT_THAT(outsideClass1(a, 22050.0), ElementsAre(10000));
    EXPECT_THAT(outsideClass1(a, 8000.0), ElementsAre(3150));
    EXPECT_THAT(outsideClass1(a, 4000.0), ElementsAre(40, 50, 63, 80, 100, 1600));
    EXPECT_THAT(outsideClass1(c, 4000.0), ElementsAre(1600));
}

TEST(WeightingFilter, BHasItsCornerAt158HzAndFollowsItsTable) {
    const auto head = designed(b, 192000.0);
    for (const auto& row : test::kNominalWeightings) {
        if (row.nominal > 8000) continue;  // the transform's warping shows above
        EXPECT_NEAR(measured(*head, exactFrequency(row), 192000.0), row.b, 0.1) << row.nominal;
    }
}

TEST(WeightingFilter, LinearPassesEverything) {
    const auto head = designed(linear, 48000.0);
    EXPECT_EQ(head->zeroCount, 0);
    EXPECT_EQ(head->poleCount, 0);
    EXPECT_EQ(head->gain, 1.0);
    EXPECT_EQ(head->changed, 1);
}

}  // namespace
}  // namespace vynpack

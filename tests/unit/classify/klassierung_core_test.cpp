#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "blocks/classify/core/class_counts.h"
#include "blocks/classify/core/class_finder.h"
#include "blocks/classify/core/class_index_kernels.h"
#include "blocks/classify/core/dwell_time_kernels.h"
#include "blocks/classify/core/excursion_peaks_kernels.h"
#include "blocks/classify/core/klassierung_core.h"
#include "blocks/classify/core/level_crossings_kernels.h"
#include "blocks/classify/core/separate_peaks_kernels.h"
#include "blocks/classify/core/turning_points_kernels.h"
#include "literal_counting.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

// A run of one method over interleaved blocks.
class Counting {
public:
    Counting(int method, const CountingRules& rules, int channels = 1)
        : method_(makeCountingMethod(method, rules, channels)),
          channels_(channels * resultsPerChannel(method)),
          values_(static_cast<std::size_t>(rules.scale.number * channels_)) {}

    Counting& take(std::vector<float> block, double step = 1.0) {
        method_->update(block, step, values_);
        return *this;
    }
    Counting& reset() {
        method_->reset();
        std::fill(values_.begin(), values_.end(), 0.0F);
        return *this;
    }
    float value(int k, int column = 0) const {
        return values_[static_cast<std::size_t>(k * channels_ + column)];
    }
    std::vector<float> column(int column = 0) const {
        std::vector<float> result;
        for (std::size_t i = static_cast<std::size_t>(column); i < values_.size();
             i += static_cast<std::size_t>(channels_))
            result.push_back(values_[i]);
        return result;
    }
    const std::vector<float>& values() const { return values_; }

private:
    std::unique_ptr<CountingMethod> method_;
    int channels_;
    std::vector<float> values_;
};

// Four classes of width 1 from 0 to 4.
CountingRules fourClasses(bool relative = false, double line = 0.0, double hysteresis = 0.0) {
    return {.scale = {.number = 4, .begin = 0.0, .end = 4.0, .range = 4.0},
            .relative = relative,
            .referenceLine = line,
            .hysteresis = hysteresis};
}

using Column = std::vector<float>;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// --- class index

TEST(ClassScale, PutsAnInnerLimitIntoTheUpperClassAndTheEndIntoNone) {
    const ClassScale scale{.number = 4, .begin = 0.0, .end = 4.0, .range = 4.0};
    EXPECT_EQ(scale.classOf(0.0), 0);
    EXPECT_EQ(scale.classOf(0.999), 0);
    EXPECT_EQ(scale.classOf(1.0), 1);
    EXPECT_EQ(scale.classOf(3.999), 3);
    EXPECT_EQ(scale.classOf(4.0), 4);
    EXPECT_EQ(scale.classOf(-1e-9), 4);
    EXPECT_EQ(scale.classOf(1e300), 4);
    EXPECT_EQ(scale.classOf(std::nan("")), 4);
}

TEST(ClassScale, DividesByTheRangeFieldEvenWhereItDisagreesWithTheLimits) {
    const ClassScale scale{.number = 4, .begin = 0.0, .end = 4.0, .range = 8.0};
    EXPECT_EQ(scale.classOf(3.0), 1);
    EXPECT_EQ(scale.classOf(7.9), 3);
    EXPECT_DOUBLE_EQ(scale.width(), 1.0);
}

TEST(ClassScale, HasNoClassesWithoutARange) {
    const ClassScale scale{.number = 4, .begin = 0.0, .end = 0.0, .range = 0.0};
    EXPECT_EQ(scale.classOf(0.0), 4);
    EXPECT_EQ(scale.classOf(1.0), 4);
}

TEST(ClassLimits, AreThoseOfTheScaleWithInfinitiesAround) {
    const ClassScale scale{.number = 17, .begin = -1.1, .end = 2.3, .range = 3.4};
    const ClassLimits limits(scale);
    EXPECT_TRUE(limits.rising());
    for (int k = 0; k <= 17; ++k)
        EXPECT_EQ(limits.data()[k], scale.lowerLimit(k));
    for (int k = 18; k < 18 + ClassLimits::kPadding; ++k)
        EXPECT_EQ(limits.data()[k], std::numeric_limits<double>::infinity());
    EXPECT_EQ(limits.data()[-1], -std::numeric_limits<double>::infinity());
    EXPECT_FALSE(ClassLimits({.number = 4, .begin = 1.0, .end = 1.0}).rising());
    EXPECT_FALSE(ClassLimits({.number = 4, .begin = 2.0, .end = 1.0}).rising());
    EXPECT_FALSE(ClassLimits({.number = 4, .begin = 2.0, .end = kInf}).rising());
}

// The class by the formula; -1 below all classes.
int formulaClass(const ClassScale& scale, bool betweenEnds, double x) {
    if (betweenEnds && x <= scale.begin) return -1;
    if (betweenEnds && x > scale.end) return scale.number;
    const double k = std::floor((x - scale.begin) / scale.range * scale.number);
    if (k < 0.0) return -1;
    return k < scale.number ? static_cast<int>(k) : scale.number;
}

template <class Number>
void expectTheClassesOfTheFormula(const ClassScale& scale, bool betweenEnds, std::mt19937& random) {
    const ClassFinder<Number> finder(scale, betweenEnds);
    ASSERT_TRUE(finder.ready()) << scale.number << ' ' << scale.begin << ' ' << scale.range;
    std::vector<Number> values = {0,
                                  -std::numeric_limits<Number>::infinity(),
                                  std::numeric_limits<Number>::infinity(),
                                  std::numeric_limits<Number>::quiet_NaN(),
                                  std::numeric_limits<Number>::max(),
                                  std::numeric_limits<Number>::denorm_min(),
                                  static_cast<Number>(scale.end)};
    for (int k = 0; k <= scale.number; ++k) {
        auto below = static_cast<Number>(scale.lowerLimit(k));
        Number above = below;
        values.push_back(below);
        for (int step = 0; step < 4; ++step) {
            below = std::nextafter(below, -std::numeric_limits<Number>::infinity());
            above = std::nextafter(above, std::numeric_limits<Number>::infinity());
            values.insert(values.end(), {below, above});
        }
    }
    std::uniform_real_distribution<double> place(-0.2, 1.2);
    for (int i = 0; i < 2000; ++i)
        values.push_back(static_cast<Number>(scale.begin + place(random) * scale.range));
    for (const Number x : values) {
        const auto limit = static_cast<std::int32_t>(finder.ruler().nearestLimit(x));
        const int expected =
            std::isnan(x) ? scale.number : formulaClass(scale, betweenEnds, static_cast<double>(x));
        ASSERT_EQ(finder.classOf(x, limit), expected) << x;
    }
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        const auto& kernels = vyn::kernelsAt<ClassIndexKernels>(level);
        std::vector<std::int32_t> found(values.size());
        if constexpr (sizeof(Number) == sizeof(float)) {
            // At once where all lie between limits, and among others.
            std::ranges::shuffle(values, random);
            kernels.classes(values.data(), values.size(), finder.ruler(), finder.limits(),
                            found.data());
            for (std::size_t i = 0; i < values.size(); ++i) {
                const auto limit =
                    static_cast<std::int32_t>(finder.ruler().nearestLimit(values[i]));
                ASSERT_EQ(found[i], finder.classOf(values[i], limit)) << values[i];
            }
        } else {
            kernels.nearestLimitsOfExtremes(values.data(), values.size(), finder.ruler(),
                                            found.data());
            for (std::size_t i = 0; i < values.size(); ++i)
                ASSERT_EQ(found[i], finder.ruler().nearestLimit(values[i]));
        }
    }
}

TEST(ClassFinder, HasTheClassesOfTheFormulaAroundEveryLimitAndEverywhere) {
    std::mt19937 random(11);
    const auto pick = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int round = 0; round < 300; ++round) {
        ClassScale scale;
        scale.number = 1 + static_cast<int>(random() % (round % 10 == 0 ? 500 : 40));
        scale.begin = round % 3 == 0 ? std::floor(pick(-20, 20)) : pick(-1e3, 1e3);
        const double range = round % 3 == 0 ? scale.number * 0.5 : pick(1e2, 3e3);
        scale.end = scale.begin + range;
        scale.range = scale.width() * scale.number;
        // A range that is not quite the ends' distance may keep the last class from ending there.
        expectTheClassesOfTheFormula<float>(scale, false, random);
        expectTheClassesOfTheFormula<float>(scale, true, random);
        expectTheClassesOfTheFormula<double>(scale, false, random);
    }
}

TEST(ClassFinder, IsNotReadyForScalesThatANearestLimitDoesNotServe) {
    const ClassScale sound{.number = 4, .begin = 0.0, .end = 4.0, .range = 4.0};
    EXPECT_TRUE(ClassFinder<float>(sound, true).ready());
    const auto ready = [&](auto change, bool betweenEnds) {
        ClassScale scale = sound;
        change(scale);
        return ClassFinder<float>(scale, betweenEnds).ready();
    };
    EXPECT_FALSE(ready([](ClassScale& s) { s.range = 8.0; }, true)) << "ends amid a class";
    EXPECT_TRUE(ready([](ClassScale& s) { s.range = 8.0; }, false)) << "the ends do not matter";
    EXPECT_FALSE(ready([](ClassScale& s) { s.range = 0.0; }, true));
    EXPECT_FALSE(ready([](ClassScale& s) { s.range = -4.0; }, true));
    EXPECT_FALSE(ready([](ClassScale& s) { s.range = kNaN; }, true));
    EXPECT_FALSE(ready([](ClassScale& s) { s.begin = -kInf; }, true));
    EXPECT_FALSE(ready([](ClassScale& s) { s.number = 0; }, true));
    EXPECT_FALSE(ready([](ClassScale& s) { s.number = 1000000; }, true)) << "too many";
    // Samples of single precision lie wider apart than these classes.
    EXPECT_FALSE(ready(
        [](ClassScale& s) { s = {.number = 1000, .begin = 1e6, .end = 1e6 + 1.0, .range = 1.0}; },
        true));
}

TEST(SampleCount, CountsByTheFormulaWhereNoFinderServes) {
    const CountingRules rules{.scale = {.number = 4, .begin = 0.0, .end = 4.0, .range = 8.0},
                              .relative = false};
    for (const int channels : {1, 2}) {
        Counting run(kSampleCount, rules, channels);
        run.take(std::vector<float>(static_cast<std::size_t>(600 * channels), 3.0F));
        EXPECT_EQ(run.column(), (Column{0, 600, 0, 0}));
    }
}

TEST(ClassIndexKernels, GiveTheSameClassesAtEveryLevel) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> noise(-12.0F, 12.0F);
    std::vector<float> x(1003);
    for (float& v : x)
        v = noise(random);
    x[3] = kNaN;
    x[4] = kInf;
    x[5] = -kInf;
    x[6] = -10.0F;
    x[7] = 10.0F;
    const ClassScale scale;
    std::vector<std::int32_t> expected(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double v = x[i];
        const double k = std::floor((v + 10.0) / 20.0 * 20);
        expected[i] = v > -10 && v <= 10 && k >= 0 && k < 20 ? static_cast<int>(k) : 20;
    }
    for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
        std::vector<std::int32_t> indices(x.size());
        vyn::kernelsAt<ClassIndexKernels>(level).ofSamples(x.data(), x.size(), scale,
                                                           indices.data());
        EXPECT_EQ(indices, expected);
    }
}

TEST(ExtremeKernels, ShiftNothingThatIsOutside) {
    const ClassScale scale{.number = 20, .begin = 0.0, .end = 20.0, .range = 20.0};
    const std::vector<double> x = {-1.0, 3.5, 20.0, kNaN};
    const std::vector<double> shifts = {21.0, 21.0, 0.0, 21.0};
    std::vector<std::int32_t> out(x.size());
    vyn::kernelsAt<ClassIndexKernels>().ofExtremes(x.data(), shifts.data(), x.size(), scale,
                                                   out.data());
    EXPECT_EQ(out, (std::vector<std::int32_t>{20, 24, 20, 20}));
}

TEST(ExtremeKernels, FindTheSameExtremesAtEveryLevel) {
    std::mt19937 random(6);
    std::normal_distribution<float> noise(0.0F, 3.0F);
    constexpr std::size_t kFrames = 300;
    constexpr std::size_t kStride = 9;
    std::vector<float> x(kFrames * kStride);
    for (float& v : x)
        v = std::round(4.0F * noise(random)) / 4.0F;
    x[100] = kNaN;
    x[200] = kInf;
    for (const int lanes : {1, 2, 4, 8}) {
        const auto found = [&](vyn::KernelLevel level) {
            const LaneRows rows{x.data(), kStride, kFrames, lanes};
            const ClassScale scale;
            const std::size_t size = kFrames * static_cast<std::size_t>(lanes);
            std::vector<double> extremes(size);
            std::vector<double> shifts(size);
            std::vector<std::int32_t> all;
            std::vector<std::int32_t> indices(size);
            const auto keep = [&](const double* shift) {
                vyn::kernelsAt<ClassIndexKernels>(level).ofExtremes(extremes.data(), shift, size,
                                                                    scale, indices.data());
                all.insert(all.end(), indices.begin(), indices.end());
            };
            ExcursionLanes excursions{};
            vyn::kernelsAt<ExcursionKernels>(level).find(rows, 0.0, 0.5, &excursions,
                                                         extremes.data());
            keep(nullptr);
            SeparateLanes peaks{};
            std::ranges::fill(peaks.slope, kSlopeUnknown);
            vyn::kernelsAt<SeparateKernels>(level).find(rows, 0.5, 21.0, &peaks, extremes.data(),
                                                        shifts.data());
            keep(shifts.data());
            return all;
        };
        const auto expected = found(vyn::KernelLevel::baseline);
        EXPECT_GT(std::ranges::count_if(expected, [](int k) { return k != 20; }), 100);
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            EXPECT_EQ(found(level), expected) << lanes;
        }
    }
}

TEST(TurningKernels, FindTheSameExtremesAtEveryLevel) {
    std::mt19937 random(8);
    std::normal_distribution<float> noise(0.0F, 1.0F);
    // Turns close together, and so far from each other that a candidate waits for long.
    for (const float swing : {0.0F, 0.3F, 0.02F}) {
        std::vector<float> x(3 * TurningKernels::kMostFrames);
        for (std::size_t i = 0; i < x.size(); ++i) {
            const float slow = 5.0F * std::sin(swing * static_cast<float>(i));
            x[i] = std::round(64.0F * (slow + (swing == 0.02F ? 0.01F : 1.0F) * noise(random))) /
                   64.0F;
        }
        x[100] = kNaN;
        x[201] = kInf;
        x[301] = -kInf;
        for (const std::size_t stride : {1U, 3U}) {
            const auto found = [&](vyn::KernelLevel level) {
                std::vector<double> all(1024);
                TurningState state;
                state.last = x[0];
                all.resize(vyn::kernelsAt<TurningKernels>(level).find(x.data(), stride, 1000, 0.1,
                                                                      0.3, &state, all.data()));
                all.insert(all.end(), {state.last, static_cast<double>(state.slope),
                                       static_cast<double>(state.candidate)});
                return all;
            };
            const auto expected = found(vyn::KernelLevel::baseline);
            EXPECT_GT(expected.size(), 10U);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                EXPECT_EQ(found(level), expected);
            }
        }
    }
}

TEST(PairKernels, CountTheSameCrossingsAndDwellTimesAtEveryLevel) {
    std::mt19937 random(7);
    std::normal_distribution<float> noise(0.0F, 3.0F);
    constexpr std::size_t kPairs = 777;
    constexpr std::size_t kStride = 3;
    std::vector<float> x(kPairs * kStride);
    for (float& v : x)
        v = std::round(4.0F * noise(random)) / 4.0F;
    x[100 * kStride] = kNaN;
    x[200 * kStride] = kInf;
    for (const int classes : {1, 5, 16, 20, 37, 64}) {
        const ClassScale scale{.number = classes, .begin = -4.7, .end = 5.2, .range = 9.9};
        const ClassLimits limits(scale);
        const DwellRules rules{.limits = limits.data(),
                               .n = classes,
                               .begin = scale.begin,
                               .end = scale.end,
                               .classesPerUnit = 1.0 / scale.width(),
                               .step = 1.0 / 3.0};
        std::vector<CrossingClasses> fresh;
        for (int k = 0; k < classes; ++k) {
            if (k % kClassesTogether == 0) fresh.emplace_back();
            CrossingClasses& group = fresh.back();
            group.lowest = -5.0F;
            group.highest = 6.0F;
            const auto limit = static_cast<float>(limits.data()[k]);
            group.sign[group.count] = 1.0F;
            group.limit[group.count] = limit;
            group.back[group.count] = limit - 0.3F;
            group.onward[group.count] = limit + 1.1F;
            group.armed[group.count] = -1;
            ++group.count;
        }
        const auto counted = [&](vyn::KernelLevel level) {
            std::vector<CrossingClasses> groups = fresh;
            const SamplePairs pairs{x.data(), kStride, kPairs, 0.5F};
            vyn::kernelsAt<CrossingKernels>(level).count(pairs, groups.data(), groups.size());
            std::vector<double> sums(1 + static_cast<std::size_t>(classes + ClassLimits::kPadding));
            vyn::kernelsAt<DwellKernels>(level).add(pairs, rules, sums.data() + 1);
            std::vector<double> results(sums.begin() + 1, sums.begin() + 1 + classes);
            for (const CrossingClasses& group : groups) {
                results.insert(results.end(), group.crossings, group.crossings + group.count);
                results.insert(results.end(), group.armed, group.armed + group.count);
            }
            return results;
        };
        const auto expected = counted(vyn::KernelLevel::baseline);
        EXPECT_GT(expected[0], 0.1);
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            EXPECT_EQ(counted(level), expected) << classes;
        }
    }
}

// --- sample count

TEST(SampleCount, CountsSamplesOfEachClass) {
    Counting run(kSampleCount, fourClasses());
    run.take({0.5F, 1.0F, 1.5F, 3.5F, -1.0F, 7.0F});
    EXPECT_EQ(run.column(), (Column{1, 2, 0, 1}));
}

TEST(SampleCount, PassesOverTheBeginAndTheEnd) {
    Counting run(kSampleCount, fourClasses());
    run.take({0.0F, 4.0F});
    EXPECT_EQ(run.column(), (Column{0, 0, 0, 0}));
    run.take({std::nextafter(0.0F, 1.0F), std::nextafter(4.0F, 0.0F)});
    EXPECT_EQ(run.column(), (Column{1, 0, 0, 1}));
}

TEST(SampleCount, GivesPercentOfAllCountedSamples) {
    Counting run(kSampleCount, fourClasses(true));
    run.take({0.5F, 1.5F, 1.5F, 9.0F});
    EXPECT_EQ(run.column(), (Column{100.0F / 3.0F, 200.0F / 3.0F, 0, 0}));
}

TEST(SampleCount, GoesOnCountingFromBlockToBlock) {
    Counting run(kSampleCount, fourClasses(true));
    run.take({0.5F}).take({1.5F}).take({1.5F, 1.5F});
    EXPECT_EQ(run.column(), (Column{25, 75, 0, 0}));
}

TEST(SampleCount, LeavesAChannelOutsideTheClassesAtNothing) {
    Counting run(kSampleCount, fourClasses(true), 2);
    run.take({0.5F, 9.0F, 1.5F, -9.0F});
    EXPECT_EQ(run.column(0), (Column{50, 50, 0, 0}));
    EXPECT_EQ(run.column(1), (Column{0, 0, 0, 0}));
}

TEST(SampleCount, KeepsTheTotalOfOneThatAnEmptyBlockLeft) {
    Counting run(kSampleCount, fourClasses(true));
    run.take({9.0F}).take({0.5F});
    EXPECT_EQ(run.column(), (Column{50, 0, 0, 0}));
}

TEST(SampleCount, StaysRightAboveThe32BitsOfTheProduct) {
    EXPECT_EQ(percentOf(50'000'000U, 100'000'000U), 50.0F);
    EXPECT_EQ(percentOf(1U, 0U), 0.0F);
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    EXPECT_EQ(percentOf(kMost, kMost), 100.0F);
    EXPECT_EQ(percentOf(1U << 31, kMost), 50.0F);
}

TEST(ClassCounts, StartAgainAt0After4294967295) {
    constexpr int kClasses = 3;
    ClassCounts counts(kClasses, 2);
    std::uint32_t* first = counts.data();
    std::uint32_t* second = counts.data() + counts.places();
    first[1] = std::numeric_limits<std::uint32_t>::max();
    second[0] = std::numeric_limits<std::uint32_t>::max();
    second[2] = 3;
    ++first[1];
    EXPECT_EQ(counts.at(1, 0), 0U);
    // Neighbours are untouched, and a total starts again as its counts do.
    EXPECT_EQ(counts.at(0, 0), 0U);
    EXPECT_EQ(counts.at(2, 0), 0U);
    EXPECT_EQ(counts.total(0), 0U);
    EXPECT_EQ(counts.total(1), 2U);
}

// --- dwell time

struct DwellCase {
    const char* name;
    std::vector<float> samples;
    Column dwell;
};

TEST(DwellTime, SharesALineAmongTheClassesItPasses) {
    const DwellCase cases[] = {
        {"inside", {1.25F, 1.75F}, {0, 1, 0, 0}},
        {"resting inside", {1.5F, 1.5F}, {0, 1, 0, 0}},
        {"resting on the limit counts above", {1.0F, 1.0F}, {0, 1, 0, 0}},
        {"resting on the end counts nowhere", {4.0F, 4.0F}, {0, 0, 0, 0}},
        {"enter from below", {0.75F, 1.25F}, {0.5F, 0.5F, 0, 0}},
        {"enter from above", {2.25F, 1.75F}, {0, 0.5F, 0.5F, 0}},
        {"cross upwards", {0.5F, 2.5F}, {0.25F, 0.5F, 0.25F, 0}},
        {"cross downwards", {2.5F, 0.5F}, {0.25F, 0.5F, 0.25F, 0}},
        {"from limit to limit", {1.0F, 2.0F}, {0, 1, 0, 0}},
        {"from limit to limit downwards", {2.0F, 1.0F}, {0, 1, 0, 0}},
        {"up to the end", {3.5F, 4.0F}, {0, 0, 0, 1}},
        {"coming in from below the begin", {-1.0F, 1.0F}, {0.5F, 0, 0, 0}},
        {"coming in from above the end", {5.0F, 3.0F}, {0, 0, 0, 0.5F}},
        {"going out is not seen", {3.5F, 4.5F}, {0, 0, 0, 0}},
        {"through and out is not seen", {-1.0F, 5.0F}, {0, 0, 0, 0}},
    };
    for (const DwellCase& c : cases) {
        Counting run(kDwellTime, fourClasses());
        run.take(c.samples);
        EXPECT_EQ(run.column(), c.dwell) << c.name;
    }
}

// The place where a class is looked for first is a guess: a bad one costs time alone.
TEST(DwellKernels, FindTheClassesFromAnyGuess) {
    const ClassScale scale{.number = 23, .begin = -4.7, .end = 5.2, .range = 9.9};
    const ClassLimits limits(scale);
    std::mt19937 random(12);
    std::normal_distribution<float> noise(0.0F, 3.0F);
    std::vector<float> x(200);
    for (float& v : x)
        v = noise(random);
    const auto times = [&](double classesPerUnit) {
        std::vector<double> sums(1 + 23 + ClassLimits::kPadding);
        const DwellRules rules{.limits = limits.data(),
                               .n = 23,
                               .begin = scale.begin,
                               .end = scale.end,
                               .classesPerUnit = classesPerUnit,
                               .step = 1.0};
        vyn::kernelsAt<DwellKernels>().add({x.data(), 1, x.size(), 0.5F}, rules, sums.data() + 1);
        return std::vector<double>(sums.begin() + 1, sums.begin() + 24);
    };
    const auto expected = times(1.0 / scale.width());
    EXPECT_NEAR(std::accumulate(expected.begin(), expected.end(), 0.0), 180.0, 15.0);
    for (const double guess : {0.0, -1.0, 1e9, 0.1, std::nan("")})
        EXPECT_EQ(times(guess), expected) << guess;
}

TEST(DwellTime, CountsInTheUnitOfTheSampleInterval) {
    Counting run(kDwellTime, fourClasses());
    run.take({0.5F, 0.5F, 0.5F}, 0.25);
    EXPECT_EQ(run.value(0), 0.5F);
}

TEST(DwellTime, TakesANegativeSampleIntervalAsTimeAllTheSame) {
    Counting run(kDwellTime, fourClasses());
    run.take({0.5F, 0.5F, 1.5F}, -1.0);
    EXPECT_EQ(run.column(), (Column{1.5F, 0.5F, 0, 0}));
}

TEST(DwellTime, GivesPercentOfTheTimeOfAllPairs) {
    Counting run(kDwellTime, fourClasses(true));
    run.take({0.5F, 0.5F, 9.0F});  // one of two pairs
    EXPECT_EQ(run.column(), (Column{50, 0, 0, 0}));
    run.take({0.5F, 0.5F});  // from above the end: 1/17 in each class on the way
    EXPECT_NEAR(run.value(1), 100.0 / 8.5 / 4.0, 1e-5);
}

TEST(DwellTime, JoinsBlocksByTheLastSample) {
    Counting run(kDwellTime, fourClasses());
    run.take({0.5F}).take({2.5F});
    EXPECT_EQ(run.column(), (Column{0.25F, 0.5F, 0.25F, 0}));
}

TEST(DwellTime, StartsAtZeroAfterAReset) {
    Counting run(kDwellTime, fourClasses());
    run.take({3.5F, 3.5F}).reset().take({2.0F});
    EXPECT_EQ(run.column(), (Column{0.5F, 0.5F, 0, 0}));
}

// --- level crossings

TEST(LevelCrossings, CountsUpwardCrossingsAboveTheLine) {
    Counting run(kLevelCrossings, fourClasses(false, 0.0));
    run.take({0.5F, 1.5F, 0.5F, 1.5F, 3.5F, 0.5F});
    EXPECT_EQ(run.column(), (Column{0, 2, 1, 1}));
}

TEST(LevelCrossings, CountsDownwardCrossingsBelowTheLine) {
    Counting run(kLevelCrossings, fourClasses(false, 9.0));
    run.take({3.5F, 0.5F, 3.5F, 2.5F});
    EXPECT_EQ(run.column(), (Column{0, 1, 1, 2}));
}

TEST(LevelCrossings, ReachingTheLimitCountsUpwards) {
    Counting run(kLevelCrossings, fourClasses());
    run.take({0.5F, 1.0F, 0.5F});
    EXPECT_EQ(run.value(1), 1.0F);
}

TEST(LevelCrossings, StartingOnTheLimitDoesNotCountUpwards) {
    Counting run(kLevelCrossings, fourClasses());
    run.take({1.0F, 1.5F});
    EXPECT_EQ(run.value(1), 0.0F);
}

TEST(LevelCrossings, WaitsForTheHysteresisBeforeTheNextCrossing) {
    const std::vector<float> swing = {0.5F, 1.25F, 0.875F, 1.25F, 0.75F, 1.25F};
    Counting without(kLevelCrossings, fourClasses());
    EXPECT_EQ(without.take(swing).value(1), 3.0F);
    Counting with(kLevelCrossings, fourClasses(false, 0.0, 0.25));
    EXPECT_EQ(with.take(swing).value(1), 2.0F);
}

TEST(LevelCrossings, AJumpByAWidthRearmsInTheSamePair) {
    // 2.0 is one width above the limit of class 1, which is armed again without a way back; the
    // return to 0.875 is less than the hysteresis.
    Counting run(kLevelCrossings, fourClasses(false, 0.0, 0.5));
    run.take({0.5F, 2.0F, 0.875F, 1.25F});
    EXPECT_EQ(run.value(1), 2.0F);
}

TEST(LevelCrossings, TheLastClassRearmsByGoingBackAloneWhenAmountsAreCounted) {
    const std::vector<float> swing = {1.5F, 4.5F, 2.75F, 4.5F};
    Counting amounts(kLevelCrossings, fourClasses(false, 0.0, 0.5));
    EXPECT_EQ(amounts.take(swing).value(3), 1.0F);
    Counting percent(kLevelCrossings, fourClasses(true, 0.0, 0.5));
    EXPECT_EQ(percent.take(swing).value(3), static_cast<float>(200.0 / 3.0));  // 2 of 3
}

TEST(LevelCrossings, GivesPercentOfAllCrossings) {
    Counting run(kLevelCrossings, fourClasses(true));
    EXPECT_EQ(run.column(), (Column{0, 0, 0, 0}));
    run.take({0.5F, 1.5F, 0.5F, 2.5F});
    EXPECT_EQ(run.value(1), static_cast<float>(200.0 / 3.0));
    EXPECT_EQ(run.value(2), static_cast<float>(100.0 / 3.0));
}

TEST(LevelCrossings, StartsAtZeroAndArmedAfterAReset) {
    Counting run(kLevelCrossings, fourClasses(false, 0.0, 0.5));
    run.take({0.5F, 1.5F}).reset().take({1.25F});
    EXPECT_EQ(run.column(), (Column{0, 1, 0, 0}));
}

// --- excursion peaks

TEST(ExcursionPeaks, CountsTheExtremeOfAnExcursionWhenTheSignalCrossesBack) {
    Counting run(kExcursionPeaks, fourClasses(false, 1.0));
    run.take({0.5F, 2.25F, 2.75F, 2.5F});
    EXPECT_EQ(run.column(), (Column{0, 0, 0, 0}));
    run.take({0.5F});
    EXPECT_EQ(run.column(), (Column{0, 0, 1, 0}));
}

TEST(ExcursionPeaks, CountsExcursionsBelowAsWell) {
    Counting run(kExcursionPeaks, fourClasses(false, 2.0));
    run.take({2.5F, 0.25F, 1.5F, 3.5F, 3.25F, 1.75F, 2.25F});
    // 2.5 .. 0.25 .. 3.5 .. 1.75: the first crossing pair closes nothing, then one per crossing.
    EXPECT_EQ(run.column(), (Column{1, 1, 0, 1}));
}

TEST(ExcursionPeaks, PassesOverExcursionsWithinTheHysteresis) {
    Counting run(kExcursionPeaks, fourClasses(false, 1.0, 0.5));
    run.take({0.875F, 1.25F, 0.875F, 1.5F, 0.875F});
    EXPECT_EQ(run.column(), (Column{0, 1, 0, 0}));
}

TEST(ExcursionPeaks, GivesNothingWithoutATotal) {
    Counting run(kExcursionPeaks, fourClasses(true, 1.0));
    run.take({0.5F, 9.0F, 0.5F});
    EXPECT_EQ(run.column(), (Column{0, 0, 0, 0}));
    run.take({1.5F, 0.5F});
    EXPECT_EQ(run.column(), (Column{50, 50, 0, 0}));  // the 9 is not in the total
}

// --- turning points

TEST(TurningPoints, CountsMaximaAboveAndMinimaBelowTheLine) {
    Counting run(kTurningPoints, fourClasses(false, 2.0));
    run.take({1.0F, 3.5F, 2.5F, 2.75F, 0.5F, 1.5F, 1.25F});
    // maxima 3.5 and 2.75; minimum 0.5; the minimum 2.5 and the maximum 1.5 are on the wrong side
    EXPECT_EQ(run.column(), (Column{1, 0, 1, 1}));
}

TEST(TurningPoints, AreConfirmedByARetreatOfMoreThanTheHysteresis) {
    Counting run(kTurningPoints, fourClasses(false, 1.0, 0.5));
    run.take({2.0F, 3.0F, 2.5F});
    EXPECT_EQ(run.value(3), 0.0F);
    run.take({2.49F});
    EXPECT_EQ(run.value(3), 1.0F);
}

TEST(TurningPoints, AreDroppedWhenTheSignalGoesBeyondThem) {
    Counting run(kTurningPoints, fourClasses(false, 1.0, 0.5));
    run.take({2.0F, 2.5F, 2.25F, 3.5F, 1.5F});
    EXPECT_EQ(run.column(), (Column{0, 0, 0, 1}));
}

TEST(TurningPoints, APlateauTurnsWhereItIsReached) {
    Counting run(kTurningPoints, fourClasses(false, 1.0));
    run.take({2.0F, 3.5F, 3.5F, 3.5F, 2.0F});
    EXPECT_EQ(run.column(), (Column{0, 0, 0, 1}));
}

// --- separate peaks

TEST(SeparatePeaks, CountsMinimaAndMaximaInTheirOwnColumns) {
    Counting run(kSeparatePeaks, fourClasses());
    run.take({1.5F, 3.5F, 0.5F, 2.5F, 1.5F, 1.75F});
    EXPECT_EQ(run.column(0), (Column{1, 1, 0, 0}));  // 0.5, 1.5
    EXPECT_EQ(run.column(1), (Column{0, 0, 1, 1}));  // 3.5, 2.5
}

TEST(SeparatePeaks, SharesAColumnBetweenNeighbouringChannels) {
    Counting run(kSeparatePeaks, fourClasses(), 2);
    // channel 0: a maximum at 2.5; channel 1: a minimum at 2.5
    run.take({1.5F, 3.5F, 2.5F, 2.5F, 1.25F, 3.75F});
    EXPECT_EQ(run.column(0), (Column{0, 0, 0, 0}));
    EXPECT_EQ(run.column(1), (Column{0, 0, 2, 0}));
    EXPECT_EQ(run.column(2), (Column{0, 0, 0, 0}));
    EXPECT_EQ(run.column(3), (Column{0, 0, 0, 0}));
}

TEST(SeparatePeaks, IgnoreTurnsWithinTheHysteresis) {
    Counting run(kSeparatePeaks, fourClasses(false, 0.0, 0.5));
    run.take({0.5F, 3.5F, 3.25F, 3.5F, 0.5F, 3.5F});
    EXPECT_EQ(run.column(1), (Column{0, 0, 0, 1}));
    EXPECT_EQ(run.column(0), (Column{1, 0, 0, 0}));
}

TEST(SeparatePeaks, HaveSeparateTotals) {
    Counting run(kSeparatePeaks, fourClasses(true));
    run.take({1.5F, 3.5F, 0.5F, 2.5F, 1.5F});
    EXPECT_EQ(run.column(0), (Column{100, 0, 0, 0}));
    EXPECT_EQ(run.column(1), (Column{0, 0, 50, 50}));
}

TEST(SeparatePeaks, StartFromTheReferenceLineAfterAReset) {
    // The turn at 2.0 lies within the hysteresis of the line, so that it does not count.
    const CountingRules rules = fourClasses(false, 2.0, 0.25);
    Counting fresh(kSeparatePeaks, rules);
    fresh.take({0.0F}).take({2.0F, 0.5F});
    EXPECT_EQ(fresh.column(1), (Column{0, 0, 1, 0}));
    Counting again(kSeparatePeaks, rules);
    again.take({0.0F}).reset().take({2.0F, 0.5F});
    EXPECT_EQ(again.column(1), (Column{0, 0, 0, 0}));
}

// --- all methods

TEST(CountingMethods, AnUnknownNumberMakesNone) {
    EXPECT_EQ(makeCountingMethod(92, fourClasses(), 1), nullptr);
    EXPECT_EQ(makeCountingMethod(99, fourClasses(), 1), nullptr);
}

class AllMethods : public testing::TestWithParam<int> {};

// Signals that meet limits exactly, rest, jump over many classes, and leave the range.
std::vector<float> loadSignal(std::mt19937& random, std::size_t values, std::size_t channels,
                              int kind) {
    std::uniform_real_distribution<float> noise(-1.0F, 1.0F);
    std::vector<float> x(values);
    for (std::size_t i = 0; i < values; ++i) {
        const float before = i < channels ? 0.0F : x[i - channels];
        switch (kind) {
            case 0: x[i] = 12.0F * noise(random); break;
            case 1: x[i] = 0.98F * before + noise(random); break;
            case 2: x[i] = std::round(before + 1.5F * noise(random)); break;
            default: x[i] = std::round(8.0F * (0.9F * before + 3.0F * noise(random))) / 8.0F;
        }
    }
    return x;
}

TEST_P(AllMethods, AgreeWithTheLiteralCountBlockByBlock) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int round = 0; round < 240; ++round) {
        const int channels = round % 3 == 0 ? 1 : pick(1, 9);
        CountingRules rules;
        rules.relative = round % 2 == 0;
        rules.scale.number = pick(1, 23);
        rules.scale.begin = pick(-10, 2);
        rules.scale.end = rules.scale.begin + pick(1, 20) * (round % 5 == 0 ? 0.37 : 1.0);
        rules.scale.range = rules.scale.width() * rules.scale.number;
        if (round % 11 == 0) rules.scale.range *= 1.5;
        if (round % 29 == 0) std::swap(rules.scale.begin, rules.scale.end);
        rules.referenceLine = pick(-6, 6) * 0.5;
        rules.hysteresis = rules.scale.width() * 0.01 * (round % 4 == 0 ? 0 : pick(0, 150));
        const double step = round % 7 == 0 ? 1.0 / 44100.0 : 0.25;

        const auto method = makeCountingMethod(GetParam(), rules, channels);
        LiteralCounting literal(GetParam(), rules, channels);
        const auto size =
            static_cast<std::size_t>(rules.scale.number * channels * resultsPerChannel(GetParam()));
        std::vector<float> values(size);
        std::vector<float> expected(size);
        const int blocks = pick(1, 8);
        for (int block = 0; block < blocks; ++block) {
            const int samples = block % 3 == 1 ? pick(0, 2) : pick(1, 400);
            std::vector<float> x = loadSignal(random, static_cast<std::size_t>(samples * channels),
                                              static_cast<std::size_t>(channels), round % 4);
            if (round % 13 == 5 && !x.empty()) {
                x[x.size() / 2] = kNaN;
                x[x.size() / 3] = kInf;
                x[x.size() / 4] = -kInf;
            }
            method->update(x, step, values);
            literal.update(x, step, expected);
            for (std::size_t i = 0; i < size; ++i) {
                ASSERT_EQ(std::bit_cast<std::uint32_t>(values[i] + 0.0F),
                          std::bit_cast<std::uint32_t>(expected[i] + 0.0F))
                    << "round " << round << " block " << block << " value " << i << ": "
                    << values[i] << " instead of " << expected[i];
            }
            if (pick(0, 5) == 0) {
                method->reset();
                std::fill(values.begin(), values.end(), 0.0F);
                literal.reset(expected);
            }
        }
    }
}

TEST_P(AllMethods, AgreeWithTheLiteralCountAmongManyClasses) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    for (const int classes : {32, 33, 47, 100, 400}) {
        for (int kind = 0; kind < 4; ++kind) {
            const int channels = kind + 1;
            CountingRules rules;
            rules.relative = kind % 2 == 0;
            rules.scale = {.number = classes, .begin = -7.3, .end = 9.1, .range = 0.0};
            rules.scale.range = rules.scale.width() * classes;
            rules.referenceLine = kind == 3 ? 20.0 : 0.25;
            rules.hysteresis = rules.scale.width() * (kind == 2 ? 7.0 : 0.4);
            const auto method = makeCountingMethod(GetParam(), rules, channels);
            LiteralCounting literal(GetParam(), rules, channels);
            std::vector<float> values(
                static_cast<std::size_t>(classes * channels * resultsPerChannel(GetParam())));
            std::vector<float> expected(values.size());
            for (int block = 0; block < 4; ++block) {
                std::vector<float> x = loadSignal(random, static_cast<std::size_t>(257 * channels),
                                                  static_cast<std::size_t>(channels), kind);
                if (block == 2) {
                    x[x.size() / 2] = kNaN;
                    x[x.size() / 3] = kInf;
                    x[x.size() / 4] = -kInf;
                }
                method->update(x, 0.25, values);
                literal.update(x, 0.25, expected);
                for (std::size_t i = 0; i < values.size(); ++i) {
                    ASSERT_EQ(std::bit_cast<std::uint32_t>(values[i] + 0.0F),
                              std::bit_cast<std::uint32_t>(expected[i] + 0.0F))
                        << classes << " classes, kind " << kind << " block " << block << " value "
                        << i;
                }
            }
        }
    }
}

TEST_P(AllMethods, OneLongBlockEqualsManyShortOnes) {
    std::mt19937 random(77);
    const int channels = 3;
    CountingRules rules;
    rules.relative = false;
    rules.hysteresis = 0.3;
    const std::vector<float> x = loadSignal(random, 3 * 5000, 3, 1);
    Counting whole(GetParam(), rules, channels);
    whole.take(x, 0.5);
    Counting pieces(GetParam(), rules, channels);
    for (std::size_t from = 0; from < x.size();) {
        const std::size_t frames = std::min<std::size_t>(
            std::uniform_int_distribution<std::size_t>(1, 700)(random), (x.size() - from) / 3);
        pieces.take({x.begin() + static_cast<std::ptrdiff_t>(from),
                     x.begin() + static_cast<std::ptrdiff_t>(from + 3 * frames)},
                    0.5);
        from += 3 * frames;
    }
    if (GetParam() == kDwellTime) {
        // The sums of the blocks add up in another order: double precision, then single.
        for (std::size_t i = 0; i < whole.values().size(); ++i)
            EXPECT_FLOAT_EQ(whole.values()[i], pieces.values()[i]);
    } else {
        EXPECT_EQ(whole.values(), pieces.values());
    }
}

TEST_P(AllMethods, AChannelOfManyCountsAsItDoesAlone) {
    if (GetParam() == kSeparatePeaks) GTEST_SKIP() << "its columns overlap";
    for (const std::size_t channels : {1U, 2U, 3U, 8U, 32U}) {
        std::mt19937 random(3);
        const std::vector<float> x = loadSignal(random, channels * 1500, channels, 1);
        CountingRules rules;
        rules.hysteresis = 0.2;
        Counting together(GetParam(), rules, static_cast<int>(channels));
        together.take(x);
        for (std::size_t c = 0; c < channels; ++c) {
            std::vector<float> one;
            for (std::size_t i = c; i < x.size(); i += channels)
                one.push_back(x[i]);
            Counting alone(GetParam(), rules);
            alone.take(one);
            EXPECT_EQ(together.column(static_cast<int>(c)), alone.column()) << channels << " " << c;
        }
    }
}

TEST_P(AllMethods, AResetForgetsAllCounts) {
    CountingRules rules;
    rules.relative = false;
    std::mt19937 random(9);
    Counting used(GetParam(), rules, 2);
    used.take(loadSignal(random, 2000, 2, 0)).reset();
    Counting fresh(GetParam(), rules, 2);
    fresh.take({0.0F, 0.0F}).reset();
    const std::vector<float> x = loadSignal(random, 2000, 2, 0);
    EXPECT_EQ(used.take(x).values(), fresh.take(x).values());
}

// Ten million samples; the sanitizers take fewer.
#ifdef VYN_SANITIZED
constexpr std::size_t kSoakFrames = 30000;
#else
constexpr std::size_t kSoakFrames = 2000000;
#endif

TEST_P(AllMethods, SoakInRandomBlocksWithRandomResets) {
    constexpr std::size_t kChannels = 5;
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    const std::vector<float> x = loadSignal(random, kChannels * 8192, kChannels, 1);
    CountingRules rules;
    rules.relative = GetParam() % 2 == 0;
    rules.hysteresis = 0.25;
    Counting soaked(GetParam(), rules, kChannels);
    for (std::size_t frames = 0; frames < kSoakFrames;) {
        const std::size_t from = kChannels * (random() % 4096);
        const std::size_t count = random() % 4096;
        soaked.take({x.begin() + static_cast<std::ptrdiff_t>(from),
                     x.begin() + static_cast<std::ptrdiff_t>(from + kChannels * count)},
                    1e-3);
        frames += count;
        for (const float value : soaked.values())
            ASSERT_TRUE(value >= 0.0F &&
                        (!rules.relative || GetParam() == kSeparatePeaks || value <= 100.0F));
        if (random() % 50 == 0) soaked.reset();
    }
    // After all that, a reset leaves nothing behind.
    Counting fresh(GetParam(), rules, kChannels);
    EXPECT_EQ(soaked.reset().take(x).values(),
              fresh.take(std::vector<float>(kChannels)).reset().take(x).values());
}

INSTANTIATE_TEST_SUITE_P(Classification, AllMethods, testing::Range(93, 99));

}  // namespace
}  // namespace vynpack

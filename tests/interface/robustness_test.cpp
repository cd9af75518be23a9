// What no block may do, whatever the host does: one table for every type.
#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "interface/any_block_test.h"
#include "support/signals.h"

namespace vynhost::test {
namespace {

using ::testing::IsEmpty;

class Robustness : public AnyBlockTest {
protected:
    // The outputs of a fresh block's first data block.
    Outputs properOutputs() {
        WorkingBlock block(host, type());
        return resultsOf(block, 1).front();
    }

    // What `Simulation` answers when memory for a result is refused.
    Int answerToARefusal() const {
        switch (type()) {
            // Kept: these say the same as after their work.
            case kInverseFFT:
            case kDualSpektrum: return 1;
            case kSpektrum: return kNothingConsumed;
            default: return kFailed;
        }
    }

    // The classification keeps its results in a data block of the host's from the run's first data
    // block to its end; a start without an end before it forgets that block.
    bool keepsABlock() const { return type() == kKlassierung; }

    // The same, where that many data blocks give results; a run without any is no witness.
    std::vector<Outputs> resultsOf(PlacedBlock& block, int dataBlocks) {
        std::vector<Outputs> results = run(block, dataBlocks);
        EXPECT_TRUE(std::ranges::any_of(results, hasValues)) << "the run has put nothing out";
        return results;
    }
    static bool hasValues(const Outputs& outputs) {
        return std::ranges::any_of(
            outputs, [](const auto& output) { return output && !output->values.empty(); });
    }

    // No data block lives but those at the block's connectors, and what the type keeps.
    ::testing::AssertionResult nothingLost(const PlacedBlock& block) {
        std::size_t held = 0;
        for (int i = 0; i < kMaxConnectors; ++i) {
            held += block.waits(i) ? 1 : 0;
            held += block.delivered(i) ? 1 : 0;
        }
        const std::size_t alive = host.memory().aliveData();
        if (held == alive || (keepsABlock() && held + 1 == alive)) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << host.memory().aliveData() << " data blocks live, the record names " << held;
    }
};

// --- The host refuses or spoils memory ------------------------------------------------------

struct Refusal {
    const char* name;
    Fault fault;
    int times;
};

constexpr std::array<Refusal, 6> kRefusals = {{
    {"refused once", Fault::answer, 1},
    {"refused from then on", Fault::answer, Rule::kForEver},
    {"unlockable once", Fault::unlockable, 1},
    {"unlockable from then on", Fault::unlockable, Rule::kForEver},
    {"the same block once", Fault::sameBlock, 1},
    {"the same block from then on", Fault::sameBlock, Rule::kForEver},
}};

// Refused in the run's first data block and in its second.
TEST_P(Robustness, ARefusedOutputLosesNothingAndTheNextCallWorks) {
    constexpr int kMostOutputs = 64;
    WorkingBlock proper(host, type());
    const std::vector<Outputs> expected = resultsOf(proper, 2);
    for (const Refusal& refusal : kRefusals) {
        if (refusal.fault == Fault::sameBlock) continue;  // has a test of its own
        for (const std::size_t round : {0, 1}) {
            bool asked = true;
            for (int nth = 1; asked; ++nth) {
                SCOPED_TRACE(std::string(refusal.name) + ", data block " + std::to_string(round) +
                             ", output request " + std::to_string(nth));
                ASSERT_LE(nth, kMostOutputs);
                WorkingBlock block(host, type());
                block.wireAll();
                block.initSim();
                for (std::size_t before = 0; before < round; ++before) {
                    feed(block, static_cast<unsigned>(before + 1));
                    block.simulate();
                    EXPECT_TRUE(sameBits(collect(block), expected[before]));
                }
                feed(block, static_cast<unsigned>(round + 1));
                const Handle input = block.inputData(0);
                host.takeTrace();
                host.misbehave({.message = Message::newBlock,
                                .fault = refusal.fault,
                                .first = nth,
                                .times = refusal.times});
                const Int answer = block.simulate();
                host.behave();
                const auto requests = std::ranges::count_if(
                    host.takeTrace(), [](const auto& line) { return line.starts_with("1134"); });
                asked = requests >= nth;
                if (asked) {
                    EXPECT_EQ(answer, answerToARefusal());
                    EXPECT_EQ(block.inputData(0), input) << "the input is gone";
                    for (int j = 0; j < block.outputCount(); ++j) {
                        EXPECT_FALSE(block.delivered(j)) << "output " << j;
                    }
                    EXPECT_TRUE(nothingLost(block));
                    feed(block, static_cast<unsigned>(round + 1));  // control inputs may be gone
                    block.simulate();
                }
                EXPECT_TRUE(sameBits(collect(block), expected[round]));
                block.stop();
                takeBoxes();
            }
        }
    }
}

TEST_P(Robustness, AnOutputGivenTwiceIsSurvived) {
    for (int nth = 1; nth <= 3; ++nth) {
        WorkingBlock block(host, type());
        block.wireAll();
        block.initSim();
        feed(block);
        host.misbehave({.message = Message::newBlock, .fault = Fault::sameBlock, .first = nth});
        block.simulate();
        host.behave();
        block.stop();
    }
    host.takeOffences();  // both outputs are the one block, so it may come back twice
}

// Kept: the families answer this differently.
Int answerWithoutItsSignal(int type) {
    switch (type) {
        case kSpektrum: return kNothingConsumed;
        case kMittelwert:
        case kInverseFFT:
        case kDualSpektrum: return 1;
        default: return kFailed;
    }
}

TEST_P(Robustness, AnInputThatCannotBeLockedIsSurvived) {
    WorkingBlock block(host, type());
    const auto inputs = static_cast<int>(block.inputLabels().size());
    for (int i = 0; i < inputs; ++i) {
        SCOPED_TRACE("input " + std::to_string(i));
        block.wireAll();
        block.initSim();
        block.put(i, host.memory().allocateUnlockable(HostMemory::Kind::data));
        feed(block);
        const Int answer = block.simulate();
        if (i == 0) {
            EXPECT_EQ(answer, answerWithoutItsSignal(type()));
        }
        EXPECT_TRUE(nothingLost(block));
        collect(block);
        block.stop();
        for (int k = 0; k < inputs; ++k)
            block.put(k, Handle::none);
        takeBoxes();
    }
    run(block, 2);
}

// --- The host answers strangely -------------------------------------------------------------

TEST_P(Robustness, OddConnectorCountsReadNothingBehindTheRecord) {
    constexpr std::array<Int, 8> kCounts = {-1, 0, 1, 32, 33, 1000, Int{1} << 31, Int{1} << 40};
    // One call with everything wired and data at every input; its answer and what came out.
    const auto answerTo = [&](Int inputs, Int outputs) {
        WorkingBlock block(host, type());
        block.wireAll();
        for (int i = 0; i < kMaxConnectors; ++i) {
            block.wireInput(i, i);
            block.wireOutput(i, i);
            block.put(i, suitableData(type(), i));
        }
        block.initSim();
        block.setCounts(inputs, outputs);
        const Int answer = block.simulate();
        EXPECT_TRUE(nothingLost(block));
        Outputs taken;
        for (int j = 0; j < kMaxConnectors; ++j)
            taken.push_back(block.take(j));
        block.stop();
        takeBoxes();
        return std::pair{answer, taken};
    };
    for (const Int inputs : kCounts) {
        for (const Int outputs : kCounts) {
            SCOPED_TRACE(std::to_string(inputs) + " and " + std::to_string(outputs));
            // No connectors for a negative count, and never more than a record has.
            const auto expected = answerTo(std::clamp(inputs, Int{0}, Int{kMaxConnectors}),
                                           std::clamp(outputs, Int{0}, Int{kMaxConnectors}));
            const auto found = answerTo(inputs, outputs);
            EXPECT_EQ(found.first, expected.first);
            EXPECT_TRUE(sameBits(found.second, expected.second));
            EXPECT_TRUE(hasValues(found.second)) << "nothing was worked on";
        }
    }
}

TEST_P(Robustness, CountsThatChangeBetweenTwoQuestionsAreSurvived) {
    WorkingBlock block(host, type());
    block.wireAll();
    block.initSim();
    for (const Int second : {Int{-1}, Int{0}, Int{33}, Int{1000}}) {
        feed(block);
        host.misbehave({.message = Message::inputCount, .value = second, .first = 2, .times = 1});
        host.misbehave({.message = Message::outputCount, .value = second, .first = 2, .times = 1});
        const Int answer = block.simulate();
        host.behave();
        EXPECT_TRUE(nothingLost(block));
        // Types that want every connector wired ask again and miss those that the host invents.
        const bool missed = answer == kNotWired;
        EXPECT_THAT(answer, ::testing::AnyOf(0, 1, kNotWired));
        EXPECT_TRUE(!missed || block.waits(0));
        EXPECT_EQ(hasValues(collect(block)), !missed);
    }
    block.stop();
}

TEST_P(Robustness, AHeadThatTheHostDoesNotCopyIsSurvived) {
    for (const Fault fault : {Fault::answer, Fault::garbage}) {
        WorkingBlock block(host, type());
        block.wireAll();
        block.initSim();
        host.misbehave({.message = Message::copyHeader, .fault = fault});
        for (int i = 0; i < 3; ++i) {
            feed(block);
            block.simulate();
            EXPECT_TRUE(nothingLost(block));
            collect(block);
        }
        host.behave();
        block.stop();
        takeBoxes();
    }
}

TEST_P(Robustness, AMissingTriggerThresholdIsSurvived) {
    // The average over blocks is the one that asks for it, if a trigger resets it or not.
    bool results = false;
    for (const int resetMode : {1, 2, 3}) {
        WorkingBlock block(host, type());
        if (type() == kMittelwert) {
            block.set("PkMode", 3);
            block.set("PkResetMode", resetMode);
        }
        block.wireAll();
        host.takeTrace();
        host.misbehave({.message = Message::triggerThreshold, .value = 0});
        block.initSim();
        for (int i = 0; i < 3; ++i) {
            feed(block);
            block.simulate();
            results = hasValues(collect(block)) || results;
        }
        host.behave();
        block.stop();
        const auto trace = host.takeTrace();
        EXPECT_EQ(std::ranges::any_of(trace, [](const auto& line) { return line == "1130"; }),
                  type() == kMittelwert);
    }
    EXPECT_TRUE(results);
}

TEST_P(Robustness, AHostThatTakesNothingBackIsSurvived) {
    host.takeTrace();
    {
        WorkingBlock block(host, type());
        block.wireAll();
        block.initSim();
        host.misbehave({.message = Message::releaseBlock, .value = 0});
        for (int round = 0; round < 3; ++round) {
            feed(block);
            block.simulate();
            collect(block);
        }
        if (keepsABlock()) host.behave();  // nobody else knows that block
        block.stop();
        host.behave();
    }
    // What was given back in vain may live on, and nothing else: inputs and borrowed work blocks.
    const auto trace = host.takeTrace();
    const auto givenBack = std::count_if(trace.begin(), trace.end(), [](const std::string& line) {
        return line.starts_with("1135");
    });
    EXPECT_LE(host.memory().aliveData(), static_cast<std::size_t>(givenBack));
    for (const Handle handle : host.memory().dataHandles())
        host.memory().free(handle);
}

TEST_P(Robustness, AHostThatSaysNothingIsSurvived) {
    std::vector<Handle> inputs;
    {
        WorkingBlock block(host, type());
        block.wireAll();
        host.setInit(kHostWindow, 0, kInterfaceVersion);
        block.initSim();
        feed(block);
        for (int i = 0; i < kMaxConnectors; ++i) {
            if (block.waits(i)) inputs.push_back(block.inputData(i));
        }
        block.simulate();
        block.stop();
    }
    // What the block meant to give back, nobody heard of.
    for (const Handle input : inputs)
        host.memory().free(input);
    host.setInit(kHostWindow, host.window(), kInterfaceVersion);
}

TEST_P(Robustness, CallsInAnyOrderAreSurvived) {
    std::mt19937 random(20261121);
    WorkingBlock block(host, type());
    block.wireAll();
    for (int step = 0; step < 3000; ++step) {
        switch (random() % 8) {
            case 0:
                if (keepsABlock()) block.stop();
                block.initSim();
                break;
            case 1: block.stop(); break;
            case 2:
                // Each box is a window of its own on some systems.
                if (host.boxes().size() < 20) block.errorShow();
                break;
            case 3: block.save(); break;
            case 4: block.keywords(); break;
            default:
                feed(block, static_cast<unsigned>(step));
                block.simulate();
                collect(block);
        }
    }
    takeBoxes();
    block.stop();
    EXPECT_TRUE(nothingLost(block));
    // A run after all that equals a fresh block's.
    for (int i = 0; i < kMaxConnectors; ++i)
        block.put(i, Handle::none);
    EXPECT_TRUE(sameBits(run(block, 1).front(), properOutputs()));
}

// --- Heads that lie -------------------------------------------------------------------------

TEST_P(Robustness, MoreChannelsThanValuesCostNothing) {
    WorkingBlock block(host, type());
    block.wireAll();
    for (const std::int32_t channels : {257, 100'000, 100'000'000, 2'147'483'647}) {
        block.initSim();
        for (int i = 0; i < block.inputCount(); ++i) {
            ChannelData data = suitableData(type(), i);
            data.values.resize(256, 1.0F);
            data.header.valueCount = 256;
            data.header.channelCount = channels;
            block.put(i, data);
        }
        host.takeTrace();
        block.simulate();
        EXPECT_TRUE(block.waits(0)) << channels;
        EXPECT_THAT(host.takeTrace(),
                    ::testing::Not(::testing::Contains(::testing::StartsWith("1134"))))
            << channels << " channels: memory is asked for";
        for (int j = 0; j < block.outputCount(); ++j)
            EXPECT_FALSE(block.delivered(j)) << channels;
        ASSERT_TRUE(nothingLost(block));
        block.stop();
        for (int i = 0; i < block.inputCount(); ++i)
            block.put(i, Handle::none);
    }
    takeBoxes();
    EXPECT_TRUE(sameBits(run(block, 1).front(), properOutputs()));
}

TEST_P(Robustness, EveryPairOfLiesInTheHeadIsSurvived) {
    WorkingBlock block(host, type());
    block.wireAll();
    for (const HeadLie& first : headLies()) {
        for (const HeadLie& second : headLies()) {
            SCOPED_TRACE(std::string(first.name) + " and " + second.name);
            ChannelData data = suitableData(type(), 0);
            first.apply(data.header);
            second.apply(data.header);
            block.initSim();
            block.put(0, data);
            feed(block);
            block.simulate();
            ASSERT_TRUE(nothingLost(block));
            collect(block);
            block.stop();
            for (int i = 0; i < block.inputCount(); ++i)
                block.put(i, Handle::none);
        }
    }
    takeBoxes();
    // The dual spectrum leaves two inputs locked that differ in both counts, and nothing else.
    if (type() == kDualSpektrum) {
        EXPECT_THAT(host.takeOffences(), ::testing::Each(::testing::EndsWith(" is left locked")));
    }
    EXPECT_TRUE(sameBits(run(block, 1).front(), properOutputs()));
}

TEST_P(Robustness, ALieInTheMiddleOfARunIsSurvived) {
    WorkingBlock block(host, type());
    block.wireAll();
    for (const HeadLie& fault : headLies()) {
        SCOPED_TRACE(fault.name);
        block.initSim();
        for (int round = 0; round < 4; ++round) {
            for (int i = 0; i < block.inputCount(); ++i) {
                ChannelData data = suitableData(type(), i);
                if (round == 1 || round == 2) fault.apply(data.header);
                block.put(i, data);
            }
            block.simulate();
            ASSERT_TRUE(nothingLost(block));
            collect(block);
        }
        block.stop();
    }
    takeBoxes();
}

TEST_P(Robustness, ACountThatTheMemoryDoesNotHoldIsNoticedWhereTheSystemKnows) {
    if (!platform::kLocksAreCounted) GTEST_SKIP() << "sizes of memory are not known here";
    WorkingBlock block(host, type());
    block.wireAll();
    for (const std::int32_t count : {100000, std::numeric_limits<std::int32_t>::max()}) {
        ChannelData data = suitableData(type(), 0);
        data.header.valueCount = count;
        block.initSim();
        block.put(0, data);
        feed(block);
        block.simulate();
        EXPECT_TRUE(nothingLost(block));
        EXPECT_FALSE(block.delivered(0));
        collect(block);
        block.stop();
        for (int i = 0; i < block.inputCount(); ++i)
            block.put(i, Handle::none);
    }
    takeBoxes();
}

TEST_P(Robustness, SpecialSamplesAreSurvivedAndForgottenByTheNextRun) {
    const std::array<float, 8> specials = {0.0F,
                                           -0.0F,
                                           std::numeric_limits<float>::max(),
                                           std::numeric_limits<float>::infinity(),
                                           -std::numeric_limits<float>::infinity(),
                                           std::numeric_limits<float>::quiet_NaN(),
                                           std::numeric_limits<float>::signaling_NaN(),
                                           std::numeric_limits<float>::denorm_min()};
    const Outputs expected = properOutputs();
    WorkingBlock block(host, type());
    block.wireAll();
    for (const float special : specials) {
        for (const std::size_t every : {std::size_t{1}, std::size_t{7}, std::size_t{400}}) {
            block.initSim();
            for (int round = 0; round < 3; ++round) {
                for (int i = 0; i < block.inputCount(); ++i) {
                    ChannelData data = suitableData(type(), i);
                    for (std::size_t k = 0; k < data.values.size(); k += every) {
                        data.values[k] = special;
                    }
                    block.put(i, data);
                }
                block.simulate();
                collect(block);
            }
            block.stop();
            for (int i = 0; i < block.inputCount(); ++i)
                block.put(i, Handle::none);
            EXPECT_TRUE(sameBits(run(block, 1).front(), expected)) << special << " at " << every;
        }
    }
    takeBoxes();
}

// --- How far a special value spreads ----------------------------------------------------------

// One special value among the samples of the second of four data blocks; how many of the values
// that then come out are no finite numbers, data block by data block.
struct SpreadRow {
    const char* name;
    int type;
    std::vector<std::pair<const char*, double>> settings;
    const char* of;       // values that come out in all
    const char* nan;      // of a NaN, and of an infinity unless that says something else
    const char* largest;  // of the largest number
    const char* infinity = nullptr;
};

void PrintTo(const SpreadRow& row, std::ostream* out) { *out << row.name; }

class Spread : public HostTest, public ::testing::WithParamInterface<SpreadRow> {
protected:
    Spread() : HostTest({GetParam().type}) {}

    struct Counts {
        std::string all;
        std::string notFinite;
    };
    Counts spreadOf(float special) {
        constexpr std::size_t kPlace = 120;
        const int type = GetParam().type;
        Counts counts;
        WorkingBlock block(host, type);
        for (const auto& [keyword, value] : GetParam().settings) {
            for (const KeywordRow& row : block.keywords()) {
                if (row.name != keyword) continue;
                if (row.type == ValueType::real) {
                    block.set(keyword, value);
                } else {
                    block.set(keyword, static_cast<std::int32_t>(value));
                }
            }
        }
        block.wireAll();
        for (int i = 0; i < block.inputCount(); ++i) {
            if (!carriesData(type, i)) block.wireInput(i, kUnwired);
        }
        block.initSim();
        for (unsigned round = 0; round < 4; ++round) {
            for (int i = 0; i < block.inputCount(); ++i) {
                if (!carriesData(type, i) || block.waits(i)) continue;
                ChannelData data = suitableData(type, i, round + 1);
                data.header.channelCount = 1;
                if (round == 1 && i == 0) data.values[kPlace] = special;
                block.put(i, data);
            }
            std::size_t all = 0;
            std::size_t notFinite = 0;
            for (bool more = true; more && block.waits(0);) {
                block.simulate();
                const Outputs outputs = collect(block);
                more = outputs[0].has_value();
                for (const auto& output : outputs) {
                    if (!output) continue;
                    all += output->values.size();
                    notFinite += static_cast<std::size_t>(std::ranges::count_if(
                        output->values, [](float value) { return !std::isfinite(value); }));
                }
            }
            counts.all += (round > 0 ? " " : "") + std::to_string(all);
            counts.notFinite += (round > 0 ? " " : "") + std::to_string(notFinite);
        }
        block.stop();
        for (int i = 0; i < block.inputCount(); ++i)
            block.put(i, Handle::none);
        takeBoxes();
        return counts;
    }
};

TEST_P(Spread, EndsWhereItIsMeantTo) {
    constexpr const char* kNone = "0 0 0 0";
    const SpreadRow& row = GetParam();
    const Counts sound = spreadOf(0.5F);
    EXPECT_EQ(sound.all, row.of);
    EXPECT_EQ(sound.notFinite, kNone);
    EXPECT_EQ(spreadOf(std::numeric_limits<float>::quiet_NaN()).notFinite, row.nan);
    const char* infinite = row.infinity != nullptr ? row.infinity : row.nan;
    EXPECT_EQ(spreadOf(std::numeric_limits<float>::infinity()).notFinite, infinite);
    EXPECT_EQ(spreadOf(std::numeric_limits<float>::max()).notFinite, row.largest);
    EXPECT_EQ(spreadOf(std::numeric_limits<float>::denorm_min()).notFinite, kNone);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, Spread,
    ::testing::Values(
        SpreadRow{"Classes", kKlassierung, {}, "20 20 20 20", "0 0 0 0", "0 0 0 0"},
        SpreadRow{"Bands", kTerzOktave, {}, "25 25 25 25", "0 1 0 0", "0 0 0 0"},
        SpreadRow{"Statistics", kStatistik, {}, "21 21 21 21", "0 11 1 1", "0 3 0 0", "0 12 1 1"},
        SpreadRow{"Reduction", kMittelwert, {{"PkMode", 1}}, "40 40 40 40", "0 1 0 0", "0 0 0 0"},
        SpreadRow{
            "MovingAverage", kMittelwert, {{"PkMode", 2}}, "400 400 400 400", "0 7 0 0", "0 0 0 0"},
        SpreadRow{
            "BlockAverage", kMittelwert, {{"PkMode", 3}}, "400 400 400 400", "0 1 1 1", "0 0 0 0"},
        SpreadRow{"Spectrum", kSpektrum, {}, "200 200 200 200", "0 200 0 0", "0 0 0 0"},
        SpreadRow{"TimeSignal", kInverseFFT, {}, "800 800 800 800", "0 800 0 0", "0 560 0 0"},
        SpreadRow{"CrossSpectrum", kDualSpektrum, {}, "200 200 200 200", "0 200 0 0", "0 0 0 0"},
        SpreadRow{
            "Fir", kDigitalFilter, {{"PkFIRFilter", 1}}, "400 400 400 400", "0 25 0 0", "0 0 0 0"},
        SpreadRow{"Iir",
                  kDigitalFilter,
                  {{"PkFIRFilter", 0}, {"PkFilterType", 0}},
                  "400 400 400 400",
                  "0 280 400 400",
                  "0 0 0 0"},
        SpreadRow{"Weighting",
                  kFreqWeight,
                  {{"PkXweight", 1}},
                  "400 400 400 400",
                  "0 280 400 400",
                  "0 0 0 0"},
        SpreadRow{"Level",
                  kLevel,
                  {{"PkFreqOut", 100}},
                  "702 720 720 720",
                  "0 108 160 160",
                  "0 0 0 0",
                  "0 135 200 200"}),
    [](const auto& test) { return test.param.name; });

// --- The same numbers, whatever the surroundings --------------------------------------------

TEST_P(Robustness, ASecondRunEqualsTheFirst) {
    WorkingBlock block(host, type());
    const auto first = resultsOf(block, 4);
    const auto second = resultsOf(block, 4);
    ASSERT_EQ(first.size(), second.size());
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_TRUE(sameBits(first[i], second[i]));
}

// Every choice of the block, once per filling of the memory that the host gives.
TEST_P(Robustness, WhatTheHostsMemoryHeldBeforeChangesNoBit) {
    constexpr std::array kTexts = {"POWERSPECTRUM", "CEPSTRUM",   "REALIMAGINAER", "SPECTRUM H1",
                                   "SPECTRUM H2",   "ARITHMETIC", "KAISER",        "PEAKMINMAX",
                                   "EXPONENTIAL",   "PSD"};
    const auto sameAtEveryFilling = [&](const std::function<void(PlacedBlock&)>& choose) {
        std::vector<std::vector<Outputs>> results;
        for (const std::byte filling : {std::byte{0}, std::byte{0xA5}, std::byte{0xFF}}) {
            host.fillNewBlocks(filling);
            WorkingBlock block(host, type());
            choose(block);
            results.push_back(run(block, 3));
        }
        host.fillNewBlocks(std::nullopt);
        takeBoxes();
        for (std::size_t k = 1; k < results.size(); ++k) {
            for (std::size_t i = 0; i < results[k].size(); ++i)
                EXPECT_TRUE(sameBits(results[k][i], results[0][i])) << "data block " << i;
        }
        return std::ranges::any_of(results[0], hasValues);
    };
    EXPECT_TRUE(sameAtEveryFilling([](PlacedBlock&) {})) << "the run has put nothing out";
    for (const KeywordRow& row : PlacedBlock(host, type()).keywords()) {
        SCOPED_TRACE(row.name);
        std::vector<KeywordValue> values;
        if (row.type == ValueType::integer) values = {0, 1, 2, 3};
        if (row.type == ValueType::text) values.assign(kTexts.begin(), kTexts.end());
        for (std::size_t i = 0; i < values.size(); ++i) {
            SCOPED_TRACE(i);
            sameAtEveryFilling([&](PlacedBlock& block) { block.set(row, values[i]); });
        }
    }
}

TEST_P(Robustness, TwoBlocksSideBySideDoNotMeet) {
    WorkingBlock alone(host, type());
    const auto expected = resultsOf(alone, 4);
    WorkingBlock one(host, type());
    WorkingBlock other(host, type());
    one.wireAll();
    other.wireAll();
    one.initSim();
    other.initSim();
    for (unsigned i = 0; i < 4; ++i) {
        feed(other, i + 100);
        other.simulate();
        collect(other);
        feed(one, i + 1);
        one.simulate();
        EXPECT_TRUE(sameBits(collect(one), expected[i]));
    }
}

// A host whose message leads back into the module: another block works while this one waits.
TEST_P(Robustness, AnotherBlockMayWorkWithinAMessageOfTheFirst) {
    WorkingBlock alone(host, type());
    const auto expected = resultsOf(alone, 2);
    for (const Message message : {Message::newBlock, Message::copyHeader, Message::releaseBlock,
                                  Message::inputCount, Message::outputCount}) {
        SCOPED_TRACE(static_cast<int>(message));
        WorkingBlock outer(host, type());
        outer.wireAll();
        outer.initSim();
        for (unsigned i = 0; i < expected.size(); ++i) {
            std::vector<Outputs> inner;
            feed(outer, i + 1);
            host.misbehave({.message = message, .fault = Fault::run, .times = 1, .before = [&] {
                                WorkingBlock block(host, type());
                                inner = run(block, static_cast<int>(expected.size()));
                            }});
            outer.simulate();
            host.behave();
            EXPECT_TRUE(sameBits(collect(outer), expected[i]));
            for (std::size_t k = 0; k < inner.size(); ++k)
                EXPECT_TRUE(sameBits(inner[k], expected[k]));
        }
        outer.stop();
    }
}

TEST_P(Robustness, TheLocaleOfTheHostChangesNothing) {
    const auto expected = [&] {
        WorkingBlock block(host, type());
        return resultsOf(block, 2);
    }();
    const std::string before = std::setlocale(LC_ALL, nullptr);
    int found = 0;
    for (const char* name : {"C", "C.UTF-8", "de_DE.UTF-8", "tr_TR.UTF-8", "German", "Turkish"}) {
        const char* set = std::setlocale(LC_ALL, name);
        if (set == nullptr) continue;
        const std::string locale = set;
        ++found;
        SCOPED_TRACE(name);
        WorkingBlock block(host, type());
        for (const KeywordRow& row : block.keywords()) {
            // In a Turkish locale the small letter of I is another one.
            std::string small = row.name;
            for (char& c : small) {
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
            }
            EXPECT_EQ(block.get({small, row.type}), block.get(row)) << small;
        }
        WorkingBlock fresh(host, type());
        const auto again = run(fresh, 2);
        for (std::size_t i = 0; i < again.size(); ++i)
            EXPECT_TRUE(sameBits(again[i], expected[i]));
        EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    }
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_GE(found, 1);
}

TEST_P(Robustness, TheFloatingPointModeOfTheHostChangesNoBitAndIsLeftAsItWas) {
    constexpr unsigned kFlushToZero = 0x8000;
    constexpr unsigned kDenormalsAreZero = 0x0040;
    constexpr unsigned kRoundUp = 0x4000;
    constexpr unsigned kUnmaskInvalidAndZeroDivide = 0x0080 | 0x0200;
    WorkingBlock block(host, type());
    const auto expected = resultsOf(block, 3);
    const unsigned usual = _mm_getcsr();
    for (const unsigned mode : {usual | kFlushToZero | kDenormalsAreZero, usual | kRoundUp,
                                usual & ~kUnmaskInvalidAndZeroDivide}) {
        block.wireAll();
        _mm_setcsr(mode);
        block.initSim();
        _mm_setcsr(usual);
        for (unsigned i = 0; i < 3; ++i) {
            feed(block, i + 1);
            _mm_setcsr(mode);
            block.simulate();
            const unsigned after = _mm_getcsr();
            _mm_setcsr(usual);
            EXPECT_EQ(after, mode);
            EXPECT_TRUE(sameBits(collect(block), expected[i])) << "mode " << std::hex << mode;
        }
        block.stop();
    }
}

// --- Signals of every shape -----------------------------------------------------------------

TEST_P(Robustness, DataBlocksOfEveryLengthAreAnswered) {
    struct Shape {
        int values;
        int channels;
    };
    const Outputs expected = properOutputs();
    WorkingBlock block(host, type());
    block.wireAll();
    // Nothing, fewer values than channels, a few samples, a prime, a large power of two.
    for (const Shape shape : {Shape{0, 1},
                              {0, 2},
                              {1, 2},
                              {5, 32},
                              {1, 1},
                              {2, 1},
                              {3, 1},
                              {5, 1},
                              {2, 2},
                              {6, 2},
                              {7, 2},
                              {8191, 1},
                              {2 * 8191, 2},
                              {1 << 17, 2}}) {
        SCOPED_TRACE(std::to_string(shape.values) + " values, " + std::to_string(shape.channels));
        block.initSim();
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < block.inputCount(); ++i) {
                ChannelData data = suitableData(type(), i);
                if (carriesData(type(), i)) {
                    data.values = signals::noise(shape.values, static_cast<unsigned>(round));
                    data.header.valueCount = shape.values;
                    data.header.channelCount = shape.channels;
                }
                block.put(i, data);
            }
            EXPECT_THAT(block.simulate(), ::testing::AnyOf(0, 1, kNothingConsumed, kFailed));
            EXPECT_TRUE(nothingLost(block));
            for (int j = 0; j < block.outputCount(); ++j) {
                const auto output = block.take(j);
                if (!output) continue;
                // As many values as it says, and of channels that it has.
                EXPECT_EQ(output->header.valueCount, static_cast<int>(output->values.size()));
                EXPECT_GE(output->header.channelCount, 1);
            }
        }
        block.stop();
        for (int i = 0; i < block.inputCount(); ++i)
            block.put(i, Handle::none);
        takeBoxes();
        EXPECT_TRUE(sameBits(run(block, 1).front(), expected));
    }
}

TEST_P(Robustness, AChannelGivesTheBitsThatItGivesAlone) {
    // Kept: the inverse transform takes every channel's Nyquist value from one place.
    if (type() == kInverseFFT) GTEST_SKIP() << "its channels are not apart";
    constexpr int kSamples = 200;
    // Channel after channel of the input, interleaved.
    const auto dataOf = [&](int input, const std::vector<int>& channels, unsigned round) {
        ChannelData data = suitableData(type(), input);
        if (!carriesData(type(), input)) return data;
        const std::size_t count = channels.size();
        data.values.resize(kSamples * count);
        for (std::size_t c = 0; c < count; ++c) {
            const unsigned seed = 1000 * round + static_cast<unsigned>(2 * channels[c] + input);
            const auto signal = signals::noise(kSamples, seed);
            for (std::size_t i = 0; i < signal.size(); ++i)
                data.values[i * count + c] = signal[i];
        }
        data.header.valueCount = static_cast<std::int32_t>(data.values.size());
        data.header.channelCount = static_cast<std::int32_t>(count);
        return data;
    };
    const auto resultsOf = [&](const std::vector<int>& channels) {
        WorkingBlock block(host, type());
        block.wireAll();
        block.initSim();
        std::vector<Outputs> results;
        for (unsigned round = 0; round < 3; ++round) {
            for (int i = 0; i < block.inputCount(); ++i) {
                if (!block.waits(i)) block.put(i, dataOf(i, channels, round));
            }
            block.simulate();
            results.push_back(collect(block));
        }
        block.stop();
        return results;
    };
    for (const int count : {2, 3, 16, 31, 32, 33, 255}) {
        std::vector<int> all(static_cast<std::size_t>(count));
        std::iota(all.begin(), all.end(), 0);
        const auto together = resultsOf(all);
        EXPECT_TRUE(std::ranges::any_of(together, hasValues));
        for (const int c : {0, count / 2, count - 1}) {
            SCOPED_TRACE("channel " + std::to_string(c) + " of " + std::to_string(count));
            // Kept: the statistics of one channel lie in another order; its twin stands beside it.
            const auto alone =
                resultsOf(type() == kStatistik ? std::vector<int>{c, c} : std::vector<int>{c});
            const std::size_t width = type() == kStatistik ? 2 : 1;
            for (std::size_t k = 0; k < together.size(); ++k) {
                for (std::size_t j = 0; j < together[k].size(); ++j) {
                    ASSERT_EQ(together[k][j].has_value(), alone[k][j].has_value());
                    if (!alone[k][j]) continue;
                    const auto& one = alone[k][j]->values;
                    const auto& many = together[k][j]->values;
                    ASSERT_EQ(many.size() * width, one.size() * all.size());
                    for (std::size_t i = 0; i * width < one.size(); ++i) {
                        ASSERT_EQ(std::bit_cast<std::uint32_t>(
                                      many[i * all.size() + static_cast<std::size_t>(c)]),
                                  std::bit_cast<std::uint32_t>(one[i * width]))
                            << "output " << j << ", value " << i;
                    }
                }
            }
        }
    }
}

// --- Leaks ----------------------------------------------------------------------------------

TEST_P(Robustness, NothingStaysBehindAfterManyRunsAndLives) {
    {
        WorkingBlock block(host, type());
        for (int i = 0; i < 200; ++i)
            run(block, 5);
    }
    EXPECT_EQ(host.memory().aliveData(), 0U);
    for (int i = 0; i < 200; ++i) {
        WorkingBlock block(host, type());
        block.wireAll();
        block.initSim();
        feed(block);
        block.simulate();
        // destroyed in the middle of its run
    }
    EXPECT_EQ(host.memory().aliveData(), 0U);
}

VYN_FOR_ALL_TYPES(Robustness);

}  // namespace
}  // namespace vynhost::test

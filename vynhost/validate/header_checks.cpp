// Heads that lie, lengths that are odd, samples that are no numbers.
#include <algorithm>
#include <array>
#include <chrono>
#include <limits>

#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost {
namespace {

constexpr auto kLargest = std::numeric_limits<std::int32_t>::max();

// What was found is told, but for the one lock that the type leaves.
void noOtherOffences(Session& session, int type) {
    const std::vector<std::string> offences = session.host().takeOffences();
    for (const std::string& offence : offences) {
        if (!leavesInputsLocked(type) || !offence.ends_with(" is left locked"))
            session.fail(offence);
    }
}

void oneDataBlock(Session& session, Subject& block, const ChannelData& lying) {
    block.initSim();
    block.put(0, lying, "noise from -1 to 1");
    block.feed();
    block.simulate();
    block.nothingLost();
    block.collect();
    block.stop();
    block.clear();
    session.takeBoxes();
    noOtherOffences(session, block.type());
}

void lies(Session& session, int type) {
    const std::vector<Outputs> expected = Subject(session, type).properRun(1);
    for (const HeadLie& lie : headLies()) {
        session.begin();
        Subject block(session, type);
        block.wireAll();
        ChannelData data = suitableData(type, 0);
        lie.apply(data.header);
        oneDataBlock(session, block, data);
        session.same(block.run(1), expected, "the next run");
    }
}

void pairsOfLies(Session& session, int type) {
    Subject block(session, type);
    block.wireAll();
    for (const HeadLie& first : headLies()) {
        for (const HeadLie& second : headLies()) {
            session.begin();
            session.tell("a block of type " + std::to_string(type) + " at work, wired");
            ChannelData data = suitableData(type, 0);
            first.apply(data.header);
            second.apply(data.header);
            oneDataBlock(session, block, data);
        }
    }
}

void liesInARun(Session& session, int type) {
    for (const HeadLie& lie : headLies()) {
        session.begin();
        {
            Subject block(session, type);
            block.wireAll();
            block.initSim();
            for (int round = 0; round < 4; ++round) {
                for (int i = 0; i < block.inputs(); ++i) {
                    ChannelData data = suitableData(type, i);
                    if (round == 1 || round == 2) lie.apply(data.header);
                    block.put(i, data, "noise from -1 to 1");
                }
                block.simulate();
                block.nothingLost();
                block.collect();
                noOtherOffences(session, type);
            }
            block.stop();
            block.clear();
            session.takeBoxes();
        }
        session.settle();
    }
}

void manyChannels(Session& session, int type) {
    constexpr double kSlow = 1.0;  // seconds
    const std::vector<Outputs> expected = Subject(session, type).properRun(1);
    session.host().setTraced(true);
    for (const std::int32_t channels : {257, 100'000, 100'000'000, kLargest}) {
        session.begin();
        Subject block(session, type);
        block.wireAll();
        block.initSim();
        for (int i = 0; i < block.inputs(); ++i) {
            ChannelData data = suitableData(type, i);
            data.values.resize(256, 1.0F);
            data.header.valueCount = 256;
            data.header.channelCount = channels;
            block.put(i, data, "ones");
        }
        session.host().takeTrace();
        const auto start = std::chrono::steady_clock::now();
        block.simulate();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        session.expect(took.count() < kSlow,
                       "it takes " + std::to_string(took.count()) + " s of 256 values");
        for (const std::string& line : session.host().takeTrace())
            session.expect(!isKnown(type) || !line.starts_with("1134"),
                           "memory is asked for: " + line);
        block.nothingLost();
        block.collect();
        block.stop();
        block.clear();
        session.takeBoxes();
        session.same(block.run(1), expected, "the next run");
    }
}

void moreThanTheMemoryHolds(Session& session, int type) {
    for (const std::int32_t count : {100000, kLargest}) {
        session.begin();
        {
            Subject block(session, type);
            block.wireAll();
            ChannelData data = suitableData(type, 0);
            data.header.valueCount = count;
            block.initSim();
            block.put(0, data, "noise in memory for fewer values");
            block.feed();
            block.simulate();
            block.nothingLost();
            session.expect(!block.block().delivered(0), "a result comes out");
            block.stop();
            block.clear();
            session.takeBoxes();
        }
        session.settle();
    }
}

void lengths(Session& session, int type) {
    struct Shape {
        int values;
        int channels;
    };
    const std::vector<Outputs> expected = Subject(session, type).properRun(1);
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
        session.begin();
        Subject block(session, type);
        block.wireAll();
        block.initSim();
        for (unsigned round = 0; round < 3; ++round) {
            for (int i = 0; i < block.inputs(); ++i) {
                ChannelData data = suitableData(type, i);
                if (carriesData(type, i)) {
                    data.values = evenNoise(static_cast<std::size_t>(shape.values), round);
                    data.header.valueCount = shape.values;
                    data.header.channelCount = shape.channels;
                }
                block.put(i, data, "noise from -1 to 1");
            }
            block.simulate();
            block.nothingLost();
            for (const auto& output : block.collect()) {
                if (!output) continue;
                session.equal(output->header.valueCount, static_cast<Int>(output->values.size()),
                              "an output's value count, beside what its memory holds");
                session.expect(output->header.channelCount >= 1, "an output has no channel");
            }
        }
        block.stop();
        block.clear();
        session.takeBoxes();
        session.same(block.run(1), expected, "the next run");
    }
}

void specialSamples(Session& session, int type) {
    using Limits = std::numeric_limits<float>;
    constexpr std::array<float, 9> kSpecials = {0.0F,
                                                -0.0F,
                                                Limits::max(),
                                                -Limits::max(),
                                                Limits::infinity(),
                                                -Limits::infinity(),
                                                Limits::quiet_NaN(),
                                                Limits::signaling_NaN(),
                                                Limits::denorm_min()};
    const std::vector<Outputs> expected = Subject(session, type).properRun(1);
    for (const float special : kSpecials) {
        for (const std::size_t every : {std::size_t{1}, std::size_t{7}, std::size_t{400}}) {
            session.begin();
            Subject block(session, type);
            block.wireAll();
            block.initSim();
            for (int round = 0; round < 3; ++round) {
                for (int i = 0; i < block.inputs(); ++i) {
                    ChannelData data = suitableData(type, i);
                    for (std::size_t k = 0; k < data.values.size(); k += every)
                        data.values[k] = special;
                    block.put(i, data,
                              "noise, every " + std::to_string(every) + "th value " +
                                  std::to_string(special));
                }
                block.simulate();
                block.nothingLost();
                block.collect();
            }
            block.stop();
            block.clear();
            session.takeBoxes();
            session.same(block.run(1), expected, "the next run");
        }
    }
}

}  // namespace

void addHeaderChecks(CheckList& list) {
    list.ofEveryType("headers.lies", 2,
                     "A head that lies harms nothing, and the next run is right.", lies);
    list.ofEveryType("headers.manyChannels", 2, "More channels than values cost nothing.",
                     manyChannels);
    list.ofEveryType("headers.lengths", 2, "Data blocks may have any length.", lengths);
    list.ofEveryType("headers.liesInARun", 3, "A lie in the middle of a run harms nothing.",
                     liesInARun);
    list.ofEveryType("headers.specialSamples", 3,
                     "Infinities and what is no number are forgotten by the next run.",
                     specialSamples);
    list.ofEveryType("headers.pairsOfLies", 4, "Two lies at once harm nothing.", pairsOfLies);
    if (platform::kLocksAreCounted) {
        list.ofEveryType("headers.moreThanTheMemoryHolds", 3,
                         "A count that the memory does not hold is noticed.",
                         moreThanTheMemoryHolds);
    }
}

}  // namespace vynhost

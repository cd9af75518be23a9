// What the statistics and the averaging block do where no export leads: a choice accepted in the
// dialog while a run goes on, results that the exports do not pass on, work that broke off.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "blocks/stats/TOMittelwert.h"
#include "blocks/stats/TOStatistik.h"
#include "host/TOGlobal.h"
#include "vynhost/interface/host_memory.h"

namespace vynpack {
namespace {

using ::testing::ElementsAre;

constexpr int kInput = 0;
constexpr int kTrigger = 1;
constexpr int kConnectors = kMaxConnectors;

MemoryHandle handleOf(vynhost::Handle handle) {
    return MemoryHandle{static_cast<std::uint64_t>(handle)};
}

vynhost::Handle handleOf(MemoryHandle handle) {
    return static_cast<vynhost::Handle>(static_cast<std::uint64_t>(handle));
}

// The least that a block needs of its host: data blocks, and a record with all outputs wired.
class BlockInHost : public ::testing::Test {
protected:
    BlockInHost() {
        const auto window = vynhost::platform::openWindow(
            [this](std::uint32_t message, vynhost::Int first, vynhost::Int second) {
                return answer(static_cast<vynhost::Message>(message), first, second);
            });
        theGlobal().setHostWindow(HostWindow{window});
        record.inputChannel.fill(-1);
        record.outputChannel.fill(0);
        record.inputChannel[kInput] = 0;
    }
    ~BlockInHost() override {
        theGlobal().setHostWindow(HostWindow::none);
        vynhost::platform::closeWindow();
    }

    void put(int input, const std::vector<float>& samples, int channels = 1) {
        record.inputChannel.at(static_cast<std::size_t>(input)) = 0;
        record.inputData.at(static_cast<std::size_t>(input)) =
            handleOf(memory.allocateData(vynhost::timeSignal(samples, channels)));
    }
    bool waits(int input) const { return record.inputWaits(input); }

    std::optional<std::vector<float>> take(int output) {
        const MemoryHandle handle = std::exchange(
            record.outputData.at(static_cast<std::size_t>(output)), MemoryHandle::none);
        if (handle == MemoryHandle::none) return std::nullopt;
        const auto values = memory.read(handleOf(handle)).values;
        memory.free(handleOf(handle));
        return values;
    }
    int delivered() const {
        return kConnectors -
               static_cast<int>(std::count(record.outputData.begin(), record.outputData.end(),
                                           MemoryHandle::none));
    }

    vynhost::HostMemory memory{vynhost::platform::Guard::none};
    SimulationRecord record{};

private:
    vynhost::Int answer(vynhost::Message message, vynhost::Int first, vynhost::Int second) {
        switch (message) {
            case vynhost::Message::newBlock:
                return static_cast<vynhost::Int>(
                    memory.allocateData(static_cast<std::size_t>(second)));
            case vynhost::Message::releaseBlock:
                memory.free(static_cast<vynhost::Handle>(first));
                return 0;
            case vynhost::Message::copyHeader: {
                const vynhost::platform::View input(static_cast<vynhost::Handle>(first));
                // NOLINTNEXTLINE(performance-no-int-to-ptr)
                std::memcpy(reinterpret_cast<void*>(second), input.address(), kChannelValuesOffset);
                return 0;
            }
            default: return 0;
        }
    }
};

class StatisticsBlock : public BlockInHost {
protected:
    StatisticsBlock() {
        for (const Statistic measure : {kSumBlock, kYMax, kYMin})
            block.parameters().selected[measure] = 1;
        block.parameters().outputMode = StatistikParameters::kOutputPerMeasure;
        block.InitSim();
    }
    TOStatistik block;
};

TEST_F(StatisticsBlock, AChoiceOfFewerMeasuresInARunSendsNoMoreThanTheConnectorsName) {
    block.setActiveCount(1);
    ConnectorText connectors;
    block.GetConnectors(connectors);
    EXPECT_STREQ(connectors.data(), "E,;1,");
    for (int i = 0; i < 2; ++i) {
        put(kInput, {1, 5, 3});
        EXPECT_EQ(block.Simulation(record), 1);
        EXPECT_FALSE(waits(kInput));
        EXPECT_EQ(delivered(), 1);
        EXPECT_EQ(take(0), std::vector<float>{9});
    }
    block.parameters().outputMode = StatistikParameters::kOneOutput;
    put(kInput, {1, 10, 5, 50}, 2);
    block.InitSim();
    block.setActiveCount(2);
    EXPECT_EQ(block.Simulation(record), 1);
    EXPECT_THAT(take(0), ::testing::Optional(ElementsAre(6, 60, 5, 50)));
}

TEST_F(StatisticsBlock, AChoiceOfMoreMeasuresInARunSendsThoseOfTheRunsStart) {
    block.setActiveCount(21);
    put(kInput, {1, 5, 3});
    EXPECT_EQ(block.Simulation(record), 1);
    EXPECT_EQ(delivered(), 3);
    EXPECT_EQ(take(0), std::vector<float>{9});
    EXPECT_EQ(take(1), std::vector<float>{5});
    EXPECT_EQ(take(2), std::vector<float>{1});
}

using AveragingBlock = BlockInHost;

TEST_F(AveragingBlock, InitSimAnswersOneForTheModesThatThereAreAndZeroForOthers) {
    TOMittelwert block;
    for (const std::int16_t mode : {1054, 1055, 1056}) {
        block.parameters().mode = mode;
        EXPECT_EQ(block.InitSim(), 1) << mode;
    }
    for (const std::int16_t mode : {0, 1053, 1057, -1}) {
        block.parameters().mode = mode;
        EXPECT_EQ(block.InitSim(), 0) << mode;
    }
}

TEST_F(AveragingBlock, ATriggerWhoseBlockWasNotAveragedInTheEndStillCounts) {
    TOAvgBlocks average;
    AvgParameters parameters;
    parameters.mode = kAvgBlocks;
    parameters.resetMode = kAvgResetByTrigger;
    put(kInput, {4});
    put(kTrigger, {100});
    const ChannelBlock input(record.inputData[kInput]);
    // Memory runs out between the output and its numbers.
    ASSERT_TRUE(average.MakeOutput(record, input, 1, parameters));
    EXPECT_FALSE(waits(kTrigger));
    EXPECT_EQ(delivered(), 0) << "given back";
    EXPECT_TRUE(average.MakeOutput(record, input, 1, parameters)) << "the next try";
    average.Process(input, nullptr, parameters);
    EXPECT_FALSE(average.MakeOutput(record, input, 1, parameters)) << "the trigger counts once";
}

}  // namespace
}  // namespace vynpack

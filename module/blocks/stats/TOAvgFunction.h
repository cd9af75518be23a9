// The averaging strategies: how a stream of data blocks becomes the averaging block's output.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "blocks/stats/core/mittelwert_core.h"
#include "host/channel_block.h"
#include "host/remote_control.h"
#include "host/simulation_record.h"

namespace vynpack {

enum AvgMode : std::int16_t { kAvgReduce = 1054, kAvgSmoothing = 1055, kAvgBlocks = 1056 };

// When an average of data blocks begins anew.
enum AvgResetMode : std::int16_t {
    kAvgResetNever = 1059,
    kAvgResetByTrigger = 1060,
    kAvgResetByCount = 1061
};

// The averaging block's parameters.
struct AvgParameters {
    // Kept: it counts the gaps of the parameters in memory, not the 54 bytes that follow.
    static constexpr std::int32_t kRecordSizeWord = 64;

    std::int16_t mode = kAvgReduce;
    std::uint16_t reduceValue = 10;
    std::uint16_t smoothingWidth = 7;
    double weightingFactor = 1.0;  // of the blocks before, 0..1
    std::int16_t resetMode = kAvgResetNever;
    std::int32_t resetBlockCount = 1;
    std::int16_t outputMode = 1;  // 0: a result for every block; otherwise at a reset only
    std::array<char, 32> reserved{};

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.mode, self.reduceValue, self.smoothingWidth, self.weightingFactor,
               self.resetMode, self.resetBlockCount, self.outputMode, self.reserved);
    }

    static std::span<const Keyword<AvgParameters>> keywords();
};

class TOAvgFunction {
public:
    TOAvgFunction() = default;
    TOAvgFunction(const TOAvgFunction&) = delete;
    TOAvgFunction& operator=(const TOAvgFunction&) = delete;
    virtual ~TOAvgFunction() = default;

    // 0 when the data block can be processed, otherwise the text id of the message to show.
    // `outputValues` is the number of values that the output will have.
    virtual int CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                                std::int64_t& outputValues) const = 0;
    // The output block of this call: nullopt when the data block gives none, an empty one when the
    // host refused it.
    virtual std::optional<OutputBlock> MakeOutput(SimulationRecord& record,
                                                  const ChannelBlock& input,
                                                  std::int64_t outputValues,
                                                  const AvgParameters& parameters);
    // Averages the input into the output, if there is one.
    virtual void Process(const ChannelBlock& input, const OutputBlock* output,
                         const AvgParameters& parameters) = 0;
    // Sizes the per-channel state. Returns 0, or kFailed when memory is out.
    virtual int InitChannels(int channels);
};

// Every R samples of a channel become one.
class TOAvgReduce final : public TOAvgFunction {
public:
    int CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                        std::int64_t& outputValues) const override;
    void Process(const ChannelBlock& input, const OutputBlock* output,
                 const AvgParameters& parameters) override;
    int InitChannels(int channels) override;

private:
    GroupAverage average_;
};

// Moving average over N samples.
class TOAvgSmoothing final : public TOAvgFunction {
public:
    int CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                        std::int64_t& outputValues) const override;
    void Process(const ChannelBlock& input, const OutputBlock* output,
                 const AvgParameters& parameters) override;

private:
    MovingAverage average_;
};

// Average of successive data blocks, value by value.
class TOAvgBlocks final : public TOAvgFunction {
public:
    // Asks the host for the level above which its trigger input counts as high.
    TOAvgBlocks();

    int CheckParameters(const ChannelBlock& input, const AvgParameters& parameters,
                        std::int64_t& outputValues) const override;
    std::optional<OutputBlock> MakeOutput(SimulationRecord& record, const ChannelBlock& input,
                                          std::int64_t outputValues,
                                          const AvgParameters& parameters) override;
    void Process(const ChannelBlock& input, const OutputBlock* output,
                 const AvgParameters& parameters) override;

private:
    bool givesOutput(SimulationRecord& record, const AvgParameters& parameters);

    BlockAverage average_;
    float triggerThreshold_;
    bool resetPending_ = false;  // until a data block has been averaged
};

}  // namespace vynpack

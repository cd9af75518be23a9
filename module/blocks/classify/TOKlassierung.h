// TOKlassierung ("Klassierung"): sorts every channel into classes and counts by one of six methods,
// from data block to data block until a reset.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "blocks/classify/core/klassierung_core.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

// Stored choices; the numbers are those of the dialog's texts and controls.
enum ClassMode : std::int16_t { kAutomatic = 10, kManual = 11 };
enum ClassCalculation : std::int16_t { kRelative = 1016, kAbsolute = 1017 };

struct KlassierungParameters {
    static constexpr std::int32_t kRecordSizeWord = 88;

    // When the counts begin anew: control ids of the dialog.
    enum ResetMode : std::int16_t {
        kNeverReset = 1013,
        kResetByTrigger = 1014,
        kResetByCount = 1015,
    };

    std::int16_t mode = kAutomatic;  // for the dialog; the computation never reads it
    std::int32_t number = 20;
    double begin = -10.0;
    double end = 10.0;
    double width = 1.0;
    double range = 20.0;  // divisor of the class index
    std::int16_t resetMode = kNeverReset;
    std::int32_t resetBlocks = 1;  // with kResetByCount
    std::int16_t calculation = kRelative;
    std::int16_t method = kSampleCount;
    double referenceLine = 0.0;
    double hysteresis = 0.0;  // percent of the class width

    // The record of 88 bytes has gaps, and two words at its end that mean nothing: written as
    // zeros, passed over when read.
    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        std::array<std::byte, 2> gap2{};
        std::array<std::byte, 4> gap4{};
        std::array<std::byte, 16> spare{};
        record(self.mode, gap2, self.number, self.begin, self.end, self.width, self.range,
               self.resetMode, gap2, self.resetBlocks, self.calculation, self.method, gap4,
               self.referenceLine, self.hysteresis, spare);
    }

    // The 46 bytes without gaps of old records, which know no method.
    template <class Record, class Self>
    static void packedFields(Record& record, Self& self) {
        record(self.mode, self.number, self.begin, self.end, self.width, self.range, self.resetMode,
               self.resetBlocks, self.calculation);
    }

    static std::span<const Keyword<KlassierungParameters>> keywords();
};

class TOKlassierung final : public ParameterBlock<KlassierungParameters> {
public:
    TOKlassierung() = default;
    ~TOKlassierung() override { releaseAccumulator(); }

    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int RestoreParameters(FileHandle file) override;
    // kDone, or kFailed when the number of channels has changed or a block could not be handled.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    // What the first data block of a run fixes: all that sizes the results. The other parameters
    // count from the next data block on.
    struct Run {
        std::int32_t classes = 0;
        std::int16_t methodId = kSampleCount;
        int channels = 0;
        std::int32_t results = 0;                // values of an output block
        std::unique_ptr<CountingMethod> method;  // null for an unknown one: nothing is counted
    };

    bool startRun(int channels);
    void abandonRun();
    void releaseAccumulator() noexcept;
    bool classify(SimulationRecord& record);
    bool countBlock(SimulationRecord& record, const ChannelBlock& input);
    bool triggered(SimulationRecord& record) const;
    void resetCounts();

    std::unique_ptr<Run> run_;
    MemoryHandle accumulator_ = MemoryHandle::none;  // a data block of the host's with the results
    std::uint32_t processedBlocks_ = 0;              // since the run's start or the last reset
};

}  // namespace vynpack

// TOLevel ("Pegelberechnung"): sound levels of every channel with time weighting, maxima,
// equivalent levels and percentiles, put out at a rate of its own.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "blocks/filter/level/level_core.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

struct LevelParameters {
    static constexpr std::int32_t kRecordSizeWord = 272;

    std::int16_t rms = 1;                // 0: the momentary squares (peak)
    std::int16_t timeWeighting = kSlow;  // of the mean squares
    std::int16_t clockPeriod = 1;        // 0, 1, 2: 1 s, 3 s, 5 s
    double blankedSeconds = 0.0;         // taken back before a pause
    double outputFrequency = 10.0;       // Hz
    std::array<char, 33> text{};         // saved and restored only

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.rms, self.timeWeighting, self.clockPeriod, self.blankedSeconds,
               self.outputFrequency, self.text);
    }

    static std::span<const Keyword<LevelParameters>> keywords();
};

class TOLevel final : public ReportingBlock<LevelParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    // kDoneZero, or kFailed with an error to show. Puts out one block per call at most.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    // What the first data block of a run fixes.
    struct Run {
        LevelMeter meter;
        int channels;
        std::int32_t timeUnit;  // axis kind
        double step;            // seconds
        double rate;            // Hz
        double outputStep;      // seconds
    };

    int startRun(const ChannelBlock& input);
    int checkUnchanged(const ChannelBlock& input);
    bool emit(SimulationRecord& record);
    void feed(const ChannelBlock& input, std::int64_t samples);
    void releaseHeld(SimulationRecord& record, ChannelBlock& input);
    LevelMode mode() const;

    std::optional<Run> run_;
    int clockSeconds_ = 3;
    float control_ = 0.0F;                    // the last value at the control input
    MemoryHandle held_ = MemoryHandle::none;  // the input's data block in work
    std::int64_t readSamples_ = 0;            // of it, per channel
};

}  // namespace vynpack

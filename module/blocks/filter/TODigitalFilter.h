// Digital filter: FIR by the window method, or one of the classic IIR designs, over all channels.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <variant>

#include "blocks/filter/channel_filters.h"
#include "blocks/filter/core/digital_filter_core.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

struct DigitalFilterParameters : FilterDesign {
    static constexpr std::int32_t kRecordSizeWord = 184;

    std::array<char, 33> text{};  // saved and restored, otherwise unused

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        record(self.fir, self.mode, self.cutoff, self.upper, self.lower, self.window, self.length,
               self.kaiser, self.characteristic, self.ripple, self.attenuation, self.order,
               self.text);
    }

    static std::span<const Keyword<FilterDesign>> keywords();
};

class TODigitalFilter final : public ReportingBlock<DigitalFilterParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    // kDoneZero, or kFailed with an error to show.
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    // No filter before a run's first data block and after a failed start.
    using Filter = std::variant<std::monostate, FirFilterBank, ChannelFilters>;

    // The first data block of a run fixes channel count, rate and filter. False after a report.
    bool startRun(int channels, double rate);
    Filter makeFilter() const;
    void filterValues(std::span<const float> in, std::span<float> out);

    // Run state.
    MemoryHandle held_ = MemoryHandle::none;  // input being processed, or left by a failure
    int channels_ = 0;
    double rate_ = 0.0;  // Hz
    Filter filter_;
};

}  // namespace vynpack
